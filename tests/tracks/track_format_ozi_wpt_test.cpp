#include "tracks/track_format_ozi_wpt.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

TEST(OziWaypointLine, ColumnsCommasAndFailures) {
  TBaliza w;
  std::string message;
  // Altitude 1000 ft = 304.8 m; character 209 stands for a comma.
  ASSERT_TRUE(readOziExplorerWaypointLine("1,A\xD1" "B,-33.5,151.25,43832.5,3,1,4,255,65535,desc\xD1 here,0,0,25,1000,6,0,17",
                                          w, message));
  EXPECT_EQ(w.name, "A,B");
  EXPECT_DOUBLE_EQ(w.position.lat, -33.5);
  EXPECT_DOUBLE_EQ(w.position.lon, 151.25);
  EXPECT_NEAR(w.position.alt, 304.8, 1e-4);
  EXPECT_EQ(w.description, "desc, here");
  EXPECT_EQ(w.symbol, "3");
  EXPECT_EQ(w.displayType, 1) << "Ozi's name with symbol";
  EXPECT_EQ(w.displayValue2, 255);
  EXPECT_FLOAT_EQ(w.displayValue4, 25.0f);

  TBaliza noAlt;
  ASSERT_TRUE(readOziExplorerWaypointLine("2,X,10,20,,0,1,3,0,65535,,0,0,0,-777", noAlt, message));
  EXPECT_FALSE(hasAltitude(noAlt.position.alt));
  TBaliza shortLine;
  ASSERT_TRUE(readOziExplorerWaypointLine("3,Y,10,20", shortLine, message)) << "trailing fields missing";

  for (const char* bad : {"4,Z,abc,20", "5,Z,95,20", "6", ""}) {
    std::string m;
    TBaliza untouched;
    untouched.name = "keep";
    EXPECT_FALSE(readOziExplorerWaypointLine(bad, untouched, m)) << bad;
    EXPECT_EQ(m, "Error in OziExplorer waypoint format") << bad;
    EXPECT_EQ(untouched.name, "keep");
  }
}

TEST(OziWaypointFile, SampleReadsAndOurFileReadsBack) {
  TBalizas file;
  std::string message;
  ASSERT_TRUE(openWaypoints(test::testData("formats/ozi.wpt"), file, {}, message)) << message;
  ASSERT_GT(file.waypoints.size(), 5u);
  EXPECT_EQ(file.waypoints[0].name, "GCEBB");
  EXPECT_EQ(file.waypoints[0].description, "Mountain Bike Heaven by susy1313");
  file.waypoints[1].name = "With, comma";
  file.waypoints[1].position.alt = 123.0f;
  TBalizas back;
  ASSERT_TRUE(parseWaypointFile(oziWaypointFileText(file), back, message)) << message;
  ASSERT_EQ(back.waypoints.size(), file.waypoints.size());
  for (std::size_t i = 0; i < file.waypoints.size(); ++i) {
    EXPECT_EQ(back.waypoints[i].name, file.waypoints[i].name);
    EXPECT_EQ(back.waypoints[i].description, file.waypoints[i].description);
    EXPECT_NEAR(back.waypoints[i].position.lat, file.waypoints[i].position.lat, 1e-7);
    EXPECT_NEAR(back.waypoints[i].position.lon, file.waypoints[i].position.lon, 1e-7);
    EXPECT_NEAR(back.waypoints[i].position.alt, file.waypoints[i].position.alt, 0.02);  // 0.1 ft
  }
}

}  // namespace
}  // namespace pixtrail
