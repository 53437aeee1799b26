// `pixtrail magellan` against the simulated serial unit and the laid-out disk unit, and the
// Magellan files through `convert` and `info`.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/sim/magellan/magellan_fixture.hpp"

namespace pixtrail::sim {
namespace {

using test::shellQuote;

const auto run = [](const std::string& arguments) { return test::runPixtrailAlone(arguments); };

TEST(MagellanCli, DetectsASerialUnitAndRefusesOneThatSaysTooLittle) {
  MagellanSimulator unit(sampleUnit());
  ASSERT_TRUE(unit.start());
  auto r = run("magellan detect --json --port " + unit.portPath());
  ASSERT_EQ(r.status, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["protocol"], "Magellan");
  EXPECT_EQ(j["description"], "MERIDIAN GPS");

  MagellanUnitSetup terse = sampleUnit();
  terse.version = "PMGNVER,21,1.04";
  MagellanSimulator other(terse);
  ASSERT_TRUE(other.start());
  r = run("magellan detect --port " + other.portPath());
  EXPECT_EQ(r.status, 1);
}

TEST(MagellanCli, SerialDownloadThenUploadToAnotherUnitCarriesEveryKind) {
  MagellanSimulator from(sampleUnit());
  MagellanSimulator to(MagellanUnitSetup{});
  ASSERT_TRUE(from.start() && to.start());
  const test::TempDir dir;
  const struct {
    const char* kind;
    const char* file;
    std::size_t sentences;  // what the second unit holds afterwards
  } rows[] = {{"waypoints", "w.upt", 5}, {"routes", "r.rte", 3}, {"tracks", "t.log", 4}};
  for (const auto& row : rows) {
    const std::string file = (dir / row.file).string();
    auto r = run(std::string("magellan download ") + row.kind + " --port " + from.portPath() + " -o " + shellQuote(file));
    ASSERT_EQ(r.status, 0) << row.kind << ": " << r.err;
    r = run(std::string("magellan upload ") + row.kind + " " + shellQuote(file) + " --port " + to.portPath());
    ASSERT_EQ(r.status, 0) << row.kind << ": " << r.err;
  }
  to.settle();
  // Our writer gives a fourth decimal of a minute where the unit had three: the same places.
  auto samePlaces = [](const std::vector<std::string>& a, const std::vector<std::string>& b, const char* what) {
    ASSERT_EQ(a.size(), b.size()) << what;
    for (std::size_t i = 0; i < a.size(); ++i) {
      const SentencePosition p = decodeSentencePosition(a[i]), q = decodeSentencePosition(b[i]);
      EXPECT_EQ(p.name, q.name) << what << " " << i;
      EXPECT_NEAR(p.lat, q.lat, 1e-9) << what << " " << i;
      EXPECT_NEAR(p.lon, q.lon, 1e-9) << what << " " << i;
      EXPECT_EQ(p.altM, q.altM) << what << " " << i;
    }
  };
  samePlaces(to.waypoints(), from.waypoints(), "waypoints (route uploads resend them, replacing them)");
  samePlaces(to.tracks(), from.tracks(), "track points");
  EXPECT_EQ(to.routes().size(), 3u);
}

TEST(MagellanCli, ARefusingUnitAndAnExistingOutputAreFailuresThatWriteNothing) {
  MagellanUnitSetup setup = sampleUnit();
  setup.unable = true;
  MagellanSimulator unit(setup);
  ASSERT_TRUE(unit.start());
  const test::TempDir dir;
  auto r = run("magellan download waypoints --port " + unit.portPath() + " -o " + shellQuote((dir / "w.upt").string()));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("UNABLE"), std::string::npos) << r.err;
  EXPECT_FALSE(std::filesystem::exists(dir / "w.upt"));
  test::writeFileBytes(dir / "keep.upt", "mine");
  r = run("magellan download waypoints --port " + unit.portPath() + " -o " + shellQuote((dir / "keep.upt").string()));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(test::readFileBytes(dir / "keep.upt"), "mine");
}

TEST(MagellanCli, DiskUnitDownloadUploadAndDelete) {
  const test::TempDir disk, dir;
  layOutMagellanDisk(disk.path());
  const std::string at = " --disk " + shellQuote(disk.path().string());
  auto r = run("magellan detect --json" + at);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)["product"], "eXplorist 500");
  r = run("magellan download tracks -o " + shellQuote((dir / "t.gpx").string()) + " --json" + at);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)["count"], 4);
  r = run("magellan upload tracks " + shellQuote((dir / "t.gpx").string()) + " --name Copy" + at);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(std::filesystem::exists(disk / "TrackLogs/Copy.log"));
  r = run("magellan delete routes" + at);
  ASSERT_EQ(r.status, 0) << r.err;
  r = run("magellan download routes -o " + shellQuote((dir / "r.rte").string()) + at);
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("Threre are no routes in this GPS"), std::string::npos) << r.err;

  const test::TempDir notAUnit;
  r = run("magellan detect --disk " + shellQuote(notAUnit.path().string()));
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("OrvexGPS did not detect a Magellan GPS connected as a USB disk."), std::string::npos);
}

TEST(MagellanCli, ConvertAndInfoReadTheUnitsFiles) {
  const test::TempDir disk, dir;
  layOutMagellanDisk(disk.path());
  const std::string upt = (disk / "Waypoints/Europe.upt").string();
  auto r = run("info --json " + shellQuote(upt));
  ASSERT_EQ(r.status, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  ASSERT_EQ(j["waypoints"].size(), 3u);
  EXPECT_EQ(j["waypoints"][2]["name"], "REYKJA");
  r = run("convert " + shellQuote(upt) + " " + shellQuote((dir / "e.wpt").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  r = run("convert " + shellQuote((dir / "e.wpt").string()) + " " + shellQuote((dir / "e.upt").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  r = run("info --json " + shellQuote((dir / "e.upt").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)["waypoints"][0]["name"], "MADRID");
  r = run("info --json " + shellQuote((disk / "Routes/Tour.rte").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)["routes"][0]["name"], "GRAND TOUR");
}

}  // namespace
}  // namespace pixtrail::sim
