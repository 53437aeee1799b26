#include "coords/TListaProyecciones.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "coords/TListaDatums.hpp"
#include "tests/support/datum_fixture.hpp"

namespace pixtrail {
namespace {

TEST(ProjectionList, NamesUnitsAndParameterLabels) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const TListaProyecciones list;
  const struct { const char* shortName; const char* secondName; PlaneUnit unit; } rows[] = {
      {"UTM", nullptr, PlaneUnit::kMetres},
      {"Automatic", nullptr, PlaneUnit::kMetres},
      {"Lat/Long", nullptr, PlaneUnit::kDegrees},
      {"Transversal Mercator", "Transversal Mercator", PlaneUnit::kMetres},
      {"Swedish Grid", "Swedish Grid", PlaneUnit::kMetres},
      {"BGN (British National Grid)", "BGN (British National Grid)", PlaneUnit::kMetres},
      {"Irish Grid", "Irish Grid", PlaneUnit::kMetres},
      {"Dutch RD grid", "Dutch RD grid", PlaneUnit::kMetres},
      {"Swiss Grid", "Swiss Grid", PlaneUnit::kMetres},
      {"Mercator", nullptr, PlaneUnit::kMetres},
      {"Lambert 1SP", "Lambert 1SP", PlaneUnit::kMetres},
      {"Lambert 2SP", "Lambert Conformal Conic", PlaneUnit::kMetres},
      {"France Lambert II", "France Lambert II", PlaneUnit::kMetres},
      {"France Lambert III", "France Lambert III", PlaneUnit::kMetres},
      {"France Lambert IV", "France Lambert IV", PlaneUnit::kMetres},
      {"Lambert ALPS", "Lambert ALPS", PlaneUnit::kMetres},
      {"Polyconic", "Polyconic", PlaneUnit::kMetres},
      {"Albers", "Albers", PlaneUnit::kMetres},
      {"ECEF", "Earth Centered Proyection, XYZ", PlaneUnit::kMetres},
  };
  for (const auto& r : rows) {
    const int index = list.findByShortName(r.shortName);
    ASSERT_GE(index, 0) << r.shortName;
    const TProyeccion& p = list.projection(index);
    if (r.secondName) {
      EXPECT_EQ(p.secondName(), r.secondName);
    }
    EXPECT_EQ(p.unit(), r.unit) << r.shortName;
    EXPECT_EQ(p.clone()->shortName(), r.shortName) << "clone keeps the class";
  }
  EXPECT_EQ(list.size(), 22);
  std::set<std::string> french;
  for (int i = 0; i < list.size(); ++i)
    if (list.projection(i).shortName().starts_with("France Lambert")) french.insert(list.projection(i).shortName());
  EXPECT_EQ(french.size(), 5u) << "five French zones, all different";

  const TProyeccion& lambert1 = list.projection(list.findByShortName("lambert 1sp"));
  std::vector<std::string> labels;
  for (const auto& d : lambert1.parameterDeclarations()) labels.emplace_back(d.label);
  EXPECT_EQ(labels, (std::vector<std::string>{"Latitude of Origin", "Longitud of Origin", "False Easting",
                                              "False Northing", "Scale Factor"}));
  labels.clear();
  for (const auto& d : list.projection(list.findByShortName("Albers")).parameterDeclarations())
    labels.emplace_back(d.label);
  EXPECT_EQ(labels, (std::vector<std::string>{"Lat Standard 1", "Lat Standard 2", "Origin Lat:", "Origin Lon:",
                                              "False Easting", "False Northing"}));
  EXPECT_EQ(list.projection(0).description(false), list.projection(0).secondName());
  EXPECT_EQ(list.projection(list.findByShortName("Lat/Long")).description(true), "Latitude/Longitude degrees");
  EXPECT_EQ(list.projection(list.findByShortName("Albers")).description(true), "Albers meters");
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
