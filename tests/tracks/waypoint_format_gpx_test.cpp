#include "tracks/waypoint_format_gpx.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

TEST(GpxWaypoints, ReadWriteWithLatin1Text) {
  const std::string text = "<gpx><wpt lat='47.1' lon='8.5'><ele>500</ele><name>Z\xC3\xBCrich</name>"
                           "<cmt>c</cmt><sym>Flag</sym></wpt><wpt lat='x' lon='1'/>"
                           "<trk><trkseg><trkpt lat='1' lon='2'/></trkseg></trk>"
                           "<wpt lat='-1' lon='-2'><desc>d &amp; e</desc></wpt></gpx>";
  TBalizas file;
  std::string message;
  ASSERT_TRUE(readGpxWaypointsText(text, "w.gpx", file, message)) << message;
  ASSERT_EQ(file.waypoints.size(), 2u);
  EXPECT_EQ(file.waypoints[0].name, "Z\xFCrich");
  EXPECT_EQ(file.waypoints[0].description, "c") << "cmt when there is no desc";
  EXPECT_EQ(file.waypoints[0].symbol, "Flag");
  EXPECT_FLOAT_EQ(file.waypoints[0].position.alt, 500.0f);
  EXPECT_EQ(file.waypoints[1].description, "d & e");
  EXPECT_FALSE(hasAltitude(file.waypoints[1].position.alt));
  EXPECT_NE(message.find("1 waypoints without a readable lat/lon"), std::string::npos);

  TBalizas back;
  ASSERT_TRUE(readGpxWaypointsText(gpxWaypointsText(file), "b.gpx", back, message));
  ASSERT_EQ(back.waypoints.size(), 2u);
  EXPECT_EQ(back.waypoints[0].name, file.waypoints[0].name);
  EXPECT_EQ(back.waypoints[1].description, "d & e");
  EXPECT_EQ(back.waypoints[0].position, file.waypoints[0].position);
}

}  // namespace
}  // namespace pixtrail
