// Every projection of the list against cs2cs (PROJ) with the same ellipsoid and parameters: the
// ellipsoid comes from the projection's datum row, so no datum shift takes part.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <vector>

#include "coords/TListaDatums.hpp"
#include "coords/TListaProyecciones.hpp"
#include "core/angles.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/oracle_output.hpp"

namespace pixtrail {
namespace {

struct Parameter {
  const char* key;
  double value;
};

struct Area {
  double lonFrom, lonTo, latFrom, latTo;
};

struct OracleRow {
  const char* projection;
  std::vector<Parameter> parameters;
  const char* datum;    // for projections without a datum of their own
  const char* cs2cs;    // the same projection in PROJ's words, ellipsoid added from the row
  Area area;
  double toleranceM;
  double roundTripDeg;  // inverse after forward
};

const std::vector<OracleRow>& rows() {
  static const std::vector<OracleRow> table = {
      {"Lambert 2SP", {{"lat1", 33}, {"lat2", 45}, {"lat0", 23}, {"lon0", -96}, {"fe", 1000}, {"fn", 2000}},
       "WGS 84", "+proj=lcc +lat_1=33 +lat_2=45 +lat_0=23 +lon_0=-96 +x_0=1000 +y_0=2000",
       {-125, -67, 20, 50}, 0.01, 1e-8},
      {"Lambert 2SP", {{"lat1", -20}, {"lat2", -40}, {"lat0", -30}, {"lon0", 140}, {"fe", 0}, {"fn", 0}},
       "WGS 84", "+proj=lcc +lat_1=-20 +lat_2=-40 +lat_0=-30 +lon_0=140",
       {115, 155, -45, -10}, 0.01, 1e-8},
      {"Lambert 1SP", {{"lat0", 18}, {"lon0", -77}, {"k0", 0.9999}, {"fe", 250000}, {"fn", 150000}},
       "WGS 84", "+proj=lcc +lat_1=18 +lat_0=18 +lon_0=-77 +k_0=0.9999 +x_0=250000 +y_0=150000",
       {-80, -74, 15, 21}, 0.01, 1e-8},
      {"France Lambert I", {}, nullptr,
       "+proj=lcc +lat_1=49.5 +lat_0=49.5 +lon_0=2.337229166666667 +k_0=0.999877341 +x_0=600000 +y_0=1200000",
       {-5, 9, 41, 51.5}, 0.01, 1e-8},
      {"France Lambert II", {}, nullptr,
       "+proj=lcc +lat_1=46.8 +lat_0=46.8 +lon_0=2.337229166666667 +k_0=0.99987742 +x_0=600000 +y_0=200000",
       {-5, 9, 41, 51.5}, 0.01, 1e-8},
      {"France Lambert II etendu", {}, nullptr,
       "+proj=lcc +lat_1=46.8 +lat_0=46.8 +lon_0=2.337229166666667 +k_0=0.99987742 +x_0=600000 +y_0=2200000",
       {-5, 9, 41, 51.5}, 0.01, 1e-8},
      {"France Lambert III", {}, nullptr,
       "+proj=lcc +lat_1=44.1 +lat_0=44.1 +lon_0=2.337229166666667 +k_0=0.999877499 +x_0=600000 +y_0=3200000",
       {-5, 9, 41, 51.5}, 0.01, 1e-8},
      {"France Lambert IV", {}, nullptr,
       "+proj=lcc +lat_1=42.165 +lat_0=42.165 +lon_0=2.337229166666667 +k_0=0.99994471 +x_0=234.358 +y_0=4185861.369",
       {8, 10, 41, 43.2}, 0.01, 1e-8},
      {"Lambert ALPS", {}, nullptr,
       "+proj=lcc +lat_1=49 +lat_2=46 +lat_0=47.5 +lon_0=13.33333333333333 +x_0=400000 +y_0=400000",
       {9, 17.5, 46, 49.2}, 0.01, 1e-8},
      {"Mercator", {{"lon0", 10}, {"lat1", 20}, {"fe", 100}, {"fn", -200}},
       "European 1950", "+proj=merc +lon_0=10 +lat_ts=20 +x_0=100 +y_0=-200",
       {-170, 170, -80, 80}, 0.01, 1e-8},
      {"Polyconic", {{"lat0", 30}, {"lon0", -96}, {"fe", 1000}, {"fn", 2000}},
       "WGS 84", "+proj=poly +lat_0=30 +lon_0=-96 +x_0=1000 +y_0=2000",
       {-115, -77, 10, 50}, 0.01, 1e-8},
      {"Albers", {{"lat1", 29.5}, {"lat2", 45.5}, {"lat0", 23}, {"lon0", -96}, {"fe", 0}, {"fn", 0}},
       "WGS 84", "+proj=aea +lat_1=29.5 +lat_2=45.5 +lat_0=23 +lon_0=-96",
       {-125, -67, 20, 50}, 0.01, 1e-8},
      {"Transversal Mercator", {{"lon0", 9}, {"lat0", 40}, {"k0", 0.9999}, {"fe", 200000}, {"fn", 100}},
       "European 1950", "+proj=tmerc +lon_0=9 +lat_0=40 +k_0=0.9999 +x_0=200000 +y_0=100",
       {5.6, 12.4, 0, 80}, 0.001, 3e-8},
      {"Dutch RD grid", {}, nullptr,
       "+proj=tmerc +lon_0=5.38763 +lat_0=0 +k_0=0.9999079 +x_0=155000 +y_0=-5316592",
       {3.3, 7.2, 50.7, 53.6}, 0.001, 1.2e-8},
      {"Swedish Grid", {}, nullptr, "+proj=tmerc +lon_0=15.808277777778 +lat_0=0 +k_0=1 +x_0=1500000 +y_0=0",
       {12.4, 19.2, 55, 69}, 0.001, 3e-8},
      {"BGN (British National Grid)", {}, nullptr,
       "+proj=tmerc +lon_0=-2 +lat_0=49 +k_0=0.9996013 +x_0=400000 +y_0=-100000",
       {-5.4, 1.4, 50, 58.6}, 0.001, 3e-8},
      {"Irish Grid", {}, nullptr, "+proj=tmerc +lon_0=-8 +lat_0=53.5 +k_0=1.000035 +x_0=200000 +y_0=250000",
       {-10.5, -5.5, 51.4, 55.4}, 0.001, 1.2e-8},
  };
  return table;
}

std::string ellipsoidOf(const TDatum& row) {
  char text[96];
  std::snprintf(text, sizeof text, " +a=%.17g +rf=%.17g +no_defs", row.a, row.inverseFlattening);
  return text;
}

std::vector<TCoord> pointsIn(const Area& area) {
  std::vector<TCoord> points;
  for (int i = 0; i <= 6; ++i)
    for (int j = 0; j <= 6; ++j)
      points.push_back({area.lonFrom + (area.lonTo - area.lonFrom) * i / 6,
                        area.latFrom + (area.latTo - area.latFrom) * j / 6, 0.0f});
  return points;
}

// Runs cs2cs over the points; x, y, z per point.
std::vector<std::array<double, 3>> cs2cs(const std::string& ellipsoid, const std::string& target,
                                         const std::vector<TCoord>& points) {
  std::ostringstream input;
  input.precision(15);
  for (const TCoord& p : points) input << p.lon << ' ' << p.lat << ' ' << p.alt << '\n';
  const auto run = test::oracleOutputFor("cs2cs", "projections_cs2cs.txt", target + ellipsoid,
                                         "cs2cs -f %.6f +proj=longlat" + ellipsoid + " +to " + target + ellipsoid,
                                         input.str());
  EXPECT_EQ(run.status, 0) << run.err;
  std::vector<std::array<double, 3>> out;
  std::istringstream output(run.out);
  std::array<double, 3> v{};
  while (output >> v[0] >> v[1] >> v[2]) out.push_back(v);
  return out;
}

TEST(ProjectionsOracle, AgreeWithCs2cs) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  TListaProyecciones list;
  for (const OracleRow& r : rows()) {
    SCOPED_TRACE(r.cs2cs);
    std::string message;
    auto projection = list.create(r.projection, message);
    ASSERT_TRUE(projection) << message;
    for (const Parameter& p : r.parameters) ASSERT_TRUE(projection->setParameter(p.key, p.value, message)) << message;
    const int datum = r.datum ? datumTable().findByName(r.datum) : projection->fixedDatum();
    ASSERT_GE(datum, 0);
    const std::vector<TCoord> points = pointsIn(r.area);
    const auto expected = cs2cs(ellipsoidOf(datumTable().datum(datum)), r.cs2cs, points);
    ASSERT_EQ(expected.size(), points.size());
    double worst = 0, worstBack = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
      GridCoord grid;
      ASSERT_TRUE(projection->project(points[i], datum, grid, message)) << message;
      const double error = std::hypot(grid.x - expected[i][0], grid.y - expected[i][1]);
      worst = std::max(worst, error);
      EXPECT_LE(error, r.toleranceM) << points[i].lon << " " << points[i].lat;
      TCoord back;
      ASSERT_TRUE(projection->unproject(grid, datum, back, message)) << message;
      worstBack = std::max({worstBack, std::fabs(back.lat - points[i].lat), std::fabs(back.lon - points[i].lon)});
      EXPECT_NEAR(back.lat, points[i].lat, r.roundTripDeg);
      EXPECT_NEAR(back.lon, points[i].lon, r.roundTripDeg);
    }
    std::printf("%-28s worst %.2g m from cs2cs, round trip %.2g deg\n", r.projection, worst, worstBack);
  }
}

// ECEF with heights, and the Swiss polynomials, whose accuracy is their own.
TEST(ProjectionsOracle, GeocentricAndSwissGrid) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  TListaProyecciones list;
  std::string message;
  auto ecef = list.create("ECEF", message);
  std::vector<TCoord> points = pointsIn({-179, 179, -89.9, 89.9});
  for (std::size_t i = 0; i < points.size(); ++i) points[i].alt = static_cast<float>(i * 37 % 3000);
  const auto expected = cs2cs(ellipsoidOf(datumTable().datum(0)), "+proj=geocent", points);
  ASSERT_EQ(expected.size(), points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    GridCoord grid;
    ASSERT_TRUE(ecef->project(points[i], 0, grid, message));
    EXPECT_LE(std::hypot(grid.x - expected[i][0], grid.y - expected[i][1], grid.z - expected[i][2]), 0.001);
    TCoord back;
    ASSERT_TRUE(ecef->unproject(grid, 0, back, message));
    EXPECT_NEAR(back.lat, points[i].lat, 1e-8);
    EXPECT_NEAR(back.lon, points[i].lon, 1e-8);
    EXPECT_NEAR(back.alt, points[i].alt, 0.001);
  }

  auto swiss = list.create("Swiss Grid", message);
  const int ch1903 = swiss->fixedDatum();
  ASSERT_GE(ch1903, 0);
  const std::vector<TCoord> swissPoints = pointsIn({5.96, 10.49, 45.82, 47.81});
  const auto somerc = cs2cs(ellipsoidOf(datumTable().datum(ch1903)),
                            "+proj=somerc +lat_0=46.95240555555556 +lon_0=7.439583333333333 +k_0=1 "
                            "+x_0=600000 +y_0=200000", swissPoints);
  ASSERT_EQ(somerc.size(), swissPoints.size());
  double worst = 0, worstDrift = 0;
  for (std::size_t i = 0; i < swissPoints.size(); ++i) {
    GridCoord grid;
    ASSERT_TRUE(swiss->project(swissPoints[i], ch1903, grid, message));
    worst = std::max(worst, std::hypot(grid.x - somerc[i][0], grid.y - somerc[i][1]));
    TCoord back;
    ASSERT_TRUE(swiss->unproject(grid, ch1903, back, message));
    worstDrift = std::max(worstDrift, 111320 * std::hypot(back.lat - swissPoints[i].lat,
                                                         (back.lon - swissPoints[i].lon) * std::cos(back.lat * kRadPerDeg)));
  }
  std::printf("Swiss Grid: worst %.4f m from cs2cs somerc, round-trip drift %.3f m\n", worst, worstDrift);
  EXPECT_LE(worst, 0.005) << "the forward polynomials' own accuracy over Switzerland";
  EXPECT_LE(worstDrift, 0.5) << "the inverse set is the weaker one";
}

}  // namespace
}  // namespace pixtrail
