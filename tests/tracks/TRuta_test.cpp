#include "tracks/TRuta.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

TBaliza stop(const char* name, double lat, double lon) {
  TBaliza w;
  w.name = name;
  w.position = {lon, lat, kUnknownAltitude};
  return w;
}

TEST(RouteFile, RoutesKeepTheirNamesOrderAndBytes) {
  TRutas routes;
  TRuta& morning = routes.routes.emplace();
  morning.name = "Morning walk";
  morning.waypoints.emplace(stop("Start", 40.0, -3.0));
  morning.waypoints.emplace(stop("Bridge", 40.001, -3.0));
  morning.waypoints.emplace(stop("", 40.002, -3.0));
  TRuta& empty = routes.routes.emplace();
  empty.name = "";
  TRuta& back = routes.routes.emplace();
  back.name = "Back";
  back.waypoints.emplace(stop("Home", 40.0, -3.0));
  test::TempDir dir;
  std::string message;
  ASSERT_TRUE(saveRoutes(routes, dir / "r.rte", {}, message)) << message;
  const std::string text = test::readFileBytes(dir / "r.rte");
  TRutas read;
  ASSERT_TRUE(openRoutes(dir / "r.rte", read, {}, message)) << message;
  ASSERT_EQ(read.routes.size(), 3u);
  EXPECT_EQ(read.routes[0].name, "Morning walk");
  ASSERT_EQ(read.routes[0].waypoints.size(), 3u);
  EXPECT_EQ(read.routes[0].waypoints[1].name, "Bridge");
  EXPECT_EQ(read.routes[0].waypoints[2].name, "");
  EXPECT_EQ(read.routes[1].waypoints.size(), 0u);
  EXPECT_EQ(read.routes[2].waypoints[0].name, "Home");
  // Two legs of 0.001 degree of latitude at 40 N: 2 x 111.0346 m (GeodSolve).
  EXPECT_NEAR(read.routes[0].lengthM(), 222.069, 0.002);
  std::string again;
  ASSERT_TRUE(formatRouteFile(read, read.file, {}, again, message));
  EXPECT_EQ(again, text);
}

TEST(RouteFile, BadWaypointLinesAreReportedAndSkipped) {
  TRutas routes;
  std::string message;
  EXPECT_TRUE(parseRouteFile("G  WGS 84\r\nU  0\r\nR  A\r\nW  short line\r\n"
                              "W  B - 40.0000000\xBAN 3.0000000\xBAW 27-MAR-62 00:00:00 1 x\r\n",
                             routes, message));
  EXPECT_EQ(message, "Error in WPT file");
  ASSERT_EQ(routes.routes.size(), 1u);
  EXPECT_EQ(routes.routes[0].waypoints.size(), 1u);
}

}  // namespace
}  // namespace pixtrail
