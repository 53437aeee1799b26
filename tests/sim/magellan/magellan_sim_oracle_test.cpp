// The simulated unit proved against an independent client: gpsbabel downloads every kind from it
// and uploads every kind to it, with handshaking as gpsbabel chooses. Then our host and gpsbabel
// download the same unit and must agree. Without gpsbabel, the downloads compare with what it gave
// when its answers were stored; the uploads need it.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "devices/Protocolo_magellan.hpp"
#include "tests/sim/gpsbabel_gpx.hpp"
#include "tests/sim/magellan/magellan_fixture.hpp"
#include "tests/tracks/gpsbabel_oracle.hpp"

namespace pixtrail::sim {
namespace {

// gpsbabel only talks to the receiver types it knows; 37 is one of them.
MagellanUnitSetup unitKnownToGpsbabel(bool empty = false) {
  MagellanUnitSetup s = sampleUnit();
  s.version = "PMGNVER,37,1.04,SIMULATED UNIT";
  if (empty) s.waypoints.clear(), s.routes.clear(), s.tracks.clear();
  return s;
}

// What gpsbabel downloads of one kind ("w", "r" or "t") from the unit.
std::vector<GpxPoint> download(const MagellanSimulator& unit, const std::string& kind) {
  const test::CommandOutput run = gpsbabelGpx("-" + kind + " -i magellan -f " + unit.portPath(), "magellan-" + kind);
  EXPECT_EQ(run.status, 0) << kind << ": " << run.err << "\n" << transcriptText(unit);
  return gpxPoints(run.out, kind == "w" ? "//wpt" : kind == "r" ? "//rtept" : "//trkpt");
}

// gpsbabel can exit before the unit has read its last sentence off the line: wait for it a while.
std::string lastReceivedOnceSettled(const MagellanSimulator& unit, const std::string& expected) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  std::vector<std::string> got = unit.received();
  while ((got.empty() || got.back() != expected) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    got = unit.received();
  }
  return got.empty() ? std::string() : got.back();
}

TEST(GpsbabelClient, DownloadsEveryKindTheUnitHolds) {
  const MagellanUnitSetup setup = unitKnownToGpsbabel();
  const struct {
    const char* kind;
    std::vector<std::string> expected;  // the unit's sentences in the order gpsbabel should list them
  } rows[] = {
      {"w", setup.waypoints},
      // A route lists the unit's waypoints in route order.
      {"r", {setup.waypoints[0], setup.waypoints[1], setup.waypoints[3], setup.waypoints[2], setup.waypoints[4]}},
      {"t", setup.tracks},
  };
  for (const auto& row : rows) {
    MagellanSimulator unit(setup);
    ASSERT_TRUE(unit.start());
    const std::vector<GpxPoint> points = download(unit, row.kind);
    ASSERT_EQ(points.size(), row.expected.size()) << row.kind << "\n" << transcriptText(unit);
    for (std::size_t i = 0; i < row.expected.size(); ++i) {
      const SentencePosition p = decodeSentencePosition(row.expected[i]);
      EXPECT_NEAR(points[i].lat, p.lat, 1e-6) << row.kind << " " << i;
      EXPECT_NEAR(points[i].lon, p.lon, 1e-6) << row.kind << " " << i;
      ASSERT_TRUE(points[i].hasEle) << row.kind << " " << i;
      EXPECT_NEAR(points[i].ele, p.altM, 0.01) << row.kind << " " << i;
      if (row.kind != std::string("t")) {
        EXPECT_EQ(points[i].name, p.name) << row.kind << " " << i;
      }
    }
    if (row.kind == std::string("t")) {  // the dates run across midnight
      EXPECT_EQ(points[1].time.substr(0, 10), "2024-04-30");
      EXPECT_EQ(points[2].time.substr(0, 10), "2024-05-01");
    }
    // gpsbabel always leaves the unit with handshaking off.
    if (test::oracleLive("gpsbabel")) {
      EXPECT_EQ(lastReceivedOnceSettled(unit, "PMGNCMD,HANDOFF"), "PMGNCMD,HANDOFF");
    }
  }
}

TEST(GpsbabelClient, UploadsEveryKindWithHandshaking) {
  if (!test::oracleLive("gpsbabel")) GTEST_SKIP() << "an upload needs gpsbabel itself";
  const std::string gpx = test::testData("magellan/upload.gpx").string();
  const struct {
    const char* kind;
    std::size_t waypoints, routeMessages, trackPoints;
  } rows[] = {{"-w", 5, 0, 0}, {"-r", 5, 3, 0}, {"-t", 0, 0, 4}};
  for (const auto& row : rows) {
    MagellanSimulator unit(unitKnownToGpsbabel(true));
    ASSERT_TRUE(unit.start());
    const test::CommandOutput out =
        gpsbabelUpload(std::string(row.kind) + " -i gpx -f " + test::shellQuote(gpx) + " -o magellan -F " + unit.portPath());
    ASSERT_EQ(out.status, 0) << row.kind << ": " << out.err << "\n" << transcriptText(unit);
    EXPECT_EQ(unit.waypoints().size(), row.waypoints) << row.kind;
    EXPECT_EQ(unit.routes().size(), row.routeMessages) << row.kind;
    EXPECT_EQ(unit.tracks().size(), row.trackPoints) << row.kind;
    // Each data sentence was acknowledged once, so none was sent twice.
    std::size_t data = 0;
    for (const std::string& s : unit.received())
      data += s.rfind("PMGNWPL", 0) == 0 || s.rfind("PMGNRTE", 0) == 0 || s.rfind("PMGNTRK", 0) == 0;
    EXPECT_EQ(data, row.waypoints + row.routeMessages + row.trackPoints) << row.kind;
    if (row.kind != std::string("-w")) continue;
    const SentencePosition sydney = decodeSentencePosition(unit.waypoints()[1]);
    EXPECT_EQ(sydney.name, "SYDNEY");
    EXPECT_NEAR(sydney.lat, -33.8568, 1e-5);
    EXPECT_NEAR(sydney.lon, 151.2153, 1e-5);
    EXPECT_NEAR(sydney.altM, 5.0, 0.5);
  }
}

// Our host and gpsbabel download the same unit: same waypoints, routes and track points.
TEST(GpsbabelClient, AgreesWithOurHostOnTheSameUnit) {
  for (const bool handshake : {false, true}) {
    MagellanSimulator unit(unitKnownToGpsbabel());
    ASSERT_TRUE(unit.start());
    const std::vector<GpxPoint> w = download(unit, "w"), r = download(unit, "r"), t = download(unit, "t");

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

    ASSERT_EQ(waypoints.waypoints.size(), w.size());
    for (std::size_t i = 0; i < w.size(); ++i) {
      EXPECT_EQ(waypoints.waypoints[i].name, w[i].name);
      EXPECT_NEAR(waypoints.waypoints[i].position.lat, w[i].lat, 1e-6);
      EXPECT_NEAR(waypoints.waypoints[i].position.lon, w[i].lon, 1e-6);
      EXPECT_NEAR(waypoints.waypoints[i].position.alt, w[i].ele, 0.01);
    }
    ASSERT_EQ(routes.routes.size(), 1u);
    ASSERT_EQ(routes.routes[0].waypoints.size(), r.size());
    for (std::size_t i = 0; i < r.size(); ++i) {
      EXPECT_EQ(routes.routes[0].waypoints[i].name, r[i].name);
      EXPECT_NEAR(routes.routes[0].waypoints[i].position.lat, r[i].lat, 1e-6);
    }
    std::string ignored;
    track.Recalculate(TrackSettings{}, ignored);
    test::OracleRun theirs;
    theirs.status = 0;
    for (const GpxPoint& g : t) {
      test::OraclePoint& p = theirs.points.emplace_back();
      p.lat = g.lat, p.lon = g.lon, p.altM = g.ele;
      DateTimeRecord when;
      DateTimeValue v = 0;
      if (parseIsoDateTime(g.time.substr(0, g.time.find('Z')), when) && when.toValue(v)) p.time = v;
    }
    test::expectSamePoints(track, theirs, 0.01, handshake ? "track, handshaking" : "track");
  }
}

}  // namespace
}  // namespace pixtrail::sim
