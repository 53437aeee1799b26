#include "coords/TListaProyecciones.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "coords/TListaDatums.hpp"
#include "core/text.hpp"
#include "tests/support/datum_fixture.hpp"

namespace pixtrail {
namespace {

// What every row of the registry must satisfy, rather than the rows themselves: its short name
// finds it whatever the case, a clone keeps the class, and the description follows the unit.
TEST(ProjectionList, EveryRowIsFoundByItsNameAndClonesItself) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const TListaProyecciones list;
  std::set<std::string> names;
  for (int i = 0; i < list.size(); ++i) {
    const TProyeccion& p = list.projection(i);
    // Two rows share the name "Lat/Long"; a name finds its first row.
    const bool first = names.insert(p.shortName()).second;
    EXPECT_EQ(list.findByShortName(toLowerAscii(p.shortName())) == i, first) << p.shortName();
    EXPECT_EQ(p.clone()->shortName(), p.shortName());
    EXPECT_EQ(p.description(false), p.secondName());
    EXPECT_EQ(p.description(true), p.secondName() + (p.unit() == PlaneUnit::kDegrees ? " degrees" : " meters"));
  }
  EXPECT_EQ(list.projection(list.findByShortName("Lat/Long")).description(true), "Latitude/Longitude degrees");
  EXPECT_EQ(list.findByShortName("Stereographic"), -1);
}

TEST(ProjectionList, ParametersTravelAsTextAndCopies) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const TListaProyecciones list;
  std::string message;
  auto lambert = list.create("Lambert 2SP", message);
  ASSERT_TRUE(lambert);
  ASSERT_TRUE(lambert->setParameter("lat1", 33, message));
  EXPECT_FALSE(lambert->setParameter("lat1", 95, message)) << "outside its declared range";
  EXPECT_NE(message.find("Lat Standard 1"), std::string::npos) << "the message names the parameter";
  const auto fields = lambert->writeParameters();
  ASSERT_EQ(fields.size(), 6u);
  EXPECT_EQ(fields[0], "33");
  auto copy = list.create("Lambert 2SP", message);
  ASSERT_TRUE(copy->readParameters(fields));
  GridCoord a, b;
  ASSERT_TRUE(lambert->project({-90, 40}, 0, a, message));
  ASSERT_TRUE(copy->project({-90, 40}, 0, b, message));
  EXPECT_EQ(a.x, b.x);
  EXPECT_FALSE(copy->readParameters({"1", "2"})) << "too few fields";
  EXPECT_FALSE(list.create("Stereographic", message));
  EXPECT_NE(message.find("Unknown projection"), std::string::npos);
}

TEST(ProjectionList, BadPositionsFailCleanly) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const TListaProyecciones list;
  std::string message;
  auto lambert = list.create("Lambert 2SP", message);
  ASSERT_TRUE(lambert->setParameter("lat1", 30, message) && lambert->setParameter("lat2", -30, message));
  const GridCoord untouched{1, 2};
  GridCoord grid = untouched;
  EXPECT_FALSE(lambert->project({0, 10}, 0, grid, message)) << "parallels symmetric about the equator: no cone";
  EXPECT_EQ(grid.x, untouched.x);
  auto mercator = list.create("Mercator", message);
  EXPECT_FALSE(mercator->project({0, 90}, 0, grid, message)) << "the pole is at infinity";
  EXPECT_FALSE(mercator->project({0, NAN}, 0, grid, message));
  TCoord out{5, 6};
  EXPECT_FALSE(mercator->unproject({0, 1e300}, 0, out, message));
  EXPECT_EQ(out.lon, 5);
  auto albers = list.create("Albers", message);
  EXPECT_FALSE(albers->unproject({1e12, 1e12}, 0, out, message));
  auto tm = list.create("Transversal Mercator", message);
  EXPECT_FALSE(tm->unproject({NAN, 0}, 0, out, message));
  EXPECT_NE(message.find("error in TM_a_Grados"), std::string::npos);
  // Altitudes are carried through a point's projection.
  ASSERT_TRUE(tm->projectPoint({1, 45, 321.5f}, 0, grid, message));
  EXPECT_EQ(grid.alt, 321.5f);
}

TEST(ProjectionList, MissingDatumIsReportedNotGuessed) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  TListaDatums& table = datumTable();
  const int rt90 = table.findByName("RT 90");
  ASSERT_GT(rt90, 0);
  std::string message;
  ASSERT_TRUE(table.deleteDatum(rt90, message));
  const TListaProyecciones list;  // built without RT 90
  GridCoord grid;
  EXPECT_FALSE(list.projection(list.findByShortName("Swedish Grid")).project({15, 60}, 0, grid, message));
  EXPECT_NE(message.find("Datum not found: RT 90"), std::string::npos);
  ASSERT_TRUE(table.load(table.dataDir(), message)) << "restore the table for the other tests";
}

}  // namespace
}  // namespace pixtrail
