// Our host code against the simulated unit: detection, the refusals and failures a unit can give,
// handshaking as seen on the wire, and round trips of every kind.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "devices/Protocolo_magellan.hpp"
#include "tests/devices/raised_text.hpp"
#include "tests/sim/magellan/magellan_fixture.hpp"
#include "tracks/track_format_magellan.hpp"

namespace pixtrail::sim {
namespace {

using Clock = std::chrono::steady_clock;

MagellanLinkSettings quickSettings(bool handshake = true) {
  MagellanLinkSettings s;
  s.handshake = handshake;
  s.sentenceTimeoutMs = 600;
  s.ackTimeoutMs = 300;
  return s;
}

std::vector<std::string> commandsReceived(const MagellanSimulator& unit) {
  unit.settle();
  std::vector<std::string> commands;
  for (const std::string& s : unit.received())
    if (s.rfind("PMGNCMD,", 0) == 0) commands.push_back(s.substr(8));
  return commands;
}

using test::raisedText;

TEST(MagellanDetect, TakesOnlyAUnitThatReportsThreeVersionFields) {
  const struct {
    std::string version;
    bool magellan;
    const char* why;
  } rows[] = {
      {"PMGNVER,21,1.04,MERIDIAN GPS", true, "product, software and description"},
      {"PMGNVER,21,1.04", false, "two fields are not enough"},
      {"PMGNVER,37,2.10,MAP 330,EXTRA", true, "more fields are fine"},
  };
  for (const auto& row : rows) {
    MagellanUnitSetup setup = sampleUnit();
    setup.version = row.version;
    MagellanSimulator unit(setup);
    ASSERT_TRUE(unit.start());
    auto port = openSimulatorPort(unit);
    std::string version;
    EXPECT_EQ(detectMagellan(*port, version, 1500), row.magellan) << row.why;
    if (row.magellan) {
      EXPECT_EQ("PMGNVER," + version, row.version) << row.why;
      // The version report is acknowledged while handshaking is on.
      const std::string ack = "PMGNCSM," + MagellanSimulator::frame(row.version).substr(row.version.size() + 2, 2);
      unit.settle();
      const auto got = unit.received();
      EXPECT_NE(std::find(got.begin(), got.end(), ack), got.end()) << row.why << "\n" << transcriptText(unit);
    }
    // The sequence as written: STOP, HANDON, VERSION, and handshaking off again at the end.
    const std::vector<std::string> expected{"STOP", "HANDON", "VERSION", "HANDOFF"};
    EXPECT_EQ(commandsReceived(unit), expected) << row.why << "\n" << transcriptText(unit);
  }
}

TEST(MagellanDetect, ASilentLineIsADeviceThatDoesNotAnswerWithinTheTimeout) {
  MagellanUnitSetup setup = sampleUnit();
  setup.silent = true;
  MagellanSimulator unit(setup);
  ASSERT_TRUE(unit.start());
  auto port = openSimulatorPort(unit);
  std::string version;
  bool noAnswer = false;
  const auto start = Clock::now();
  raisedText([&] { detectMagellan(*port, version, 800); }, &noAnswer);
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  EXPECT_TRUE(noAnswer);
  EXPECT_LT(ms, 800 + 300 + 1000) << "the waits of the sequence plus the time-out, not more";
}

// A unit that refuses ends each download without records and with handshaking off; an empty
// one gives each kind's message.
TEST(MagellanDownload, RefusingAndEmptyUnits) {
  for (const bool refuses : {true, false}) {
    MagellanUnitSetup setup = sampleUnit();
    setup.unable = refuses;
    if (!refuses) setup.waypoints.clear(), setup.routes.clear(), setup.tracks.clear();
    MagellanSimulator unit(setup);
    ASSERT_TRUE(unit.start());
    auto port = openSimulatorPort(unit);
    Protocolo_magellan link(*port, quickSettings());
    TBalizas w;
    TRutas r;
    TVolGPS t;
    bool got = false;  // whether any download reported records
    const auto expected = [&](std::string_view message) { return refuses ? "(nothing raised)" : std::string(message); };
    EXPECT_EQ(raisedText([&] { got = link.downloadWaypoints(w) || got; }), expected(magellan_text::kNoWaypoints))
        << transcriptText(unit);
    EXPECT_EQ(raisedText([&] { got = link.downloadRoutes(r) || got; }), expected(magellan_text::kNoRoutes));
    EXPECT_EQ(raisedText([&] { got = link.downloadTracks(t) || got; }), expected(magellan_text::kNoTracks));
    if (!refuses) continue;
    EXPECT_FALSE(got);
    EXPECT_EQ(w.waypoints.size() + r.routes.size() + t.pointCount(), 0u);
    EXPECT_EQ(commandsReceived(unit).back(), "HANDOFF");
    EXPECT_FALSE(link.handshaking());
  }
}

TEST(MagellanDownload, AUnitThatStopsMidRouteFailsWithinTheTimeoutAndKeepsNothing) {
  MagellanUnitSetup setup = sampleUnit();
  setup.silentAfter = static_cast<int>(setup.waypoints.size()) + 1;  // the waypoints and one route message
  MagellanSimulator unit(setup);
  ASSERT_TRUE(unit.start());
  auto port = openSimulatorPort(unit);
  Protocolo_magellan link(*port, quickSettings());
  TRutas r;
  bool noAnswer = true;
  const auto start = Clock::now();
  EXPECT_EQ(raisedText([&] { link.downloadRoutes(r); }, &noAnswer), magellan_text::kNoRoutes);
  EXPECT_FALSE(noAnswer) << "the unit did answer, then stopped";
  EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count(), 3000);
  EXPECT_TRUE(r.routes.empty());
  EXPECT_EQ(commandsReceived(unit).back(), "HANDOFF");
}

TEST(MagellanDownload, BadSentencesRaiseTheDialectsMessages) {
  const struct {
    std::vector<std::string> waypoints, routes;
    bool routesDownload;
    std::string message;
  } rows[] = {
      {{"PMGNWPL,9925.122,N,00342.234,W,0000650,M,BAD,,a"}, {}, false, "NMEA-Mag: Position syntax Error"},
      {{"PMGNWPL,4025.122,N,00342.234,W,0000650,M"}, {}, false, "NMEA-Mag: Error en el mensaje WPL"},
      {{"PMGNWPL,4025.122,N,00342.234,W,0000650,M,A,,a"}, {"PMGNRTE,1,1,c,1,A,a,NOWHERE,a"}, true,
       "NMEA-Mag: Baliza de ruta no encontrada (route 1)"},
      {{"PMGNWPL,4025.122,N,00342.234,W,0000650,M,A,,a"}, {"PMGNRTE,2,1,c,1,A,a"}, true,
       "NMEA-Mag: Baliza de ruta no encontrada (route 1)"},  // message 2 of 2 never came
  };
  for (const auto& row : rows) {
    MagellanUnitSetup setup = sampleUnit();
    setup.waypoints = row.waypoints;
    setup.routes = row.routes;
    MagellanSimulator unit(setup);
    ASSERT_TRUE(unit.start());
    auto port = openSimulatorPort(unit);
    Protocolo_magellan link(*port, quickSettings());
    TBalizas w;
    TRutas r;
    EXPECT_EQ(raisedText([&] { row.routesDownload ? (void)link.downloadRoutes(r) : (void)link.downloadWaypoints(w); }),
              row.message);
    EXPECT_TRUE(w.waypoints.empty() && r.routes.empty());
  }
}

TEST(MagellanHandshake, EverySentenceIsAcknowledgedOnceAndOnlyWhileHandshaking) {
  for (const bool handshake : {true, false}) {
    MagellanSimulator unit(sampleUnit());
    ASSERT_TRUE(unit.start());
    auto port = openSimulatorPort(unit);
    Protocolo_magellan link(*port, quickSettings(handshake));
    TBalizas w;
    ASSERT_TRUE(link.downloadWaypoints(w));
    // The unit repeats a sentence it hears no acknowledgement for, which would double the list.
    EXPECT_EQ(w.waypoints.size(), sampleUnit().waypoints.size());
    std::size_t acks = 0;
    unit.settle();
    for (const std::string& s : unit.received()) acks += s.rfind("PMGNCSM,", 0) == 0;
    // Five waypoints and the END that closes the list.
    EXPECT_EQ(acks, handshake ? sampleUnit().waypoints.size() + 1 : 0u) << transcriptText(unit);
  }
}

TEST(MagellanHandshake, AHostThatIsNotAcknowledgedGivesUpAfterItsRetries) {
  MagellanUnitSetup setup = sampleUnit();
  setup.silent = true;
  MagellanSimulator unit(setup);
  ASSERT_TRUE(unit.start());
  auto port = openSimulatorPort(unit);
  Protocolo_magellan link(*port, quickSettings());
  TBalizas w;
  w.waypoints.emplace().name = "ONE";
  bool noAnswer = false;
  raisedText([&] { link.uploadWaypoints(w); }, &noAnswer);
  EXPECT_TRUE(noAnswer);
  std::size_t sends = 0;
  unit.settle();
  for (const std::string& s : unit.received()) sends += s.rfind("PMGNWPL", 0) == 0;
  EXPECT_EQ(sends, 3u) << "sent, then twice again";
}

// What is uploaded downloads again the same, with handshaking on and off.
TEST(MagellanRoundTrip, EveryKindComesBackAsItWent) {
  for (const bool handshake : {true, false}) {
    MagellanUnitSetup empty;
    MagellanSimulator unit(empty);
    ASSERT_TRUE(unit.start());
    auto port = openSimulatorPort(unit);
    Protocolo_magellan link(*port, quickSettings(handshake));

    TBalizas waypoints;
    TRutas routes;
    TVolGPS track;
    const struct {
      const char* name;
      double lat, lon;
      float alt;
    } places[] = {{"MADRID", 40.4187, -3.7039, 650}, {"SYDNEY", -33.8568, 151.2153, 5},
                  {"RIO", -22.9, -43.175, -3}, {"EDGE", 0.0, 179.99999, 0}};
    for (const auto& p : places) {
      TBaliza& w = waypoints.waypoints.emplace();
      w.name = p.name;
      w.position = {p.lon, p.lat, p.alt};
      w.description = std::string("about ") + p.name;
    }
    TRuta& route = routes.routes.emplace();
    route.name = "TRIP";
    for (const TBaliza& w : waypoints.waypoints) route.waypoints.emplace(w);
    route.waypoints.emplace(waypoints.waypoints[0]);  // back to the start: a waypoint twice
    for (int i = 0; i < 5; ++i) {
      auto p = std::make_unique<TPuntVol>();
      p->position = {-3.5 + i * 0.001, 40.1 + i * 0.001, 600.0f + static_cast<float>(i)};
      p->time = TPuntTiempo{0, 30, 4, 2024, 23, 59, 40.0f + 10.0f * static_cast<float>(i)};
      if (p->time.seconds >= 60.0f) p->time = TPuntTiempo{0, 1, 5, 2024, 0, 0, p->time.seconds - 60.0f};
      track.appendPoint(std::move(p));
    }

    EXPECT_EQ(link.uploadWaypoints(waypoints), 4u);
    EXPECT_EQ(link.uploadRoutes(routes), 4u + 3u);
    EXPECT_EQ(link.uploadTracks(track), 5u);

    TBalizas w2;
    TRutas r2;
    TVolGPS t2;
    ASSERT_TRUE(link.downloadWaypoints(w2));
    ASSERT_TRUE(link.downloadRoutes(r2));
    ASSERT_TRUE(link.downloadTracks(t2));
    ASSERT_EQ(w2.waypoints.size(), waypoints.waypoints.size());
    for (std::size_t i = 0; i < w2.waypoints.size(); ++i) {
      EXPECT_EQ(w2.waypoints[i].name, waypoints.waypoints[i].name);
      EXPECT_EQ(w2.waypoints[i].description, waypoints.waypoints[i].description);
      EXPECT_NEAR(w2.waypoints[i].position.lat, waypoints.waypoints[i].position.lat, 2e-6);
      EXPECT_NEAR(w2.waypoints[i].position.lon, waypoints.waypoints[i].position.lon, 2e-6);
      EXPECT_EQ(w2.waypoints[i].position.alt, waypoints.waypoints[i].position.alt);
    }
    ASSERT_EQ(r2.routes.size(), 1u);
    ASSERT_EQ(r2.routes[0].waypoints.size(), route.waypoints.size());
    for (std::size_t i = 0; i < route.waypoints.size(); ++i)
      EXPECT_EQ(r2.routes[0].waypoints[i].name, route.waypoints[i].name);
    ASSERT_EQ(t2.pointCount(), track.pointCount());
    for (std::size_t i = 0; i < track.pointCount(); ++i) {
      EXPECT_EQ(t2.point(i).time, track.point(i).time) << "point " << i;
      EXPECT_NEAR(t2.point(i).position.lat, track.point(i).position.lat, 2e-6);
      EXPECT_NEAR(t2.point(i).position.alt, track.point(i).position.alt, 0.5);
    }

    // The three deletions empty the unit.
    link.deleteAll(MagellanKind::kWaypoints);
    link.deleteAll(MagellanKind::kRoutes);
    link.deleteAll(MagellanKind::kTracks);
    unit.settle();
    EXPECT_TRUE(unit.waypoints().empty() && unit.routes().empty() && unit.tracks().empty()) << transcriptText(unit);
  }
}

}  // namespace
}  // namespace pixtrail::sim
