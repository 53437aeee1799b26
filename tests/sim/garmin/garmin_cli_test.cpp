// The garmin command against the simulated unit: what the user types and what comes out.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/sim/garmin/sim_fixture.hpp"

namespace pixtrail::sim {
namespace {

class GarminCli : public ::testing::Test {
 protected:
  // Each run gets a configuration folder of its own, so protocol.dat starts empty.
  test::CommandOutput run(const std::string& arguments) {
    return test::runPixtrailWith(dir_ / "gps.ini", arguments);
  }
  test::TempDir dir_;
};

TEST_F(GarminCli, InfoAsTextAndJson) {
  SimOnPty sim("serial");
  sim.start();
  const auto text = run("garmin info --timeout 300 --port " + sim.path());
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("product:     411"), std::string::npos) << text.out;
  const auto json = run("garmin info --json --port " + sim.path());
  ASSERT_EQ(json.status, 0) << json.err;
  const auto doc = nlohmann::json::parse(json.out);
  EXPECT_EQ(doc["product_id"], 411);
  EXPECT_EQ(doc["capabilities"]["D1XX"], 108);
  EXPECT_EQ(doc["protocols"].get<std::string>().substr(0, 9), "P000 L001");
  EXPECT_TRUE(std::filesystem::exists(dir_ / "protocol.dat")) << "capabilities kept for the next time";
}

TEST_F(GarminCli, DownloadThroughTheSaveDispatchersAndUploadBack) {
  SimOnPty sim("serial");
  sim.start();
  const std::string port = " --timeout 300 --port " + sim.path();
  const auto w = run("garmin download waypoints -o " + (dir_ / "w.gpx").string() + port);
  ASSERT_EQ(w.status, 0) << w.err;
  EXPECT_NE(w.out.find("4 waypoints received"), std::string::npos);
  EXPECT_NE(test::readFileBytes(dir_ / "w.gpx").find("<name>DLE16</name>"), std::string::npos);
  const auto again = run("garmin download waypoints -o " + (dir_ / "w.gpx").string() + port);
  EXPECT_EQ(again.status, 1) << "an existing file is not replaced unasked";

  const auto t = run("garmin download tracks -o " + (dir_ / "t.plt").string() + port);
  ASSERT_EQ(t.status, 0) << t.err;
  EXPECT_NE(t.out.find("2 tracks, 31 points received"), std::string::npos) << t.out;
  const auto r = run("garmin download routes -o " + (dir_ / "r.rte").string() + port);
  ASSERT_EQ(r.status, 0) << r.err;

  sim.unit.waypoints.clear();
  const auto up = run("garmin upload waypoints " + (dir_ / "w.gpx").string() + port);
  ASSERT_EQ(up.status, 0) << up.err;
  EXPECT_EQ(up.out, "4 waypoints sent\n");
  ASSERT_EQ(sim.unit.waypoints.size(), 4u);
  EXPECT_EQ(sim.unit.waypoints[2].ident, "DLE16");
  EXPECT_EQ(degreesToSemicircles(sim.unit.waypoints[2].lat), 0x10101010);

  const std::size_t tracks = sim.unit.tracks.size();
  const auto upTrack = run("garmin upload tracks " + (dir_ / "t.plt").string() + port);
  ASSERT_EQ(upTrack.status, 0) << upTrack.err;
  EXPECT_EQ(sim.unit.tracks.size(), tracks + 1);
  EXPECT_EQ(sim.unit.tracks.back().points.size(), 31u);
}

TEST_F(GarminCli, TimePositionPvt) {
  SimOnPty sim("serial");
  sim.start();
  const std::string port = " --timeout 300 --port " + sim.path();
  EXPECT_EQ(run("garmin time" + port).out, "2024-06-01T08:30:15\n");
  EXPECT_EQ(run("garmin position" + port).out, "40.416800000 -3.703800000\n");
  const auto pvt = run("garmin pvt --count 2 --json" + port);
  ASSERT_EQ(pvt.status, 0) << pvt.err;
  const auto first = nlohmann::json::parse(pvt.out.substr(0, pvt.out.find('\n')));
  EXPECT_EQ(first["fix"], 3);
  EXPECT_EQ(first["time"], "2024-06-02T10:00:00");
}

TEST_F(GarminCli, FailuresAndUsage) {
  test::PtyPair silent;
  const auto none = run("garmin info --timeout 100 --port " + silent.slavePath());
  EXPECT_EQ(none.status, 1);
  EXPECT_NE(none.err.find("No contesta"), std::string::npos) << none.err;
  EXPECT_EQ(run("garmin info").status, 2) << "a link is needed";
  EXPECT_EQ(run("garmin download things -o x.gpx --port /dev/null").status, 2);
  const auto missing = run("garmin info --port /dev/no-such-line");
  EXPECT_EQ(missing.status, 1);
  EXPECT_FALSE(missing.err.empty());
}

TEST_F(GarminCli, InfoOverTheUsbStandIn) {
  if (PIXTRAIL_SANITIZED_BUILD) GTEST_SKIP() << "the stand-in cannot be preloaded ahead of the sanitizer runtime";
  SimOnPty sim("usb");
  const std::string environment = sim.startUsb(dir_.path());
  const auto out = test::runCommand(environment + " " + test::shellQuote(PIXTRAIL_CLI_PATH) + " --config " +
                                    test::shellQuote((dir_ / "gps.ini").string()) + " garmin info --json --usb");
  ASSERT_EQ(out.status, 0) << out.err;
  const auto doc = nlohmann::json::parse(out.out);
  EXPECT_EQ(doc["product_id"], 1095);
  EXPECT_EQ(doc["capabilities"]["has_A1006"], true);
}

}  // namespace
}  // namespace pixtrail::sim
