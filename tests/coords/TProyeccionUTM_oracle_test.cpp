// UTM against GeographicLib's GeoConvert on a world-wide set of points, WGS 84.
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <vector>

#include "coords/TProyeccionUTM.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/oracle_output.hpp"

namespace pixtrail {
namespace {

// GeoConvert applies the Norway and Svalbard zone exceptions, which this UTM does not.
bool outsideZoneExceptions(double lat, double lon) {
  const bool norway = lat >= 56 && lat < 64 && lon >= 3 && lon < 12;
  const bool svalbard = lat >= 72 && lon >= 0 && lon < 42;
  return !norway && !svalbard;
}

TEST(UtmOracle, MatchesGeoConvertToOneMillimetre) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  std::vector<TCoord> points;
  for (double lat = -79.7; lat < 84; lat += 3.7)
    for (double lon = -179.9; lon < 180; lon += 2.9)
      if (outsideZoneExceptions(lat, lon)) points.push_back({lon, lat});
  std::ostringstream input;
  input.precision(17);
  for (const TCoord& p : points) input << p.lat << ' ' << p.lon << '\n';
  const auto run = test::oracleOutputFor("GeoConvert", "utm_geoconvert.txt", "utm", "GeoConvert -u -p 6", input.str());
  ASSERT_EQ(run.status, 0) << run.err;
  std::istringstream output(run.out);
  double worst = 0;
  for (const TCoord& p : points) {
    std::string zoneText;
    double east = 0, north = 0;
    ASSERT_TRUE(output >> zoneText >> east >> north);
    GridCoord utm;
    std::string message;
    ASSERT_TRUE(geographicToUtm(p, 0, 0, utm, message)) << message;
    EXPECT_EQ(std::stoi(zoneText), utm.zone) << p.lat << " " << p.lon;
    EXPECT_EQ(zoneText.back(), p.lat >= 0 ? 'n' : 's');
    const double error = std::hypot(utm.x - east, utm.y - north);
    worst = std::max(worst, error);
    EXPECT_LE(error, 0.001) << p.lat << " " << p.lon;
    TCoord back;
    ASSERT_TRUE(utmToGeographic(utm, 0, 0, back, message)) << message;
    EXPECT_NEAR(back.lat, p.lat, 1.2e-8);
    EXPECT_NEAR(back.lon, p.lon, 1.2e-8);
  }
  std::printf("%zu points, worst distance to GeoConvert %.3g m\n", points.size(), worst);
}

}  // namespace
}  // namespace pixtrail
