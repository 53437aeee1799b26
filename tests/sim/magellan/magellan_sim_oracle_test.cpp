// The simulated unit proved against an independent client: gpsbabel downloads every kind from it
// and uploads every kind to it, with handshaking as gpsbabel chooses. Then our host and gpsbabel
// download the same unit and must agree.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "devices/Protocolo_magellan.hpp"
#include "tests/sim/magellan/MagellanSimulator.hpp"
#include "tests/sim/magellan/magellan_sample_unit.hpp"
#include "tests/sim/magellan/sim_test_support.hpp"
#include "tests/support/test_support.hpp"
#include "tests/tracks/gpsbabel_oracle.hpp"

namespace pixtrail::sim {
namespace {

using test::gpsbabelRead;
using test::haveTool;

// gpsbabel only talks to the receiver types it knows; 37 is one of them.
MagellanUnitSetup unitKnownToGpsbabel(bool empty = false) {
  MagellanUnitSetup s = sampleUnit();
  s.version = "PMGNVER,37,1.04,SIMULATED UNIT";
  if (empty) s.waypoints.clear(), s.routes.clear(), s.tracks.clear();
  return s;
}

class GpsbabelClient : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel not installed";
  }
};

TEST_F(GpsbabelClient, DownloadsEveryKindTheUnitHolds) {
  const MagellanUnitSetup setup = unitKnownToGpsbabel();
  const struct {
    const char* kind;
    std::vector<std::string> expected;  // the unit's sentences in the order gpsbabel should list them
  } rows[] = {
      {"-w", setup.waypoints},
      // A route lists the unit's waypoints in route order.
      {"-r", {setup.waypoints[0], setup.waypoints[1], setup.waypoints[3], setup.waypoints[2], setup.waypoints[4]}},
      {"-t", setup.tracks},
  };
  for (const auto& row : rows) {
    MagellanSimulator unit(setup);
    ASSERT_TRUE(unit.start());
    const test::OracleRun run = gpsbabelRead("magellan", unit.portPath(), row.kind);
    ASSERT_EQ(run.status, 0) << row.kind << ": " << run.errors;
    ASSERT_EQ(run.points.size(), row.expected.size()) << row.kind << "\n" << transcriptText(unit);
    for (std::size_t i = 0; i < row.expected.size(); ++i) {
      const SentencePosition p = decodeSentencePosition(row.expected[i]);
      EXPECT_NEAR(run.points[i].lat, p.lat, 1e-6) << row.kind << " " << i;
      EXPECT_NEAR(run.points[i].lon, p.lon, 1e-6) << row.kind << " " << i;
      ASSERT_TRUE(run.points[i].altM) << row.kind << " " << i;
      EXPECT_NEAR(*run.points[i].altM, p.altM, 0.01) << row.kind << " " << i;
      if (row.kind != std::string("-t")) {
        EXPECT_EQ(run.points[i].column("Name"), p.name) << row.kind << " " << i;
      }
    }
    // gpsbabel always leaves the unit with handshaking off.
    EXPECT_EQ(unit.received().back(), "PMGNCMD,HANDOFF");
  }
}

TEST_F(GpsbabelClient, TrackDatesRunAcrossMidnight) {
  MagellanSimulator unit(unitKnownToGpsbabel());
  ASSERT_TRUE(unit.start());
  const test::OracleRun run = gpsbabelRead("magellan", unit.portPath(), "-t");
  ASSERT_EQ(run.points.size(), 4u) << run.errors;
  EXPECT_EQ(run.points[1].column("Date"), "2024/04/30");
  EXPECT_EQ(run.points[2].column("Date"), "2024/05/01");
}

TEST_F(GpsbabelClient, UploadsEveryKindWithHandshaking) {
  const std::string gpx = test::testData("magellan/upload.gpx").string();
  const struct {
    const char* kind;
    std::size_t waypoints, routeMessages, trackPoints;
  } rows[] = {{"-w", 5, 0, 0}, {"-r", 5, 3, 0}, {"-t", 0, 0, 4}};
  for (const auto& row : rows) {
    MagellanSimulator unit(unitKnownToGpsbabel(true));
    ASSERT_TRUE(unit.start());
    const test::CommandOutput out = test::runCommand(std::string("timeout 60 gpsbabel ") + row.kind + " -i gpx -f " +
                                                     test::shellQuote(gpx) + " -o magellan -F " + unit.portPath());
    ASSERT_EQ(out.status, 0) << row.kind << ": " << out.err << "\n" << transcriptText(unit);
    EXPECT_EQ(unit.waypoints().size(), row.waypoints) << row.kind;
    EXPECT_EQ(unit.routes().size(), row.routeMessages) << row.kind;
    EXPECT_EQ(unit.tracks().size(), row.trackPoints) << row.kind;
    // Each data sentence was acknowledged once, so none was sent twice.
    const std::vector<std::string> got = unit.received();
    std::size_t data = 0;
    for (const std::string& s : got) data += s.rfind("PMGNWPL", 0) == 0 || s.rfind("PMGNRTE", 0) == 0 || s.rfind("PMGNTRK", 0) == 0;
    EXPECT_EQ(data, row.waypoints + row.routeMessages + row.trackPoints) << row.kind;
  }
}

TEST_F(GpsbabelClient, UploadedWaypointsKeepTheirValues) {
  MagellanSimulator unit(unitKnownToGpsbabel(true));
  ASSERT_TRUE(unit.start());
  const std::string gpx = test::testData("magellan/upload.gpx").string();
  ASSERT_EQ(test::runCommand("timeout 60 gpsbabel -w -i gpx -f " + test::shellQuote(gpx) + " -o magellan -F " +
                             unit.portPath()).status, 0);
  const std::vector<std::string> held = unit.waypoints();
  ASSERT_EQ(held.size(), 5u);
  const SentencePosition sydney = decodeSentencePosition(held[1]);
  EXPECT_EQ(sydney.name, "SYDNEY");
  EXPECT_NEAR(sydney.lat, -33.8568, 1e-5);
  EXPECT_NEAR(sydney.lon, 151.2153, 1e-5);
  EXPECT_NEAR(sydney.altM, 5.0, 0.5);
}

// Our host and gpsbabel download the same unit: same waypoints, routes and track points.
TEST_F(GpsbabelClient, AgreesWithOurHostOnTheSameUnit) {
  for (const bool handshake : {false, true}) {
    MagellanSimulator unit(unitKnownToGpsbabel());
    ASSERT_TRUE(unit.start());
    const test::OracleRun w = gpsbabelRead("magellan", unit.portPath(), "-w");
    const test::OracleRun r = gpsbabelRead("magellan", unit.portPath(), "-r");
    const test::OracleRun t = gpsbabelRead("magellan", unit.portPath(), "-t");

    auto port = openSimulatorPort(unit);
    MagellanLinkSettings settings;
    settings.handshake = handshake;
    Protocolo_magellan link(*port, settings);
    TBalizas waypoints;
    TRutas routes;
    TVolGPS track;
    ASSERT_TRUE(link.downloadWaypoints(waypoints));
    ASSERT_TRUE(link.downloadRoutes(routes));
    ASSERT_TRUE(link.downloadTracks(track));

    ASSERT_EQ(waypoints.waypoints.size(), w.points.size());
    for (std::size_t i = 0; i < w.points.size(); ++i) {
      EXPECT_EQ(waypoints.waypoints[i].name, w.points[i].column("Name"));
      EXPECT_NEAR(waypoints.waypoints[i].position.lat, w.points[i].lat, 1e-6);
      EXPECT_NEAR(waypoints.waypoints[i].position.lon, w.points[i].lon, 1e-6);
      EXPECT_NEAR(waypoints.waypoints[i].position.alt, *w.points[i].altM, 0.01);
    }
    ASSERT_EQ(routes.routes.size(), 1u);
    ASSERT_EQ(routes.routes[0].waypoints.size(), r.points.size());
    for (std::size_t i = 0; i < r.points.size(); ++i) {
      EXPECT_EQ(routes.routes[0].waypoints[i].name, r.points[i].column("Name"));
      EXPECT_NEAR(routes.routes[0].waypoints[i].position.lat, r.points[i].lat, 1e-6);
    }
    std::string ignored;
    track.Recalculate(TrackSettings{}, ignored);
    test::expectSamePoints(track, t, 0.01, handshake ? "track, handshaking" : "track");
  }
}

}  // namespace
}  // namespace pixtrail::sim
