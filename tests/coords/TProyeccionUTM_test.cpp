#include "coords/TProyeccionUTM.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "coords/TListaDatums.hpp"
#include "tests/support/datum_fixture.hpp"

namespace pixtrail {
namespace {

TEST(Utm, ZoneRuleKeepsItsEdges) {
  const struct { double lon; int zone; const char* why; } rows[] = {
      {3, 31, "Greenwich zone"},          {0, 31, "zero is east"},
      {-0.000001, 30, "just west"},       {-6, 29, "-6 falls in 29, not 30"},
      {-5.999999, 30, ""},                {6, 32, "east edge starts the next zone"},
      {-180, 1, "the meridian 180 shares with zone 1"}, {180, 61, "180 gives 61"},
      {179.999, 60, ""},                  {-177, 1, ""},
      {1e300, 166697, "absurd input stays an int"}, {-1e300, -166636, ""},
      {std::nan(""), 0, "NaN is no zone"},
  };
  for (const auto& r : rows) EXPECT_EQ(utmZone(r.lon), r.zone) << r.lon << " " << r.why;
  EXPECT_EQ(utmZone(-180, UtmEdges::kExact), 0) << "trunc(-30) - 1 + 31, kept on request";
  EXPECT_EQ(utmZone(-179.9999999, UtmEdges::kExact), 1);
}

TEST(Utm, BandLetters) {
  const struct { double lat; char letter; const char* why; } rows[] = {
      {40, 'S', "upper bound inclusive"},   {40.000001, 'T', ""},         {0, 'M', "equator is southern"},
      {0.0001, 'N', ""},                   {-8, 'L', "every edge belongs below"},  {84, 'X', "X reaches 84"},
      {84.0001, 'Z', "above 84"},          {-80, 'C', "-80 bounds band C"},  {-80.0001, 'A', "below -80"},
      {72, 'W', ""},                       {72.00000000000001, 'X', "the next double above an edge"},
      {-7.999999999999999, 'M', ""},
  };
  for (const auto& r : rows) EXPECT_EQ(utmBandLetter(r.lat, '?'), r.letter) << r.lat << " " << r.why;
  EXPECT_EQ(utmBandLetter(-80, '?', UtmEdges::kExact), '?') << "-80 keeps the letter, on request";
}

TEST(Utm, PointsOnTheEdgesUnprojectAgain) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const TCoord edges[] = {{-180, -80}, {-180, 10}, {180, 10}, {-6, -80}, {3, 84}, {-180, 84}};
  for (const TCoord& p : edges) {
    std::string message;
    GridCoord utm;
    ASSERT_TRUE(geographicToUtm(p, 0, 0, utm, message)) << p.lon << " " << p.lat << " " << message;
    TCoord back;
    ASSERT_TRUE(utmToGeographic(utm, 0, 0, back, message)) << p.lon << " " << p.lat << " " << message;
    EXPECT_NEAR(back.lat, p.lat, 1e-7) << p.lon << " " << p.lat;
    EXPECT_NEAR(std::remainder(back.lon - p.lon, 360.0), 0.0, 1e-7) << p.lon << " " << p.lat;
  }
}

TEST(Utm, ForwardEdgesAndFalseNorthing) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  std::string message;
  GridCoord utm;
  ASSERT_TRUE(geographicToUtm({3, 41, 120.0f}, 0, 0, utm, message));
  EXPECT_EQ(utm.zone, 31);
  EXPECT_EQ(utm.band, 'T');
  EXPECT_NEAR(utm.x, 500000, 1e-6);
  EXPECT_EQ(utm.alt, 120.0f);

  ASSERT_TRUE(geographicToUtm({3, 0}, 0, 0, utm, message));
  EXPECT_EQ(utm.band, 'M');
  EXPECT_NEAR(utm.y, 10000000, 1e-6) << "the equator takes the southern false northing";
  ASSERT_TRUE(geographicToUtm({3, 0.0001}, 0, 0, utm, message));
  EXPECT_EQ(utm.band, 'N');
  EXPECT_LT(utm.y, 100) << "just north: no false northing";

  // A forced zone and letter keep a whole track in one zone.
  ASSERT_TRUE(geographicToUtm({7.5, 41}, 0, 0, utm, message, 31, 'T'));
  EXPECT_EQ(utm.zone, 31);
  EXPECT_GT(utm.x, 870000) << "4.5 degrees (about 378 km at 41N) east of zone 31's meridian";
  EXPECT_TRUE(message.empty());
}

TEST(Utm, InverseRefusesTheNorthingLimitAndBadLetters) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  TCoord out{1, 2, 3.0f};
  const TCoord before = out;
  for (const double northing : {9886785.0, -9886785.0, 1e300}) {
    std::string message;
    EXPECT_FALSE(utmToGeographic({500000, northing, 0, 31, 'T'}, 0, 0, out, message));
    EXPECT_EQ(message, "utm.y superior a 9886785");
    EXPECT_EQ(out, before);
  }
  std::string message;
  EXPECT_TRUE(utmToGeographic({500000, 9886784.9, 0, 31, 'N'}, 0, 0, out, message));
  EXPECT_FALSE(utmToGeographic({500000, 100, 0, 31, 'a'}, 0, 0, out, message));
  EXPECT_FALSE(utmToGeographic({500000, 100, 0, 31, 0}, 0, 0, out, message));
}

TEST(Utm, DatumShiftHappensBeforeProjecting) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const int ed50 = datumTable().findByName("European 1950");
  ASSERT_GT(ed50, 0);
  TCoord shifted{-3.7, 40.4};
  std::string message;
  ASSERT_TRUE(datumTable().Transforma_Grados_Datum(shifted, 0, ed50, message));
  GridCoord viaShift, direct;
  ASSERT_TRUE(geographicToUtm({-3.7, 40.4}, 0, ed50, viaShift, message));
  ASSERT_TRUE(geographicToUtm(shifted, ed50, ed50, direct, message));
  EXPECT_NEAR(viaShift.x, direct.x, 1e-9);
  EXPECT_NEAR(viaShift.y, direct.y, 1e-9);
  TCoord back;
  ASSERT_TRUE(utmToGeographic(viaShift, ed50, 0, back, message));
  EXPECT_NEAR(back.lat, 40.4, 2e-6) << "Molodensky there and back";
  EXPECT_NEAR(back.lon, -3.7, 2e-6);
}

TEST(Utm, ProjectionObjectsUseTheirParameters) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  TProyeccionUTM utm;
  std::string message;
  EXPECT_TRUE(utm.setParameterText("zone", "30", message));
  EXPECT_TRUE(utm.setParameterText("band", "t", message));
  EXPECT_FALSE(utm.setParameterText("zone", "61", message));
  EXPECT_FALSE(utm.setParameterText("false", "1", message));
  GridCoord grid;
  ASSERT_TRUE(utm.project({0.5, 41}, 0, grid, message));
  EXPECT_EQ(grid.zone, 30);
  EXPECT_EQ(grid.band, 'T');
  EXPECT_GT(grid.x, 790000) << "forced zone 30 although 0.5E lies in 31";
  TCoord back;
  ASSERT_TRUE(utm.unproject({grid.x, grid.y, 0, 0, 0}, 0, back, message));  // zone from the object
  EXPECT_NEAR(back.lon, 0.5, 3e-8) << "3.5 degrees off the meridian: the series' round trip";
  EXPECT_NEAR(back.lat, 41, 3e-8);

  TProyeccionDefault automatic;
  EXPECT_EQ(automatic.shortName(), "Automatic");
  EXPECT_TRUE(automatic.parameterDeclarations().empty());
  ASSERT_TRUE(automatic.project({3, 41}, 0, grid, message));
  EXPECT_EQ(grid.zone, 31);
  EXPECT_EQ(automatic.clone()->shortName(), "Automatic");
}

}  // namespace
}  // namespace pixtrail
