#include "tracks/track_format_ozi.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

TEST(OziTrackPoint, DecodesTheColumns) {
  const struct { const char* line; bool ok; double lat, lon; bool seg; double feet; double days; const char* why; } rows[] = {
      {"  47.466222,   3.747318,0, 1258.8,39307.3279977, 13-ao\xFBt-07, 07:52:19", true, 47.466222, 3.747318, false, 1258.8, 39307.3279977, "sample line, Latin-1 date text"},
      {"-33.5,151.25,1,-777,0,,", true, -33.5, 151.25, true, NAN, NAN, "segment start, no altitude, no date"},
      {"10,20", true, 10, 20, false, NAN, NAN, "trailing fields missing"},
      {"0,0,0,0,0", true, 0, 0, false, 0, NAN, "0/0 and altitude 0 are values"},
      {"abc,20,0", false, 0, 0, false, 0, 0, "no latitude"},
      {"95,20,0", false, 0, 0, false, 0, 0, "latitude out of range"},
      {"", false, 0, 0, false, 0, 0, "empty"},
  };
  for (const auto& r : rows) {
    const auto p = decodeOziTrackPoint(r.line);
    ASSERT_EQ(p.has_value(), r.ok) << r.why;
    if (!p) continue;
    EXPECT_DOUBLE_EQ(p->lat, r.lat) << r.why;
    EXPECT_DOUBLE_EQ(p->lon, r.lon) << r.why;
    EXPECT_EQ(p->startsSegment, r.seg) << r.why;
    EXPECT_EQ(p->altFeet.has_value(), !std::isnan(r.feet)) << r.why;
    if (p->altFeet) {
      EXPECT_DOUBLE_EQ(*p->altFeet, r.feet) << r.why;
    }
    EXPECT_EQ(p->days.has_value(), !std::isnan(r.days)) << r.why;
  }
}

TEST(OziTrack, HeaderGivesNameColourWidthAndDatum) {
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(openTrack(test::testData("formats/track_20070813_short.plt"), t, {}, message)) << message;
  EXPECT_EQ(t.width, 2);
  EXPECT_EQ(t.colour, 255u);
  EXPECT_EQ(t.headerText('P'), "V\xE9zelay / Cuncy-l\xE8s-Varzy");
  // 1258.8 ft = 383.682 m; 0.3279977 day = 28339.001 s = 07:52:19.001 (by hand), as the text says.
  EXPECT_NEAR(t.point(0).altitude(true), 383.682, 0.001);
  EXPECT_EQ(t.point(0).time.toRecord().hour, 7);
  EXPECT_NEAR(t.point(0).time.seconds, 19.001, 0.001);

  const struct { std::string text; bool ok; std::string message; const char* why; } rows[] = {
      {"OziExplorer Track Point File Version 2.1\rWGS 84\rAltitude is in Feet\rReserved 3\r0,2,255,x,0\r1\r1,2,0,3,0\r", true, "", "CR line ends"},
      {"OziExplorer Track Point File Version 2.1\nMars 2030\nA\nR\n0\n1\n1,2,0,3,0\n", false, "Unknown datum: Mars 2030", "datum not in the table"},
      {"Some other file\n", false, "t.plt: not an OziExplorer track file", "wrong title"},
      {"OziExplorer Track Point File Version 2.1\nWGS 84\nA\nR\n0\n0\n", false, "t.plt: no points in this OziExplorer track file", "no points"},
  };
  for (const auto& r : rows) {
    TVolGPS track;
    std::string m;
    EXPECT_EQ(readOziTrackText(r.text, "t.plt", track, m), r.ok) << r.why;
    EXPECT_EQ(m, r.message) << r.why;
  }
}

}  // namespace
}  // namespace pixtrail
