#include "coords/TListaDatums.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/datum_fixture.hpp"

namespace pixtrail {
namespace {

// The shift evaluated straight from its written definition, in long double and without sharing
// any code with the library, so that a slip in either shows up as a difference.
TCoord referenceShift(TCoord p, const TDatum& s, const TDatum& t) {
  using LD = long double;
  const LD pi = 3.141592653589793238462643383279502884L;
  const LD phi = p.lat * pi / 180, lam = p.lon * pi / 180;
  const LD fs = 1 / LD(s.inverseFlattening), ft = 1 / LD(t.inverseFlattening);
  const LD e2 = 2 * fs - fs * fs;
  const LD da = LD(t.a) - s.a, df = ft - fs;
  const LD dx = LD(s.dX) - t.dX, dy = LD(s.dY) - t.dY, dz = LD(s.dZ) - t.dZ;
  const LD w = 1 - e2 * sinl(phi * phi);
  const LD N = s.a / sqrtl(w), M = s.a * (1 - e2) / powl(w, 1.5L);
  const LD dphi = (-dx * sinl(phi) * cosl(lam) - dy * sinl(phi) * sinl(lam) + dz * cosl(phi) +
                   da * (N * e2 * sinl(phi) * cosl(phi)) / s.a +
                   df * (M / (1 - fs) + N * (1 - fs)) * sinl(phi) * cosl(phi)) / M;
  const LD dlam = (-dx * sinl(lam) + dy * cosl(lam)) / (N * cosl(phi));
  p.lat = static_cast<double>((phi + dphi) * 180 / pi);
  p.lon = static_cast<double>((lam + dlam) * 180 / pi);
  return p;
}

class ShippedDatums : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums()); }
  TListaDatums& table = datumTable();
  int index(const char* name) {
    const int i = table.findByName(name);
    EXPECT_GE(i, 0) << name;
    return i;
  }
};

TEST_F(ShippedDatums, ShiftMatchesTheWrittenFormulaOverASpreadOfPointsAndDatums) {
  const char* datums[] = {"European 1950", "NAD27 CONUS", "Tokyo", "Ord Srvy Grt Britn",
                          "Australian Geod 1966", "Pulkovo 1942", "Ireland 1965", "CH-1903", "WGS 72"};
  const TCoord points[] = {{-3.7, 40.4, 650.0f}, {0.0, 0.0, 0.0f},   {139.7, 35.7, 10.0f},
                           {-122.4, 37.8, 0.0f}, {151.2, -33.9, 5.0f}, {-179.9, 89.99, 0.0f},
                           {179.99, -60.0, 0.0f}, {8.5, 47.4, 400.0f}, {-0.1, 51.5, 30.0f}};
  int checked = 0;
  for (const char* name : datums) {
    const int d = index(name);
    for (const auto& [from, to] : {std::pair{d, 0}, std::pair{0, d}, std::pair{d, index("Tokyo")}}) {
      if (from == to) continue;
      for (const TCoord& p : points) {
        TCoord got = p;
        std::string message;
        ASSERT_TRUE(table.Transforma_Grados_Datum(got, from, to, message)) << message;
        const TCoord want = referenceShift(p, table.datum(from), table.datum(to));
        EXPECT_NEAR(got.lat, want.lat, 1e-9) << name << " " << p.lat << "," << p.lon;
        EXPECT_NEAR(got.lon, want.lon, 1e-9) << name << " " << p.lat << "," << p.lon;
        EXPECT_EQ(got.alt, p.alt);
        ++checked;
      }
    }
  }
  EXPECT_GT(checked, 200);
}

TEST_F(ShippedDatums, RowZeroIsWgs84AndCommonSpellingsFindIt) {
  const TDatum& wgs = table.datum(0);
  EXPECT_EQ(wgs.name, "WGS 84");
  EXPECT_EQ(wgs.a, 6378137.0);
  EXPECT_EQ(wgs.inverseFlattening, 298.257223563);
  EXPECT_EQ(wgs.dX, 0.0);
  EXPECT_GE(table.size(), 120);
  for (const char* name : {"wgs_84", "  WGS-84  ", "World Geodetic System 1984", "WGS84", "NAD83", "ETRS89", "RGF93"})
    EXPECT_EQ(table.findByName(name), 0) << name;
  for (const char* name : {"European 1979", "RT 90", "Rijksdriehoeksmeting", "Ord Srvy Grt Britn", "Ireland 1965",
                           "CH-1903", "Europeo 1979", "Potsdam", "Hermannskogel", "Pulkovo 1942", "NAD27",
                           "Australian Geodetic 1984", "DHDN90", "NTF"})
    EXPECT_GT(table.findByName(name), 0) << name;
}

}  // namespace
}  // namespace pixtrail
