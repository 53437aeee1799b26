// The coordinate and datum commands as scripts use them: one input per argument set or per stdin
// line, and the datum table with its grids as the user sees it.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <sstream>

#include "core/text.hpp"
#include "tests/support/grid_builder.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

test::CommandOutput run(const std::string& arguments, const std::string& input = "") {
  return test::runPixtrailAlone("coord " + arguments, input);
}

TEST(CoordCommands, ProjectAndUnproject) {
  // GeoConvert -u -p 4 gives 31n 500000.0000 4538757.0621 for 41N 3E.
  auto r = run("project --proj UTM 41 3");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "500000.0000 4538757.0621 31 T\n");
  r = run("unproject --proj UTM 500000 4538757.0621 31 T");
  EXPECT_EQ(r.status, 0) << r.err;
  double lat = 0, lon = 0;
  std::istringstream(r.out) >> lat >> lon;
  EXPECT_NEAR(lat, 41, 1e-8);
  EXPECT_NEAR(lon, 3, 1e-8);
  // cs2cs +proj=lcc +lat_1=33 +lat_2=45 +lat_0=23 +lon_0=-96 +datum=WGS84: 509260.0233 1913936.9609
  r = run("project --proj 'Lambert 2SP' --param lat1=33 --param lat2=45 --param lat0=23 --param lon0=-96 40 -90");
  EXPECT_EQ(r.out, "509260.0233 1913936.9609\n") << r.err;
  r = run("unproject --proj UTM 500000 9886785 31 T");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("utm.y superior a 9886785"), std::string::npos);
}

TEST(CoordCommands, BatchKeepsLinesAligned) {
  const auto r = run("project --proj UTM --batch", "41 3\nnot numbers\n0 3\n\n-33.5 -70.3\n");
  EXPECT_EQ(r.status, 1);
  std::istringstream lines(r.out);
  std::string line;
  std::vector<std::string> out;
  while (std::getline(lines, line)) out.push_back(line);
  ASSERT_EQ(out.size(), 5u);
  EXPECT_EQ(out[0], "500000.0000 4538757.0621 31 T");
  EXPECT_EQ(out[1].rfind("error: ", 0), 0u);
  EXPECT_EQ(out[2], "500000.0000 10000000.0000 31 M") << "the equator is southern";
  EXPECT_EQ(out[3].rfind("error: ", 0), 0u);
  double east = 0, north = 0;
  std::string zone, band;
  std::istringstream(out[4]) >> east >> north >> zone >> band;
  EXPECT_NEAR(east, 379244.931, 0.001);  // GeoConvert -u -p 3: 19s 379244.931 6292524.590
  EXPECT_NEAR(north, 6292524.590, 0.001);
  EXPECT_EQ(zone + band, "19H");
}

TEST(CoordCommands, FormatThenParseGivesTheValueBack) {
  for (int format = 0; format <= 3; ++format) {
    const auto formatted = run("format --format " + std::to_string(format) + " -- -33.8571234 151.2153");
    ASSERT_EQ(formatted.status, 0) << formatted.err;
    const std::size_t tab = formatted.out.find('\t');
    ASSERT_NE(tab, std::string::npos);
    const std::string latText = formatted.out.substr(0, tab);
    const std::string lonText = formatted.out.substr(tab + 1, formatted.out.size() - tab - 2);
    const std::string option = format == 3 ? "--format 3 " : "";
    const auto parsed = run("parse " + option + test::shellQuote(latText) + " " + test::shellQuote(lonText));
    ASSERT_EQ(parsed.status, 0) << latText << " | " << lonText << " " << parsed.err;
    double lat = 0, lon = 0;
    std::string latAxis, lonAxis;
    std::istringstream(parsed.out) >> lat >> latAxis >> lon >> lonAxis;
    const double resolution = format == 1 ? 1e-5 : format == 2 ? 1.5e-5 : 1e-7;
    EXPECT_NEAR(lat, -33.8571234, resolution) << latText;
    EXPECT_NEAR(lon, 151.2153, resolution) << lonText;
    EXPECT_EQ(latAxis, "lat");
    EXPECT_EQ(lonAxis, "lon");
  }
  const auto refused = run("parse 40.5");
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("NO quadrant leter found: (N,S,E,W)"), std::string::npos);
  const auto utf8 = run("parse '40\xC2\xBA" "25.5'\"'\"' N'");
  EXPECT_EQ(utf8.out, "40.425000000 lat\n") << "UTF-8 degree sign from the terminal";
}

TEST(CoordCommands, LetterGridReferences) {
  // OS example: TG 51409 13177 is easting 651409, northing 313177 (52.657568 N, 1.717908 E on OSGB36).
  auto r = run("grid --proj 'BGN (British National Grid)' --datum 'Ord Srvy Grt Britn' --digits 6 52.657568 1.717908");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.substr(0, 2), "TG");
  r = run("grid --proj 'Irish Grid' --batch", "53.35 -6.26\n10 10\n");
  EXPECT_EQ(r.status, 1) << "a position far outside the Irish letters";
  EXPECT_EQ(r.out.substr(0, 2), "O ");
}

class DatumCommands : public ::testing::Test {
 protected:
  test::TempDir dir;
  test::CommandOutput run(const std::string& args, const std::string& stdinText = "") {
    return test::runPixtrailWith(dir / "gps.ini", args, stdinText);
  }
};

TEST_F(DatumCommands, ShiftPrintsTheContractsFormatAndLeavesTheSameDatumAlone) {
  auto r = run("coord shift --from 'European 1950' --to ed50 40.4 -3.7 650");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "40.400000000 -3.700000000 650.0000\n");

  r = run("coord shift --from 'European 1950' --to 'WGS 84' 40.4 -3.7");
  ASSERT_EQ(r.status, 0) << r.err;
  const auto f = splitOnBlanks(r.out);
  ASSERT_EQ(f.size(), 2u) << r.out;
  // ED50 lies about 120 m north-east of WGS 84 in Spain.
  EXPECT_NEAR(*parseDouble(f[0]), 40.3988, 2e-4);
  EXPECT_NEAR(*parseDouble(f[1]), -3.7012, 2e-4);
}

TEST_F(DatumCommands, BatchKeepsOneLinePerInputAndReportsFailures) {
  const auto r = run("coord shift --batch --from WGS84 --to WGS-84", "40 -3\nnonsense line\n\n91 0\n1 2 3\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "40.000000000 -3.000000000\n"
            "error: Not a number in: nonsense line\n"
            "error: Expected LAT LON [ALT]\n"
            "error: Position out of range\n"
            "1.000000000 2.000000000 3.0000\n");
}

TEST_F(DatumCommands, UsageErrorsExitWithTwo) {
  const struct {
    const char* args;
    const char* err;
  } rows[] = {
      {"coord shift --from Nowhere --to 'WGS 84' 1 2", "Unknown datum: Nowhere"},
      {"coord shift --from 'WGS 84' --to 'WGS 84' 1", "Expected LAT LON [ALT]"},
      {"coord shift --from 'WGS 84' --to 'WGS 84' north east", "Not a number in: north east"},
      {"coord shift --from 'WGS 84' --to 'WGS 84' nan 2", "Position out of range"},
      {"coord shift --from 'WGS 84' --to 'European 1950' inf 3", "Position out of range"},
      {"coord shift --from 'WGS 84' --to 'WGS 84' 40 3 inf", "Position out of range"},
      {"coord shift --batch --from 'WGS 84' --to 'WGS 84' 1 2", "--batch takes no position"},
      {"--datadir /nonexistent-folder datums", "Error opening /nonexistent-folder/datumsb.dat"},
      {"coord project --proj Nope 1 2", ""},
      {"coord project --proj UTM --param zone=99 1 2", ""},
      {"coord project --proj UTM --datum 'No Such Datum' 1 2", ""},
      {"coord project --proj UTM 1", ""},
      {"coord grid --proj UTM 52 1", ""},  // UTM has no letter references
  };
  for (const auto& row : rows) {
    const auto r = run(row.args);
    EXPECT_EQ(r.status, 2) << row.args;
    EXPECT_NE(r.err.find(row.err), std::string::npos) << row.args << ": " << r.err;
  }
}

TEST_F(DatumCommands, DatumsListsTheTableAsJson) {
  const auto r = run("datums --json");
  ASSERT_EQ(r.status, 0) << r.err;
  const auto rows = nlohmann::json::parse(r.out);
  ASSERT_GE(rows.size(), 120u);
  EXPECT_EQ(rows[0]["name"], "WGS 84");
  EXPECT_EQ(rows[0]["a"], 6378137.0);
  EXPECT_TRUE(rows[0]["grid"].is_null());
  for (const auto& row : rows)
    for (const char* key : {"index", "name", "a", "invf", "dx", "dy", "dz", "device_number", "alt_names", "ecw_name", "grid"})
      ASSERT_TRUE(row.contains(key)) << key;

  const auto text = run("datums");
  EXPECT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("Ord Srvy Grt Britn"), std::string::npos);
  EXPECT_NE(text.out.find("ECW name"), std::string::npos);
  for (const auto& row : rows) {
    const std::string ecw = row["ecw_name"];
    if (ecw.empty()) continue;
    // The row's line ends with its ECW name.
    const std::string name = row["name"];
    const std::size_t line = text.out.find("  " + name + " ");
    ASSERT_NE(line, std::string::npos) << name;
    EXPECT_EQ(text.out.substr(text.out.find('\n', line) - ecw.size(), ecw.size()), ecw) << name;
    break;
  }
}

// A datum table whose only row has a negative flattening: the program's fatal message, as a clean
// failure of the command.
TEST_F(DatumCommands, ABadFlatteningInTheTableIsACleanError) {
  std::string table;
  auto i32 = [&](std::int32_t v) { for (int k = 0; k < 4; ++k) table += static_cast<char>((v >> (8 * k)) & 0xFF); };
  auto f64 = [&](double v) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &v, sizeof bits);
    for (int k = 0; k < 8; ++k) table += static_cast<char>((bits >> (8 * k)) & 0xFF);
  };
  i32(2), i32(1);
  table += std::string("\x04\x00" "Flat", 6);
  i32(0), f64(-298.0), f64(6378137.0), f64(0), f64(0), f64(0);
  table += std::string("\x00\x00\x00\x00", 4);  // no alternative names, no ECW name
  test::writeFileBytes(dir / "datumsb.dat", table);
  const auto r = run("--datadir " + test::shellQuote(dir.path().string()) + " datums");
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("Error de sqrt en TDatum::Calcula()"), std::string::npos) << r.err;
}

// A grid whose shifts are not numbers: reported at start, listed as unusable, and the shift of its
// datum goes on without it instead of printing "nan".
TEST_F(DatumCommands, ADamagedGridIsShownUnusableAndNeverGivesNan) {
  const auto data = dir / "data";
  std::filesystem::create_directories(data / "datumgrids");
  std::filesystem::copy_file(std::filesystem::path(PIXTRAIL_BUILD_DATA_DIR) / "datumsb.dat", data / "datumsb.dat");
  test::GridLayout layout;
  layout.systemF = "ED50";  // eight characters at most: the alternative names of the table
  layout.systemT = "WGS84";
  test::SubGridLayout g;
  g.sLat = 40 * 3600, g.nLat = 41 * 3600, g.eLong = -4 * 3600, g.wLong = -3 * 3600, g.latInc = g.longInc = 900;
  g.shift = [](double, double, float& dLat, float& dLon) { dLat = dLon = std::numeric_limits<float>::quiet_NaN(); };
  layout.subGrids = {g};
  test::writeFileBytes(data / "datumgrids" / "ed50.gsb", test::buildNtv2Grid(layout));
  const std::string datadir = "--datadir " + test::shellQuote(data.string()) + " ";

  auto r = run(datadir + "datums");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("Grid file ed50.gsb is damaged and is not used"), std::string::npos) << r.err;
  EXPECT_NE(r.out.find("ed50.gsb (unusable)"), std::string::npos);
  r = run(datadir + "datums --json");
  bool listed = false;
  for (const auto& row : nlohmann::json::parse(r.out))
    if (row["grid"] == "ed50.gsb") listed = row["grid_usable"] == false;
  EXPECT_TRUE(listed);
  r = run(datadir + "coord shift --from 'European 1950' --to 'WGS 84' 40.5 3.5");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.find("nan"), std::string::npos) << r.out;
  EXPECT_TRUE(r.out.starts_with("40.49")) << r.out;  // the datum's own shift, a few seconds south
}

}  // namespace
}  // namespace pixtrail
