#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include <nlohmann/json.hpp>

#include "core/text.hpp"
#include "tests/support/grid_builder.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

class DatumCommands : public ::testing::Test {
 protected:
  test::TempDir dir;
  // A private gps.ini, so that the user's own settings never reach the test.
  test::CommandOutput run(const std::string& args, const std::string& stdinText = "") {
    return test::runPixtrail("--config " + test::shellQuote((dir / "gps.ini").string()) + " " + args, stdinText);
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
