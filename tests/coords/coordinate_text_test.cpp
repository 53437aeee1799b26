#include "coords/coordinate_text.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace pixtrail {
namespace {

const std::string deg = kDegreeMark;

TEST(AngleText, RoundingCarriesIntoTheLargerPart) {
  const struct { bool lat; double value; int format; AngleText expected; const char* why; } rows[] = {
      {true, 40.9999999, kDegreesMinutes, {"41", "00.000", ""}, "59.999994 min carries, never 60.000"},
      {true, 40.425, kDegreesMinutes, {"40", "25.500", ""}, "plain minutes"},
      {false, -3.7094667, kDegreesMinutes, {"003", "42.568", ""}, "longitude keeps three digits, no sign"},
      {true, 40.9999999, kDegreesMinutesSeconds, {"41", "00", "00.0"}, "seconds carry into minutes into degrees"},
      {true, 40.2583333, kDegreesMinutesSeconds, {"40", "15", "30.0"}, "40 15 29.99988 rounds to 30.0"},
      {true, 10.0166500, kDegreesMinutesSeconds, {"10", "00", "59.9"}, "59.94 stays below the carry"},
      {true, -0.0000001, kDecimalDegrees, {"0.0000001", "", ""}, "sign goes to the letter"},
      {false, -3.5, kSignedDegrees, {"-3.5000000", "", ""}, "signed format keeps the sign"},
      {false, kParisMeridianDeg, kParisGrads, {"0.0000000", "", ""}, "Paris meridian is zero grads"},
      {true, 45.0, kParisGrads, {"50.0000000", "", ""}, "latitude is not shifted: 45 deg = 50 gr"},
      {true, 45.0, 5, {"", "", ""}, "a format above 4 gives no text"},
      {true, 45.0, -1, {"45", "00.000", ""}, "negative format: the configured one"},
  };
  for (const auto& r : rows) {
    const AngleText t = angleToText(r.lat, r.value, r.format);
    EXPECT_EQ(t.degrees, r.expected.degrees) << r.why;
    EXPECT_EQ(t.minutes, r.expected.minutes) << r.why;
    EXPECT_EQ(t.seconds, r.expected.seconds) << r.why;
  }
}

TEST(AngleText, FullTextsCarryMarksAndHemisphere) {
  EXPECT_EQ(latitudeText(0.0, kDecimalDegrees), "0.0000000" + deg + " N");
  EXPECT_EQ(latitudeText(-0.0000001, kDecimalDegrees), "0.0000001" + deg + " S");
  EXPECT_EQ(longitudeText(-3.7094667, kDegreesMinutes), "003" + deg + "42.568' W");
  EXPECT_EQ(latitudeText(40.2583333, kDegreesMinutesSeconds), "40" + deg + "15'30.0\" N");
  EXPECT_EQ(longitudeText(1.0, kParisGrads), "1.4858102gr W");  // (1 - 2.3372292) x 100/90, west of Paris
  EXPECT_EQ(longitudeText(-3.5, kSignedDegrees), "-3.5000000" + deg);
  EXPECT_EQ(angleToText(true, std::nan(""), kDecimalDegrees).degrees, "");  // no number, no crash
}

TEST(AngleText, TheUsersSettings) {
  CoordinateTextSettings mine;
  mine.angleFormat = kDecimalDegrees;
  EXPECT_EQ(latitudeText(40.5, -1, mine), "40.5000000" + deg + " N") << "negative: the configured format";
  EXPECT_EQ(latitudeText(40.5, -1), "40" + deg + "30.000' N") << "no settings: the default format";
  EXPECT_EQ(latitudeText(40.5, kDegreesMinutesSeconds, mine), "40" + deg + "30'00.0\" N") << "a format given wins";
  double value = 0.0;
  bool isLatitude = false;
  std::string message;
  mine.angleFormat = kParisGrads;
  ASSERT_TRUE(formattedTextToAngle("50.0000000gr N", -1, value, isLatitude, message, mine)) << message;
  EXPECT_NEAR(value, 45.0, 1e-12) << "the configured format reads too";

  // Grads from Paris between Greenwich and Paris: the first rule takes the longitude's own letter,
  // and the text then reads back on the other side of Paris.
  CoordinateTextSettings first;
  first.parisLetterFromLongitude = true;
  EXPECT_EQ(longitudeText(1.0, kParisGrads, first), "1.4858102gr E");
  EXPECT_EQ(longitudeText(-1.0, kParisGrads, first), "3.7080324gr W");
  ASSERT_TRUE(formattedTextToAngle(longitudeText(1.0, kParisGrads), kParisGrads, value, isLatitude, message));
  EXPECT_NEAR(value, 1.0, 1e-7) << "the default text reads back";
  ASSERT_TRUE(formattedTextToAngle(longitudeText(1.0, kParisGrads, first), kParisGrads, value, isLatitude, message));
  EXPECT_NEAR(value, 2 * kParisMeridianDeg - 1.0, 1e-7);
}

TEST(AngleParse, TypedCoordinates) {
  const struct { std::string text; bool ok; double value; bool lat; const char* why; } rows[] = {
      {"40 25' 30\" N", true, 40.425, true, "degrees minutes seconds"},
      {"3.5W", true, -3.5, false, "west is negative"},
      {"  12.25 s ", true, -12.25, true, "lower-case letter, blanks around"},
      {"40\xBA" "25.5' n", true, 40.425, true, "degree mark and decimal minutes"},
      {"40\xB0" "30'S", true, -40.5, true, "the other degree sign"},
      {"40 30 15 10' E", true, 40.5 + 15 / 3600.0, false, "only three numbers are read"},
      {"40.5", false, 0, false, "no quadrant letter"},
      {"", false, 0, false, "empty"},
      {"N", false, 0, false, "letter without number"},
      {"4x0.5N", false, 0, false, "not a number"},
      {"' \" N", false, 0, false, "separators only"},
  };
  for (const auto& r : rows) {
    double value = 99.0;
    bool lat = false;
    std::string message;
    EXPECT_EQ(textToAngle(r.text, value, lat, message), r.ok) << r.why;
    if (r.ok) {
      EXPECT_NEAR(value, r.value, 1e-12) << r.why;
      EXPECT_EQ(lat, r.lat) << r.why;
      EXPECT_TRUE(message.empty());
    } else {
      EXPECT_EQ(value, 99.0) << "value untouched on failure: " << r.why;
      EXPECT_FALSE(message.empty()) << r.why;
    }
  }
  double value = 0;
  bool lat = false;
  std::string message;
  textToAngle("40.5", value, lat, message);
  EXPECT_EQ(message, "NO quadrant leter found: (N,S,E,W)");
}

// What one format writes, the reader gives back to that format's resolution, in all four quadrants.
TEST(AngleParse, FormatThenParseRoundTrips) {
  const double resolution[] = {0.6e-7, 1.0 / 60 / 1000 / 2, 1.0 / 3600 / 10 / 2, 0.6e-7, 0.6e-7};
  const double values[] = {0.0, 40.4255071, -33.8571234, 179.9999999, -0.0000004, 89.99999, -179.5};
  for (int format = 0; format <= 4; ++format) {
    for (const double v : values) {
      for (const bool isLat : {true, false}) {
        if (isLat && std::fabs(v) > 90) continue;
        const std::string text = isLat ? latitudeText(v, format) : longitudeText(v, format);
        double back = 1e9;
        bool backLat = isLat;
        std::string message;
        ASSERT_TRUE(formattedTextToAngle(text, format, back, backLat, message)) << text << message;
        EXPECT_NEAR(back, v, resolution[format] * 1.0001 + 1e-12) << text;
        EXPECT_EQ(backLat, isLat) << text;
      }
    }
  }
}

TEST(UtmAndCompactText, FixedWidths) {
  EXPECT_EQ(utmEastingText(5, 500000.4), "05  500000");
  EXPECT_EQ(utmEastingText(31, 99999.5), "31  100000");
  EXPECT_EQ(utmNorthingText(4538641.6), "4538642");
  EXPECT_EQ(utmNorthingText(12.0), "0000012");
  CoordinateTextSettings geographic;
  EXPECT_EQ(utmEastingText(30, 440000.2, {-3.7, 40.4}, geographic), "30  440000");
  geographic.utmAsGeographic = true;
  geographic.angleFormat = kDecimalDegrees;
  EXPECT_EQ(utmEastingText(30, 440000.2, {-3.7, 40.4}, geographic), "40.4000000" + deg + " N");
  EXPECT_EQ(utmNorthingText(4472000.0, {-3.7, 40.4}, geographic), "3.7000000" + deg + " W");
  EXPECT_EQ(compactPositionText(40.425, -3.7094667), "4025500N00342568W");
  EXPECT_EQ(compactPositionText(-0.9999999, 179.9999999), "0100000S18000000E");  // carries
}

}  // namespace
}  // namespace pixtrail
