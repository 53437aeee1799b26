#include "tracks/track_file_native.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "core/messages.hpp"
#include "coords/TListaDatums.hpp"
#include "coords/coordinate_text.hpp"
#include "core/angles.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

const FileCoordinates kDegrees{kDatumWgs84, kFileDegrees};

struct Fields3 {
  std::string a, b, c;
};
Fields3 split3(const std::string& text) {
  const std::size_t p = text.find(' '), q = text.find(' ', p + 1);
  return {text.substr(0, p), text.substr(p + 1, q - p - 1), text.substr(q + 1)};
}

TEST(NativePointLine, ReadsFieldsDefaultsAndLimits) {
  const struct {
    std::string line;
    bool ok;
    int segmentStart, day, month, year;
    float alt, speed;
    const char* why;
  } rows[] = {
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 27-MAR-62 10:20:30", true, 1, 27, 3, 1962, -9999, -1,
       "ends after the time: starts a segment, defaults kept"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 27-MAR-50 10:20:30 N 12.5", true, 0, 27, 3, 2050, 12.5f, -1,
       "\"N\" continues the segment; year 50 is 2050"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 27-mar-51 10:20:30 n 12.5", true, 1, 27, 3, 1951, 12.5f, -1,
       "\"n\" is not \"N\"; month case ignored; year 51 is 1951"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 01-NUL-00 00:00:00 s 1 -5", true, 1, 1, 0, 0, 1, -1,
       "undefined month accepted, no century; speed below -1 stored as -1"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 01-XYZ-00 00:00:00", true, 1, 0, 0, 0, -9999, -1,
       "unknown month: the date keeps its default, the point stays"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 01-JAN-00 24:00:00", true, 1, 1, 1, 2000, -9999, -1,
       "hour 24: the time keeps its default, the date is read"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 01-JAN-00 10:60:00 N", true, 0, 1, 1, 2000, -9999, -1, "minute 60"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 01-JAN-00", false, 0, 0, 0, 0, 0, 0, "fewer than 6 fields"},
      {"T  - 3.5000000\xBAW 40.4250000\xBAN 01-JAN-00 10:00:00", false, 0, 0, 0, 0, 0, 0,
       "longitude where the latitude belongs"},
      {"T  - 95.0000000\xBAN 3.5000000\xBAW 01-JAN-00 10:00:00", false, 0, 0, 0, 0, 0, 0, "latitude past the pole"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 01-JAN-00 10:00:00 s abc 3", true, 1, 1, 1, 2000, -9999, 3,
       "altitude not a number: unknown altitude, later fields still read"},
      {"T  - 40.4250000\xBAN 3.5000000\xBAW 01-JAN-00 10:00:00 s 7 fast", true, 1, 1, 1, 2000, 7, -1,
       "speed not a number: its default"},
  };
  for (const auto& r : rows) {
    TPuntVol p;
    ASSERT_EQ(parsePointLine(r.line, kDegrees, p), r.ok) << r.why;
    if (r.ok && r.month == 0 && r.day == 0) {
      EXPECT_EQ(p.time, TPuntTiempo{}) << r.why;
    }
    if (!r.ok) continue;
    EXPECT_NEAR(p.position.lat, 40.425, 1e-12) << r.why;
    EXPECT_NEAR(p.position.lon, -3.5, 1e-12) << r.why;
    EXPECT_EQ(p.segmentStart, r.segmentStart) << r.why;
    EXPECT_EQ(p.time.day, r.day) << r.why;
    EXPECT_EQ(p.time.month, r.month) << r.why;
    EXPECT_EQ(p.time.year, r.year) << r.why;
    EXPECT_EQ(p.altitude(true), r.alt) << r.why;
    EXPECT_EQ(p.speedMs, r.speed) << r.why;
    EXPECT_TRUE(p.stateFlags & TPuntVol::kValidData) << r.why;
  }
}

TEST(NativePointLine, AllNineteenFieldsIncludingTheReadOnlyOne) {
  TPuntVol p;
  ASSERT_TRUE(parsePointLine(
      "T  - 40.5000000\xBAS 0.2500000\xBA" "E 05-AUG-24 23:59:59 N 1500.5 3.25 271.5 18.5 9 0.9 1013.25 3 -0.5 "
      "250 142 88 1234.5",
      kDegrees, p));
  EXPECT_DOUBLE_EQ(p.position.lat, -40.5);
  EXPECT_DOUBLE_EQ(p.position.lon, 0.25);
  EXPECT_EQ(p.time.hour, 23);
  EXPECT_EQ(p.time.seconds, 59.0f);
  EXPECT_EQ(p.altitude(false), 1500.5f);
  EXPECT_EQ(p.speedMs, 3.25f);
  EXPECT_EQ(p.courseDeg, 271.5f);
  EXPECT_EQ(p.temperatureC, 18.5f);
  EXPECT_EQ(p.satellites, 9);
  EXPECT_EQ(p.hdop, 0.9f);
  EXPECT_EQ(p.pressureHpa, 1013.25f);
  EXPECT_EQ(p.fixType, 3);
  EXPECT_EQ(p.verticalSpeedMs, -0.5f);
  EXPECT_EQ(p.powerW, 250.0f);
  EXPECT_EQ(p.heartRate, 142);
  EXPECT_EQ(p.cadenceRpm, 88.0f);
  EXPECT_EQ(p.distanceFromStartM, 1234.5f);
}

std::string writtenLine(TPuntVol& p) {
  std::string out, message;
  EXPECT_TRUE(appendPointLine(p, kDegrees, true, out, message)) << message;
  return out;
}

TEST(NativePointLine, AFieldInTheWrongFormKeepsItsDefault) {
  // Satellites (11), fix type (14) and heart rate (17) are integers; a writer that put reals there
  // still gives usable points.
  TPuntVol p;
  ASSERT_TRUE(parsePointLine("T  - 40.4250000\xBAN 3.5000000\xBAW 01-JAN-24 10:00:00 N 5 2 90 20 7.0 1.5 1013 "
                             "3.0 0.5 100 120.5 1.25",
                             kDegrees, p));
  EXPECT_EQ(p.satellites, 0);
  EXPECT_EQ(p.fixType, 0);
  EXPECT_EQ(p.heartRate, 0);
  EXPECT_EQ(p.courseDeg, 90.0f) << "the fields around them are read";
  EXPECT_EQ(p.hdop, 1.5f);
  EXPECT_EQ(p.powerW, 100.0f);
  EXPECT_EQ(p.cadenceRpm, 1.25f);
  EXPECT_EQ(p.time.hour, 10);
}

TEST(NativePointLine, WriterLimitsAltitudeAndTrailingFields) {
  TPuntVol p;
  p.position = {-3.5, 40.425, 0};
  p.time = {0, 7, 1, 2005, 9, 5, 7.9f};
  p.segmentStart = 1;
  p.setAltitude(-1000.5f);
  EXPECT_EQ(writtenLine(p), "T  - 40.4250000\xBAN 3.5000000\xBAW 07-JAN-05 09:05:07 s -9999 -1 -1 0 0 0 0 0 0 0")
      << "below -1000 is written -9999, seconds truncated, no heart rate nor cadence: ends after field 16";
  p.setAltitude(-1000.0f);
  p.heartRate = 120;
  EXPECT_EQ(writtenLine(p), "T  - 40.4250000\xBAN 3.5000000\xBAW 07-JAN-05 09:05:07 s -1000 -1 -1 0 0 0 0 0 0 0 120");
  p.heartRate = 0;
  p.cadenceRpm = -0.5f;
  EXPECT_EQ(writtenLine(p), "T  - 40.4250000\xBAN 3.5000000\xBAW 07-JAN-05 09:05:07 s -1000 -1 -1 0 0 0 0 0 0 0 0 -0.5")
      << "cadence -0.5 is written, and drags the heart rate field with it";
  p.cadenceRpm = std::nanf("");
  EXPECT_EQ(writtenLine(p).find(" 0 0 nan"), std::string::npos) << "NaN is not a number not below -0.5";
}

TEST(NativeTimeText, OffsetsAndTimes) {
  const struct { const char* text; bool ok; double seconds; } offsets[] = {
      {"01:30:00", true, 5400}, {"-01:30:00", true, -5400}, {"-00:00:30", true, -30},
      {"013000", true, 5400}, {"12:00", true, 43200}, {"x1:00:00", false, 0}};
  for (const auto& r : offsets) {
    double s = 0;
    EXPECT_EQ(parseTimeOffset(r.text, s), r.ok) << r.text;
    if (r.ok) {
      EXPECT_EQ(s, r.seconds) << r.text;
    }
  }
  EXPECT_EQ(formatTimeOffset(-5400), "-01:30:00");
  EXPECT_EQ(formatTimeOffset(3725), "01:02:05");
  TPuntTiempo t;
  EXPECT_TRUE(parsePointTime("-05:10:20", t));
  EXPECT_EQ(t.hour, -5) << "a leading minus negates the hours";
  EXPECT_FALSE(parsePointTime("05:10", t)) << "three parts needed";
}

TVolGPS fullTrack() {
  TVolGPS t;
  for (const char letter : TVolGPS::kHeaderLetters) t.headerText(letter) = std::string("text ") + letter + " \xE9t\xE9";
  t.comment = "first line\r\nsecond line\r\n";
  t.colour = 0x00336699;
  t.width = 3;
  t.drawParameter = 1.5;
  t.hasTimeOffset = true;
  t.timeOffsetS = -7200;
  t.display = {1.5f, 2.0f, 3, 4, 5, 6, 7.25, 8.5f, 1};
  t.headerRecord.flags = {1, 0, 2};
  t.headerRecord.start = {0, 27, 3, 2024, 8, 0, 0};
  t.headerRecord.durationS = 3723;
  t.zValues = std::array<double, 4>{1.5, -2, 3.25, 4};
  for (int i = 0; i < 4; ++i) {
    auto p = std::make_unique<TPuntVol>();
    p->position = {-3.5 + i * 1e-4, 40.425 + i * 1e-4, 0};
    p->time = {0, 27, 3, 2024, 8, 0, static_cast<float>(i * 5)};
    p->setAltitude(650.0f + static_cast<float>(i));
    p->segmentStart = i == 2;
    p->heartRate = static_cast<std::int16_t>(i * 40);
    t.appendPoint(std::move(p));
  }
  t.point(1).coursePoint = std::make_unique<TCoursePoint>();
  t.point(1).coursePoint->icon = 7;
  t.point(1).coursePoint->comment = "turn\r\nleft";
  t.point(1).coursePoint->value16 = -3;
  t.point(1).coursePoint->valueReal = 2.5f;
  t.point(1).coursePoint->linked = std::make_unique<TObjetoEnlazado>(TObjetoEnlazado{"x|y"});
  t.point(2).linked = std::make_unique<TObjetoEnlazado>(TObjetoEnlazado{"a  photo.jpg"});
  return t;
}

TEST(NativeTrackFile, WriteReadWriteIsByteIdentical) {
  const TVolGPS original = fullTrack();
  std::string first, second, message;
  ASSERT_TRUE(formatNativeTrack(original, {}, first, message)) << message;
  TVolGPS reread;
  FileCoordinates file{};
  ASSERT_TRUE(parseNativeTrack(first, reread, file, message));
  EXPECT_TRUE(message.empty()) << message;
  ASSERT_TRUE(formatNativeTrack(reread, {}, second, message));
  EXPECT_EQ(first, second);
  EXPECT_EQ(reread.comment, original.comment);
  EXPECT_EQ(reread.colour, original.colour);
  EXPECT_EQ(reread.display, original.display);
  EXPECT_EQ(reread.headerRecord, original.headerRecord);
  EXPECT_EQ(reread.headerText('s'), original.headerText('s'));
  EXPECT_EQ(reread.point(1).coursePoint->comment, "turn  left") << "line breaks become blanks";
  // Every line ends in CR LF, and the lines come in the writer's fixed order.
  std::size_t lines = 0;
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (first[i] != '\n') continue;
    ++lines;
    EXPECT_EQ(first[i - 1], '\r');
  }
  EXPECT_EQ(lines, 32u);  // G U, 8 texts, C L V, 2 M, Z R s, E, 6 texts, z, 4 T, t, a
  EXPECT_EQ(first.substr(0, 15), "G  WGS 84\r\nU  0");
  const char* order[] = {"\r\nP  ", "\r\nd  ", "\r\nC  153 102 51 3 1.500000\r\n", "\r\nL  -02:00:00\r\n",
                         "\r\nV  ", "\r\nM  first line\r\nM  second line\r\n", "\r\ns  ",
                         "\r\nE 27-MAR-24 08:00:00|01:02:03|1|0|2\r\n", "\r\nf ", "\r\nz  1.5,-2,3.25,4\r\n",
                         "\r\nT  "};
  std::size_t at = 0;
  for (const char* piece : order) {
    const std::size_t found = first.find(piece, at);
    ASSERT_NE(found, std::string::npos) << piece;
    at = found;
  }
}

TEST(NativeTrackFile, EveryCoordinateModeReadsBackToItsResolution) {
  const struct { int mode; double resolutionDeg; } modes[] = {
      {kFileDegrees, 0.5e-7}, {kFileDegreesMinutes, 0.0005 / 60}, {kFileDegreesMinutesSeconds, 0.05 / 3600},
      {kFileParisGrads, 0.5e-7 * 0.9}, {kFileSignedDegrees, 0.5e-7}};
  const TCoord places[] = {{-3.70379123456, 40.41677654321, 0}, {151.20929987, -33.86881234, 0},
                           {-179.99999991, 89.99999, 0}, {0.0, 0.0, 0}, {2.33722, 48.8566, 0}};
  for (const auto& m : modes) {
    for (const TCoord& c : places) {
      TPuntVol p;
      p.position = c;
      p.time = {0, 1, 1, 2020, 0, 0, 0};
      std::string line, message;
      const FileCoordinates file{kDatumWgs84, m.mode};
      ASSERT_TRUE(appendPointLine(p, file, true, line, message)) << message;
      TPuntVol back;
      ASSERT_TRUE(parsePointLine(line, file, back)) << line;
      EXPECT_NEAR(back.position.lat, c.lat, m.resolutionDeg * 1.0001) << line;
      EXPECT_NEAR(back.position.lon, c.lon, m.resolutionDeg * 1.0001) << line;
      std::string again;
      ASSERT_TRUE(appendPointLine(back, file, true, again, message));
      EXPECT_EQ(again, line) << "mode " << m.mode;
    }
  }
}

TEST(NativeTrackFile, BadPointLinesAreDroppedAndTheRestKept) {
  const std::string text =
      "G  WGS 84\r\nU  0\r\n"
      "T  - 40.0000000\xBAN 3.0000000\xBAW 01-JAN-24 10:00:00 N 1\r\n"
      "T  - garbage\r\n"
      "t 5|comment|1|2\r\n"
      "T  - 40.0010000\xBAN 3.0000000\xBAW 01-JAN-24 10:00:10 N 2\n"  // a bare LF is read too
      "F\r\n"
      "T  - 40.0020000\xBAN 3.0000000\xBAW 01-JAN-24 10:00:20 N 3";   // no line end at all
  TVolGPS t;
  FileCoordinates file;
  std::string message;
  ASSERT_TRUE(parseNativeTrack(text, t, file, message));
  EXPECT_EQ(message, "There are some aberrant points in this track");
  ASSERT_EQ(t.pointCount(), 3u);
  EXPECT_EQ(t.point(2).altitude(true), 3.0f);
  EXPECT_FALSE(t.point(0).coursePoint) << "a \"t\" line after a dropped point goes with it";
  EXPECT_TRUE(t.readWithFLine);
}

TEST(NativeTrackFile, MarksGoBesideThePointsTheyFollowAndReadBack) {
  TVolGPS t;
  for (int m = 0; m < 3; ++m) {
    auto p = std::make_unique<TPuntVol>();
    p->position = {-3.0, 40.0 + 0.001 * m, 650.0f};
    p->time = TPuntTiempo::fromRecord({1, 1, 2024, 10, 10 * m, 0.0});
    p->stateFlags = TPuntVol::kValidData;
    t.appendPoint(std::move(p));
  }
  t.marks.push_back({"late.jpg", {-3.0, 40.0025, 655.0f}, TPuntTiempo::fromRecord({1, 1, 2024, 10, 25, 0.0})});
  t.marks.push_back({"a|b.jpg", {-3.0, 40.0005, kUnknownAltitude}, TPuntTiempo::fromRecord({1, 1, 2024, 10, 5, 0.0})});
  std::string text, message;
  ASSERT_TRUE(formatNativeTrack(t, {}, text, message)) << message;
  const std::size_t first = text.find("a  foto|a b.jpg|"), second = text.find("a  foto|late.jpg|");
  ASSERT_NE(first, std::string::npos) << text;
  ASSERT_NE(second, std::string::npos) << text;
  EXPECT_LT(text.find("10:00:00"), first) << "after the point it follows";
  EXPECT_GT(text.find("10:10:00"), first);
  EXPECT_GT(second, text.find("10:20:00")) << "after the last point";
  EXPECT_NE(text.find("|01-JAN-24 10:05:00|-9999\r\n"), std::string::npos) << text;

  TVolGPS back;
  FileCoordinates file;
  ASSERT_TRUE(parseNativeTrack(text, back, file, message)) << message;
  ASSERT_EQ(back.pointCount(), 3u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_FALSE(back.point(i).linked) << "marks are not linked objects";
  ASSERT_EQ(back.marks.size(), 2u);
  EXPECT_EQ(back.marks[0].name, "a b.jpg");
  EXPECT_NEAR(back.marks[1].position.lat, 40.0025, 1e-7);
  EXPECT_EQ(back.marks[1].position.alt, 655.0f);
  EXPECT_EQ(back.marks[1].time, t.marks[0].time);
  std::string again;
  ASSERT_TRUE(formatNativeTrack(back, {}, again, message));
  EXPECT_EQ(again, text);
}

TEST(NativeTrackFile, ExtensionRulesAndSafeReplacement) {
  EXPECT_EQ(nativeTrackFileName("a/b.ple"), "a/b.ple");
  EXPECT_EQ(nativeTrackFileName("a/b.gpx"), "a/b.TRK");
  EXPECT_EQ(nativeTrackFileName("a/b.trk"), "a/b.trk");
  EXPECT_EQ(nativeTrackFileName("a/b.trk.gpx"), "a/b.trk.TRK");
  EXPECT_EQ(nativeTrackFileName("a/b"), "a/b.TRK");
  test::TempDir dir;
  TVolGPS track = fullTrack();
  track.fileName = "loaded.PLE";  // so that any name is saved natively
  std::string message;
  TrackFileSettings settings;
  settings.keepBackup = true;
  ASSERT_TRUE(saveTrack(track, dir / "walk.txt", settings, message)) << message;
  EXPECT_EQ(track.fileName, (dir / "walk.TRK").string());
  const std::string firstContent = test::readFileBytes(dir / "walk.TRK");
  ASSERT_TRUE(saveTrack(track, dir / "walk.TRK", settings, message));
  EXPECT_EQ(test::readFileBytes(dir / "walk.bak"), firstContent) << "the replaced file is kept";
  // A write that is refused (the file has a second hard link) leaves the old file as it was.
  test::writeFileBytes(dir / "walk.TRK", "old content");
  std::filesystem::create_hard_link(dir / "walk.TRK", dir / "walk-copy.TRK");
  TVolGPS other = fullTrack();
  setMessageSource([](int n) { return n == msg::kErrorCreatingFile ? std::string("Error creating file %s") : ""; });
  message.clear();
  EXPECT_FALSE(saveTrack(other, dir / "walk.TRK", settings, message));
  setMessageSource(nullptr);
  EXPECT_EQ(message.substr(0, message.find('\n')), "Error creating file " + (dir / "walk.TRK").string());
  EXPECT_EQ(test::readFileBytes(dir / "walk.TRK"), "old content");
}

// The decimal modes are written without the general angle text; their digits must stay its digits.
TEST(NativeCoordinateFields, DecimalModesWriteTheCoordinateTextDigits) {
  const double values[] = {0.0, -0.0, 1e-8, -0.00000005, 0.00000015, 40.41677654321, -3.70379125,
                           89.99999995, -179.99999996, 123.456789049999};
  for (const double v : values) {
    for (const int mode : {kFileDegrees, kFileSignedDegrees}) {
      const double lat = std::max(-90.0, std::min(90.0, v));
      std::string out, message;
      ASSERT_TRUE(appendPositionFields(TCoord{v, lat, 0}, FileCoordinates{kDatumWgs84, mode}, out, message));
      const AngleText la = angleToText(true, lat, mode), lo = angleToText(false, v, mode);
      const std::string expected =
          mode == kFileSignedDegrees
              ? "- " + la.degrees + " " + lo.degrees
              : "- " + la.degrees + "\xBA" + hemisphereLetter(true, lat) + " " + lo.degrees + "\xBA" +
                    hemisphereLetter(false, v);
      EXPECT_EQ(out, expected) << v << " mode " << mode;
    }
  }
}

// Expected grids from GeographicLib's GeoConvert -u -p 0; bands from the 8-degree band table.
TEST(NativeCoordinateFields, UtmModeMatchesGeoConvertAndReadsBackToTheMetre) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const struct { double lat, lon; const char* fields; } rows[] = {
      {40.4168, -3.7038, "30T 440290 4474257"},   {-33.8688, 151.2093, "56H 334369 6250948"},
      {64.1466, -21.9426, "27W 454138 7113690"},  {-54.8019, -68.3030, "19F 544805 3927030"},
      {0.0001, 0.0001, "31N 166033 11"},
  };
  const FileCoordinates utm{kDatumWgs84, kFileUtm};
  for (const auto& r : rows) {
    std::string out, message;
    ASSERT_TRUE(appendPositionFields(TCoord{r.lon, r.lat, 0}, utm, out, message)) << message;
    EXPECT_EQ(out, r.fields);
    const Fields3 f = split3(out);
    TCoord back;
    ASSERT_TRUE(readPositionFields(f.a, f.b, f.c, utm, back, message)) << out;
    EXPECT_NEAR(back.lat, r.lat, 1e-5) << out;   // 1 m is 9e-6 degree of latitude
    EXPECT_NEAR(back.lon, r.lon, 1.2e-5 / std::cos(r.lat * kRadPerDeg)) << out;
    std::string again;
    ASSERT_TRUE(appendPositionFields(back, utm, again, message));
    EXPECT_EQ(again, out) << "whole metres write back as they were read";
  }
  TCoord untouched{1, 2, 3};
  std::string message;
  EXPECT_FALSE(readPositionFields("30", "440290", "4474257", utm, untouched, message)) << "no band";
  EXPECT_FALSE(readPositionFields("61T", "440290", "4474257", utm, untouched, message)) << "zone 61";
  EXPECT_EQ(untouched, (TCoord{1, 2, 3}));
}

TEST(NativeTrackFile, AnotherFileDatumReadsBackAndWritesTheSameBytes) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const int ed50 = datumTable().findByName("ED50");
  ASSERT_GT(ed50, 0);
  const TVolGPS original = fullTrack();
  // Each mode's resolution: 1e-7 degree, 0.1 second of arc, 1 metre.
  const struct { int mode; double tolerance; } modes[] = {
      {kFileDegrees, 1e-7}, {kFileDegreesMinutesSeconds, 0.05 / 3600 * 1.01}, {kFileUtm, 1.5e-5}};
  for (const auto [mode, tolerance] : modes) {
    NativeTrackWriteOptions options;
    options.file = {ed50, mode};
    std::string first, second, message;
    ASSERT_TRUE(formatNativeTrack(original, options, first, message)) << message;
    EXPECT_EQ(first.substr(0, 19), "G  European 1950\r\nU");
    TVolGPS back;
    FileCoordinates file;
    ASSERT_TRUE(parseNativeTrack(first, back, file, message)) << message;
    EXPECT_EQ(file.datum, ed50);
    EXPECT_EQ(file.mode, mode);
    for (std::size_t i = 0; i < back.pointCount(); ++i) {
      EXPECT_NEAR(back.point(i).position.lat, original.point(i).position.lat, tolerance);
      EXPECT_NEAR(back.point(i).position.lon, original.point(i).position.lon, tolerance);
    }
    ASSERT_TRUE(formatNativeTrack(back, options, second, message));
    EXPECT_EQ(first, second) << "mode " << mode;
  }
}

// Two-digit years read back as 1951 to 2050; any other year would come back changed.
TEST(NativeTrackFile, AYearTheFormatCannotHoldIsRefusedNamingThePoint) {
  test::TempDir dir;
  for (const int year : {1066, 1899, 1950, 2051}) {
    TVolGPS track = fullTrack();
    track.point(2).time.year = year;
    std::string message;
    EXPECT_FALSE(saveTrack(track, dir / "old.trk", {}, message)) << year;
    EXPECT_NE(message.find("Point 3: the year " + std::to_string(year)), std::string::npos) << message;
    EXPECT_FALSE(std::filesystem::exists(dir / "old.TRK"));
  }
  TVolGPS early = fullTrack();
  early.headerRecord.start.year = 1899;
  std::string message;
  EXPECT_FALSE(saveTrack(early, dir / "old.trk", {}, message));
  EXPECT_NE(message.find("Track start: the year 1899"), std::string::npos) << message;

  for (const int year : {1951, 2050}) {
    TVolGPS track = fullTrack();
    for (std::size_t i = 0; i < track.pointCount(); ++i) track.point(i).time.year = year;
    track.point(0).time.day = 0;  // an undefined date keeps its year as written
    track.point(0).time.year = 7;
    std::string message, text;
    ASSERT_TRUE(formatNativeTrack(track, {}, text, message)) << year << message;
    TVolGPS back;
    FileCoordinates file;
    ASSERT_TRUE(parseNativeTrack(text, back, file, message)) << message;
    EXPECT_EQ(back.point(1).time.year, year);
  }
}

}  // namespace
}  // namespace pixtrail
