#include "tracks/track_format_txt.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

TEST(MapSourcePosition, ThreeAngleFormsAndHemispheres) {
  const struct { const char* text; bool ok; double lat, lon; const char* why; } rows[] = {
      {"N50 29.556 E12 06.325", true, 50 + 29.556 / 60, 12 + 6.325 / 60, "degrees and minutes"},
      {"S33 30.000 W0 02.111", true, -33.5, -(2.111 / 60), "south and west"},
      {"N51.50617 W0.03519", true, 51.50617, -0.03519, "decimal degrees"},
      {"N50\xB0 29' 33.4\" E12\xB0 06' 19.5\"", true, 50 + 29 / 60.0 + 33.4 / 3600, 12 + 6 / 60.0 + 19.5 / 3600, "DMS with signs"},
      {"N50 61.000 E12 06.325", false, 0, 0, "61 minutes"},
      {"E12 06.325 N50 29.556", false, 0, 0, "longitude first"},
      {"N50 29.556", false, 0, 0, "latitude only"},
      {"", false, 0, 0, "empty"},
  };
  for (const auto& r : rows) {
    const auto p = parseMapSourcePosition(r.text);
    ASSERT_EQ(p.has_value(), r.ok) << r.why;
    if (!p) continue;
    EXPECT_NEAR(p->lat, r.lat, 1e-9) << r.why;
    EXPECT_NEAR(p->lon, r.lon, 1e-9) << r.why;
  }
}

TEST(MapSourceTime, DayFirstOrUsClock) {
  EXPECT_EQ(parseMapSourceTime("28/03/2006 00:10:37 "), (DateTimeRecord{28, 3, 2006, 0, 10, 37}));
  EXPECT_EQ(parseMapSourceTime("3/28/2006 12:10:37 AM"), (DateTimeRecord{28, 3, 2006, 0, 10, 37}));
  EXPECT_EQ(parseMapSourceTime("3/28/2006 1:10:37 PM"), (DateTimeRecord{28, 3, 2006, 13, 10, 37}));
  EXPECT_FALSE(parseMapSourceTime("28/13/2006 00:10:37"));
  EXPECT_FALSE(parseMapSourceTime("yesterday"));
}

TEST(MapSourceText, TracksSegmentsAndFailures) {
  const std::string text =
      "Grid\tLat/Lon hddd\xB0mm.mmm'\r\nDatum\tWGS 84\r\n\r\n"
      "Header\tName\tStart Time\r\n\r\nTrack\tA\r\n\r\nHeader\tPosition\tTime\tAltitude\r\n"
      "Trackpoint\tN51 30.370 W0 02.111\t20/08/2008 07:04:48 \t12 m\t\t21.5 \xB0""C\r\n"
      "Trackpoint\tN51 30.372 W0 02.115\t20/08/2008 07:04:49 \t100 ft\r\n"
      "Trackpoint\tnowhere\t20/08/2008 07:04:50 \t1 m\r\n"
      "Track\tB\r\nTrackpoint\tN51 30.373 W0 02.118\t\t\r\n";
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(readMapSourceTextTrackText(text, "t.txt", t, message)) << message;
  ASSERT_EQ(t.pointCount(), 3u);
  EXPECT_EQ(t.point(0).segmentStart, 1);
  EXPECT_EQ(t.point(1).segmentStart, 0);
  EXPECT_EQ(t.point(2).segmentStart, 1);
  EXPECT_FLOAT_EQ(t.point(0).altitude(true), 12.0f);
  EXPECT_FLOAT_EQ(t.point(0).temperatureC, 21.5f);
  EXPECT_NEAR(t.point(1).altitude(true), 30.48, 1e-4);
  EXPECT_NE(message.find("1 track points without a readable position"), std::string::npos);

  TVolGPS none;
  message.clear();
  EXPECT_FALSE(readMapSourceTextTrackText("Grid\tLat/Lon hddd.ddddd\nWaypoint\tA\t\tN1 E2\n", "w.txt", none, message));
  EXPECT_EQ(message, "w.txt: no track points in this MapSource text file") << "waypoints only";
  message.clear();
  EXPECT_FALSE(readMapSourceTextTrackText("Grid\tUTM\n", "u.txt", none, message));
  EXPECT_NE(message.find("UTM"), std::string::npos);
}

}  // namespace
}  // namespace pixtrail
