// Track lengths against GeographicLib's GeodSolve (geodesics on the WGS 84 ellipsoid).
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "core/angles.hpp"
#include "tests/support/test_support.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {
namespace {

struct Step {
  TCoord a, b;
  double relativeTolerance;
};

TEST(TrackGeodesyOracle, StepDistancesMatchGeodSolve) {
  if (!test::haveTool("GeodSolve")) GTEST_SKIP() << "GeodSolve (geographiclib-tools) not installed";
  std::vector<Step> steps;
  // GPS-sized steps (1 m to 5 km) at every latitude band and heading, both hemispheres, across
  // the antimeridian; then long steps a receiver switched off would make.
  const double lats[] = {-78.5, -45.0, -12.3, 0.0, 23.4, 40.4, 61.2, 84.9};
  const double lengthsDeg[] = {1e-5, 3e-4, 0.01, 0.045};
  const double headings[] = {0.0, 37.0, 90.0, 151.0, 233.0, 301.0};
  for (const double lat : lats)
    for (const double d : lengthsDeg)
      for (const double h : headings) {
        const double r = h * kRadPerDeg;
        const double lon = lat > 0 ? 179.99 : -3.7;
        steps.push_back({{lon, lat, 0},
                         {lon + d * std::sin(r) / std::cos(lat * kRadPerDeg), lat + d * std::cos(r), 0},
                         std::abs(lat) <= 80.0 ? 1e-6 : 4e-6});
      }
  steps.push_back({{-3.7, 40.4, 0}, {-2.2, 41.3, 0}, 5e-3});
  steps.push_back({{10.0, -60.0, 0}, {12.0, -61.0, 0}, 5e-3});
  std::ostringstream input;
  input << std::fixed;  // GeodSolve reads an exponent's "e" as a hemisphere letter
  input.precision(12);
  for (const Step& s : steps) input << s.a.lat << ' ' << s.a.lon << ' ' << s.b.lat << ' ' << s.b.lon << '\n';
  const auto out = test::runCommand("GeodSolve -i -p 6", input.str());
  ASSERT_EQ(out.status, 0) << out.err;
  std::istringstream lines(out.out);
  for (const Step& s : steps) {
    double azi1 = 0, azi2 = 0, s12 = 0;
    ASSERT_TRUE(lines >> azi1 >> azi2 >> s12);
    const double ours = stepDistanceM(s.a, s.b);
    EXPECT_NEAR(ours, s12, s12 * s.relativeTolerance + 1e-4)
        << s.a.lat << "," << s.a.lon << " -> " << s.b.lat << "," << s.b.lon;
  }
}

}  // namespace
}  // namespace pixtrail
