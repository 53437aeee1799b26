// Every shipped datum against PROJ's three-parameter Helmert (+towgs84) with the same numbers: a
// check on the sign convention and the ellipsoid of each row, not on the shift formula (the
// table's Molodensky differs from a Helmert by a few decimetres, more for large shifts).

#include <gtest/gtest.h>

#include <sstream>

#include "coords/TListaDatums.hpp"
#include "core/text.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/oracle_output.hpp"

namespace pixtrail {
namespace {

TEST(ShippedDatumsVersusCs2cs, EveryRowShiftsLikeItsTowgs84) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const TListaDatums& table = datumTable();
  const TCoord points[] = {{10.0, 40.0, 0.0f}, {-70.0, -30.0, 0.0f}, {140.0, 10.0, 0.0f}};
  std::ostringstream input;
  for (const TCoord& p : points) input << p.lon << ' ' << p.lat << '\n';
  int compared = 0;
  for (int i = 1; i < table.size(); ++i) {
    const TDatum& d = table.datum(i);
    char definition[256];
    std::snprintf(definition, sizeof definition, "+proj=longlat +a=%.17g +rf=%.17g +towgs84=%.17g,%.17g,%.17g",
                  d.a, d.inverseFlattening, d.dX, d.dY, d.dZ);
    const auto out = test::oracleOutputFor("cs2cs", "datum_table_cs2cs.txt", definition,
                                           std::string("cs2cs -f %.10f ") + definition + " +to +proj=longlat +datum=WGS84",
                                           input.str());
    ASSERT_EQ(out.status, 0) << out.err;
    std::istringstream lines(out.out);
    for (const TCoord& p : points) {
      std::string line;
      ASSERT_TRUE(std::getline(lines, line)) << d.name;
      const auto f = splitOnBlanks(line);
      ASSERT_GE(f.size(), 2u) << line;
      TCoord ours = p;
      std::string message;
      ASSERT_TRUE(table.Transforma_Grados_Datum(ours, i, 0, message)) << message;
      // 3e-5 degrees is about 3 m: shifts run to hundreds of metres, so a wrong sign, swapped axes
      // or another ellipsoid is far outside it.
      EXPECT_NEAR(ours.lon, *parseDouble(f[0]), 3e-5) << d.name << " at " << p.lat << "," << p.lon;
      EXPECT_NEAR(ours.lat, *parseDouble(f[1]), 3e-5) << d.name << " at " << p.lat << "," << p.lon;
      ++compared;
    }
  }
  EXPECT_GE(compared, 3 * 119);
}

}  // namespace
}  // namespace pixtrail
