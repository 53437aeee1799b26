#include "coords/TProyeccionTransversalMercator.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "coords/TListaDatums.hpp"
#include "coords/grid_reference.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

TEST(GridReference, LettersAndDigits) {
  const struct { bool british; double e, n; int digits; const char* expected; const char* why; } rows[] = {
      {true, 651409, 313177, 10, "TG 51409 13177", "Ordnance Survey's own example"},
      {true, 651409, 313177, 6, "TG 514 131", "truncated, not rounded"},
      {true, 651409, 313177, 2, "TG 5 1", ""},
      {true, 0, 0, 4, "SV 00 00", "the false origin"},
      {true, 499999.9, 1299999, 4, "HP 99 99", "Shetland, checked with the OS letter arithmetic"},
      {true, 500000, 500000, 4, "OV 00 00", "the 500 km square to the north-east"},
      {true, -1, 100, 4, "RZ 99 00", "west of the origin still has letters"},
      {false, 315904, 234671, 10, "O 15904 34671", "Dublin"},
      {false, 0, 499999, 4, "A 00 99", "top row of the Irish letters"},
  };
  for (const auto& r : rows) {
    std::string text, message;
    const bool ok = r.british ? britishGridReference(r.e, r.n, r.digits, text, message)
                              : irishGridReference(r.e, r.n, r.digits, text, message);
    EXPECT_TRUE(ok) << r.why << message;
    EXPECT_EQ(text, r.expected) << r.why;
  }
  const struct { bool british; double e, n; int digits; } refused[] = {
      {true, 651409, 313177, 3}, {true, 651409, 313177, 12}, {true, 0, 2000000, 4},
      {false, 500000, 0, 4},     {false, -1, 0, 4},          {true, NAN, 0, 4}};
  for (const auto& r : refused) {
    std::string text = "unchanged", message;
    EXPECT_FALSE(r.british ? britishGridReference(r.e, r.n, r.digits, text, message)
                           : irishGridReference(r.e, r.n, r.digits, text, message));
    EXPECT_EQ(text, "unchanged");
    EXPECT_FALSE(message.empty());
  }
}

TEST(TransverseMercatorFile, ReadsTheProgramsFiles) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  TProyeccion_TM_File fromFile;
  std::string message;
  const std::string british =
      "VERSION=1\r\nPROJECTION=Transveral Mercator\r\nname=My British grid\r\nLON_ORIGIN=-2\r\n"
      "LAT_ORIGIN=49\r\nSCALE_FACTOR=0.9996013\r\nFN=-100000\r\nFE=400000\r\n"
      "PREFERED_DATUM=Ord Srvy Grt Britn\r\n";
  ASSERT_TRUE(fromFile.parse(british, message)) << message;
  EXPECT_EQ(fromFile.shortName(), "My British grid");
  EXPECT_EQ(fromFile.fixedDatum(), datumTable().findByName("Ord Srvy Grt Britn"));

  // The same constants as the British grid give the same grid position, shifted from WGS 84.
  TProyeccion_TM_BNG bng;
  GridCoord a, b;
  ASSERT_TRUE(fromFile.project({-1.5, 52.5}, 0, a, message));
  ASSERT_TRUE(bng.project({-1.5, 52.5}, 0, b, message));
  EXPECT_DOUBLE_EQ(a.x, b.x);
  EXPECT_DOUBLE_EQ(a.y, b.y);
  EXPECT_EQ(fromFile.clone()->shortName(), "My British grid");

  const test::TempDir dir;
  test::writeFileBytes(dir / "grid.txt", british);
  TProyeccion_TM_File loaded;
  EXPECT_TRUE(loaded.load(dir / "grid.txt", message));
  EXPECT_FALSE(loaded.load(dir / "missing.txt", message));
}

TEST(TransverseMercatorFile, RejectsWholeFiles) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const struct { const char* text; const char* why; } rows[] = {
      {"VERSION=1\r\nPROJECTION=Transverse Mercator\r\n", "the correct spelling is not the files' word"},
      {"VERSION=1\r\nPROJECTION=transveral mercator\r\n", "compared byte for byte"},
      {"VERSION=2\r\nPROJECTION=Transveral Mercator\r\n", "version must be 1"},
      {"VERSION=1\r\nPROJECTION=Transveral Mercator\r\nZONE=3\r\n", "unknown key"},
      {"VERSION=1\r\nPROJECTION=Transveral Mercator\r\nFE=abc\r\n", "not a number"},
      {"VERSION=1\r\nPROJECTION=Transveral Mercator\r\nPREFERED_DATUM=Nowhere 2000\r\n", "no such datum"},
      {"PROJECTION=Transveral Mercator\r\n", "no version"},
      {"VERSION=1\r\nPROJECTION=Transveral Mercator\r\njust text\r\n", "a line without ="},
  };
  for (const auto& r : rows) {
    TProyeccion_TM_File file;
    std::string message;
    EXPECT_FALSE(file.parse(r.text, message)) << r.why;
    EXPECT_NE(message.find("Invalid Transverse Mercator file"), std::string::npos) << r.why;
    EXPECT_EQ(file.shortName(), "") << "left as it was: " << r.why;
  }
}

TEST(NationalGrids, FixedDatumsAndConstants) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  TProyeccionSuecia sweden;
  TProyeccionHolanda dutch;
  TProyeccion_TM_Irish irish;
  EXPECT_EQ(sweden.fixedDatum(), datumTable().findByName("RT 90"));
  EXPECT_EQ(dutch.fixedDatum(), datumTable().findByName("Rijksdriehoeksmeting"));
  EXPECT_EQ(irish.fixedDatum(), datumTable().findByName("Ireland 1965"));
  // On the grid's own datum the central meridian maps to the false easting.
  GridCoord grid;
  std::string message;
  ASSERT_TRUE(sweden.project({15.808277777778, 60}, sweden.fixedDatum(), grid, message));
  EXPECT_NEAR(grid.x, 1500000, 1e-6);
  // Grid references only where the grid has letters.
  EXPECT_TRUE(irish.hasGridReference());
  EXPECT_FALSE(sweden.hasGridReference());
  std::string text;
  EXPECT_FALSE(sweden.gridReference(grid, 6, text, message));
}

}  // namespace
}  // namespace pixtrail
