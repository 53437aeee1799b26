#include <gtest/gtest.h>

#include "tests/tracks/gpsbabel_oracle.hpp"
#include "tracks/kml_export.hpp"
#include "tracks/track_file_dispatch.hpp"
#include "tracks/track_format_ozi_wpt.hpp"
#include "tracks/waypoint_format_gpx.hpp"

namespace pixtrail {
namespace {

TEST(KmlOracle, GpsbabelReadsOurTracksAndPins) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  TVolGPS track;
  std::string message;
  ASSERT_TRUE(openTrack(test::testData("formats/track_gpx_garmin_extensions.gpx"), track, {}, message));
  TBalizas pins;
  ASSERT_TRUE(openWaypoints(test::testData("formats/track_gpx_garmin_extensions.gpx"), pins, {}, message));
  ASSERT_EQ(track.marks.size(), pins.waypoints.size()) << "the file's waypoints are the track's marks too";
  track.marks.clear();  // here they come as pins of their own
  KmlContent content;
  content.tracks = {&track};
  content.waypointFiles = {&pins};
  test::TempDir dir;
  const auto kml = dir / "out.kml";
  ASSERT_TRUE(writeKml(content, kml, false, message)) << message;
  const test::OracleRun run = test::gpsbabelRead("kml", kml);
  EXPECT_EQ(run.errors, "");
  test::expectSamePoints(track, run, 0.001, "track");
  const test::OracleRun wpts = test::gpsbabelRead("kml", kml, "-w");
  ASSERT_EQ(wpts.points.size(), pins.waypoints.size());
  for (std::size_t i = 0; i < wpts.points.size(); ++i) {
    EXPECT_NEAR(wpts.points[i].lat, pins.waypoints[i].position.lat, 1e-6);
    EXPECT_NEAR(wpts.points[i].lon, pins.waypoints[i].position.lon, 1e-6);
    EXPECT_EQ(wpts.points[i].column("Name"), pins.waypoints[i].name);
  }
}

TEST(WaypointOracle, OziAndGpxWaypointsAgreeWithGpsbabel) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  const auto ozi = test::testData("formats/ozi.wpt");
  TBalizas file;
  std::string message;
  ASSERT_TRUE(openWaypoints(ozi, file, {}, message)) << message;
  const test::OracleRun run = test::gpsbabelRead("ozi", ozi, "-w");
  ASSERT_EQ(run.points.size(), file.waypoints.size());
  for (std::size_t i = 0; i < run.points.size(); ++i) {
    EXPECT_NEAR(run.points[i].lat, file.waypoints[i].position.lat, 1e-6);
    EXPECT_NEAR(run.points[i].lon, file.waypoints[i].position.lon, 1e-6);
    EXPECT_EQ(run.points[i].column("Name"), file.waypoints[i].name);
  }
  test::TempDir dir;
  for (const char* format : {"ozi", "gpx"}) {
    const auto out = dir / (std::string("out.") + (format == std::string("ozi") ? "wpt" : "gpx"));
    if (format == std::string("ozi")) test::writeFileBytes(out, oziWaypointFileText(file));
    else ASSERT_TRUE(saveWaypoints(file, out, {}, message)) << message;
    const test::OracleRun back = test::gpsbabelRead(format, out, "-w");
    EXPECT_EQ(back.errors, "") << format;
    ASSERT_EQ(back.points.size(), file.waypoints.size()) << format;
    for (std::size_t i = 0; i < back.points.size(); ++i) {
      EXPECT_NEAR(back.points[i].lat, file.waypoints[i].position.lat, 1e-6) << format;
      EXPECT_NEAR(back.points[i].lon, file.waypoints[i].position.lon, 1e-6) << format;
      EXPECT_EQ(back.points[i].column("Name"), file.waypoints[i].name) << format;
    }
  }
}

}  // namespace
}  // namespace pixtrail
