// gpsbabel and our code on the same Magellan files: gpsbabel reads what we write (as the disk
// units' format), and we read what gpsbabel writes in both of its Magellan file layouts.

#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"
#include "tests/tracks/gpsbabel_oracle.hpp"
#include "tracks/track_file_dispatch.hpp"
#include "tracks/track_format_magellan.hpp"

namespace pixtrail::test {
namespace {

class MagellanFilesWithGpsbabel : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel not installed";
  }
  TempDir dir;
};

TEST_F(MagellanFilesWithGpsbabel, WeReadWhatItWritesInBothLayouts) {
  const std::string gpx = shellQuote(testData("magellan/upload.gpx").string());
  for (const std::string format : {"magellan", "magellanx"}) {
    const std::string base = (dir / format).string();
    ASSERT_EQ(runCommand("gpsbabel -w -i gpx -f " + gpx + " -o " + format + " -F " + base + ".upt").status, 0);
    ASSERT_EQ(runCommand("gpsbabel -r -i gpx -f " + gpx + " -o " + format + " -F " + base + ".rte").status, 0);
    std::string message;
    TBalizas w;
    ASSERT_TRUE(openWaypoints(base + ".upt", w, {}, message)) << format << ": " << message;
    const OracleRun theirs = gpsbabelRead("gpx", testData("magellan/upload.gpx"), "-w");
    ASSERT_EQ(w.waypoints.size(), theirs.points.size()) << format;
    for (std::size_t i = 0; i < w.waypoints.size(); ++i) {
      EXPECT_EQ(w.waypoints[i].name, theirs.points[i].column("Name")) << format;
      // gpsbabel writes three decimals of a minute: within 1e-5 degrees.
      EXPECT_NEAR(w.waypoints[i].position.lat, theirs.points[i].lat, 1e-5) << format;
      EXPECT_NEAR(w.waypoints[i].position.lon, theirs.points[i].lon, 1e-5) << format;
    }
    TRutas r;
    ASSERT_TRUE(openRoutes(base + ".rte", r, {}, message)) << format << ": " << message;
    ASSERT_EQ(r.routes.size(), 1u) << format;
    ASSERT_EQ(r.routes[0].waypoints.size(), 5u) << format;
    EXPECT_EQ(r.routes[0].waypoints[2].name, "RIO") << format;
    // Only the disk units' layout carries the route's name.
    EXPECT_EQ(r.routes[0].name, format == "magellanx" ? "VIAJE" : "1") << format;
  }
}

TEST_F(MagellanFilesWithGpsbabel, ItReadsWhatWeWrite) {
  std::string message;
  // Our files from the same source gpsbabel reads.
  const std::string gpx = shellQuote(testData("magellan/upload.gpx").string());
  ASSERT_EQ(runCommand("gpsbabel -w -i gpx -f " + gpx + " -o magellanx -F " + (dir / "src.upt").string()).status, 0);
  ASSERT_EQ(runCommand("gpsbabel -r -i gpx -f " + gpx + " -o magellanx -F " + (dir / "src.rte").string()).status, 0);
  TBalizas src;
  TRutas routes;
  ASSERT_TRUE(openWaypoints(dir / "src.upt", src, {}, message)) << message;
  ASSERT_TRUE(openRoutes(dir / "src.rte", routes, {}, message)) << message;
  ASSERT_TRUE(saveWaypoints(src, dir / "ours.upt", {}, message)) << message;
  ASSERT_TRUE(saveRoutes(routes, dir / "ours.rte", {}, message)) << message;

  const OracleRun wpt = gpsbabelRead("magellanx", dir / "ours.upt", "-w");
  ASSERT_EQ(wpt.status, 0) << wpt.errors;
  ASSERT_EQ(wpt.points.size(), src.waypoints.size());
  for (std::size_t i = 0; i < wpt.points.size(); ++i) {
    EXPECT_EQ(wpt.points[i].column("Name"), src.waypoints[i].name);
    EXPECT_NEAR(wpt.points[i].lat, src.waypoints[i].position.lat, 1e-6);
    EXPECT_NEAR(wpt.points[i].lon, src.waypoints[i].position.lon, 1e-6);
    EXPECT_NEAR(*wpt.points[i].altM, src.waypoints[i].position.alt, 0.01);
  }
  const OracleRun rte = gpsbabelRead("magellanx", dir / "ours.rte", "-r");
  ASSERT_EQ(rte.status, 0) << rte.errors;
  ASSERT_EQ(rte.points.size(), routes.routes[0].waypoints.size());
  for (std::size_t i = 0; i < rte.points.size(); ++i)
    EXPECT_EQ(rte.points[i].column("Name"), routes.routes[0].waypoints[i].name);

  // Track logs: the same points for gpsbabel as for us.
  TrackFileSettings settings;
  TVolGPS track;
  ASSERT_TRUE(openTrack(testData("magellan/upload.gpx"), track, settings, message)) << message;
  ASSERT_TRUE(saveTrack(track, dir / "ours.log", settings, message)) << message;
  TVolGPS back;
  ASSERT_TRUE(openTrack(dir / "ours.log", back, settings, message)) << message;
  expectSamePoints(back, gpsbabelRead("magellanx", dir / "ours.log", "-t"), 0.01, "log");
}

}  // namespace
}  // namespace pixtrail::test
