// Our host side against the simulated unit (serial over a pseudo-terminal, USB through an in-process
// stand-in for the pipes), and against scripted lines that misbehave.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <functional>

#include "core/byte_order.hpp"
#include "devices/TGarminIcons.hpp"
#include "devices/TProtocoloGarmin.hpp"
#include "tests/devices/raised_text.hpp"
#include "tests/sim/garmin/SimUsbLink.hpp"
#include "tests/sim/garmin/sim_fixture.hpp"

namespace pixtrail::sim {
namespace {

using Clock = std::chrono::steady_clock;

GarminSettings quick() {
  GarminSettings s;
  s.timeoutMs = 300;
  return s;
}

using test::raisedText;

TBalizas sampleFile() {
  TBalizas file;
  const struct { const char* name; double lat, lon; float alt; const char* symbol; } rows[] = {
      {"HUT.2", 46.5, 8.25, 2500.0f, "Campground"},
      {"EAST", -41.25, 180.0, 3.5f, "Shipwreck"},
      {"DLE", semicirclesToDegrees(0x10101010), -semicirclesToDegrees(0x10101010), 16.0f, "Summit"},
  };
  for (const auto& r : rows) {
    TBaliza& w = file.waypoints.emplace();
    w.name = r.name;
    w.description = "UPLOADED";
    w.position = TCoord{r.lon, r.lat, r.alt};
    w.symbol = r.symbol;
  }
  return file;
}

// The recent unit on its USB stand-in.
struct UsbSim {
  UsbSim() : unit(simProfile("usb")), endpoints(unit), link(endpoints), garmin(link, quick()) {}
  GarminUnitSim unit;
  SimUsbEndpoints endpoints;
  SimUsbLink link;
  TProtocoloGarmin garmin;
};

class GarminHostProfiles : public ::testing::TestWithParam<const char*> {};

TEST_P(GarminHostProfiles, IdentifiesTheUnit) {
  SimOnPty sim(GetParam());
  sim.start();
  auto port = openHostLine(sim.path());
  TProtocoloGarmin garmin(*port, quick());
  const GarminProduct p = garmin.identify();
  const SimProfile& profile = sim.unit.profile();
  EXPECT_EQ(p.productId, profile.productId);
  EXPECT_EQ(p.softwareVersion, profile.softwareVersion);
  EXPECT_EQ(p.description.rfind(profile.description, 0), 0u) << p.description;
  EXPECT_EQ(p.capabilities, profile.caps);
  if (profile.protocols.empty()) {
    EXPECT_EQ(p.protocols, "");
    EXPECT_EQ(p.capabilities.D1XX, 100);
    EXPECT_EQ(p.capabilities.D30X, 300);
  } else {
    EXPECT_EQ(p.protocols.substr(0, 14), "P000 L001 A010");
  }
  if (!profile.extendedData.empty()) { EXPECT_NE(p.description.find("; SQA 1.00; GPS 2.70"), std::string::npos); }
}

// What goes up comes down again: names (cut where the record's field is fixed), positions to the
// semicircle, altitudes and symbols where the record type carries them, times of track points.
TEST_P(GarminHostProfiles, RoundTripsEveryKind) {
  SimOnPty sim(GetParam());
  sim.start();
  auto port = openHostLine(sim.path());
  TProtocoloGarmin garmin(*port, quick());
  const Capacidades_garmin caps = garmin.identify().capabilities;
  const bool fixedNames = caps.D1XX < 108;

  sim.unit.waypoints.clear();
  const TBalizas up = sampleFile();
  EXPECT_EQ(garmin.sendWaypoints(up), 3u);
  TBalizas down;
  garmin.receiveWaypoints(down);
  ASSERT_EQ(down.waypoints.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    const TBaliza& a = up.waypoints[i];
    const TBaliza& b = down.waypoints[i];
    EXPECT_EQ(b.name, fixedNames ? a.name.substr(0, a.name.find('.')) : a.name);
    EXPECT_EQ(degreesToSemicircles(b.position.lat), degreesToSemicircles(a.position.lat)) << a.name;
    EXPECT_EQ(degreesToSemicircles(b.position.lon), degreesToSemicircles(a.position.lon)) << a.name;
    if (caps.D1XX >= 108) { EXPECT_EQ(b.position.alt, a.position.alt) << a.name; }
    if (caps.D1XX != 100) {
      EXPECT_EQ(TGarminIcons::numberForSymbol(b.symbol), TGarminIcons::numberForSymbol(a.symbol)) << a.name;
    }
  }

  TRutas routes;
  TRuta& r = routes.routes.emplace();
  r.name = "UP AND DOWN";
  for (std::size_t i = 0; i < 3; ++i) r.waypoints.add(std::make_unique<TBaliza>(up.waypoints[i]));
  EXPECT_EQ(garmin.sendRoutes(routes), 1u);
  TRutas back;
  garmin.receiveRoutes(back);
  ASSERT_EQ(back.routes.size(), 1u);
  ASSERT_EQ(back.routes[0].waypoints.size(), 3u);
  if (caps.D20X != 200) { EXPECT_EQ(back.routes[0].name, "UP AND DOWN"); }
  EXPECT_EQ(degreesToSemicircles(back.routes[0].waypoints[2].position.lon), degreesToSemicircles(up.waypoints[2].position.lon));

  TVolGPS track;
  track.headerText('P') = "UPLOADED";
  for (int i = 0; i < 5; ++i) {
    auto p = std::make_unique<TPuntVol>();
    p->position = TCoord{-179.9999 - i * 0.0001, 10.0 + i * 0.001, 100.0f + i};  // crosses the antimeridian
    p->setAltitude(100.0f + i);
    DateTimeValue start = 0;
    ASSERT_TRUE((DateTimeRecord{1, 7, 2024, 23, 59, 58.0}).toValue(start));
    p->time = TPuntTiempo::fromRecord(DateTimeRecord::fromValue(start + i / kSecondsPerDay));
    track.points.add(std::move(p));
  }
  EXPECT_EQ(garmin.sendTracks({&track}), 1u);
  std::vector<TVolGPS> tracks;
  garmin.receiveTracks(tracks);
  ASSERT_FALSE(tracks.empty());
  const TVolGPS& got = tracks.back();
  EXPECT_EQ(got.headerText('P'), caps.A3XX == -1 ? "ACTIVE LOG" : "UPLOADED");
  ASSERT_EQ(got.points.size(), 5u);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(degreesToSemicircles(got.points[i].position.lon), degreesToSemicircles(track.points[i].position.lon)) << i;
    EXPECT_EQ(got.points[i].time, track.points[i].time) << i << " (midnight inside the track)";
    if (caps.D30X != 300) { EXPECT_EQ(got.points[i].position.alt, track.points[i].position.alt) << i; }
  }
}

TEST_P(GarminHostProfiles, DownloadsWhatTheUnitHolds) {
  SimOnPty sim(GetParam());
  sim.start();
  auto port = openHostLine(sim.path());
  std::size_t lastDone = 0, lastTotal = 0;
  GarminSettings settings = quick();
  settings.progress = [&](std::size_t done, std::size_t total) { lastDone = done; lastTotal = total; };
  TProtocoloGarmin garmin(*port, settings);
  std::vector<TVolGPS> tracks;
  garmin.receiveTracks(tracks);
  ASSERT_EQ(tracks.size(), sim.unit.tracks.size());
  EXPECT_EQ(lastDone, lastTotal);
  for (std::size_t t = 0; t < tracks.size(); ++t) {
    ASSERT_EQ(tracks[t].points.size(), sim.unit.tracks[t].points.size());
    for (std::size_t i = 0; i < tracks[t].points.size(); ++i) {
      const GarminTrackPoint& g = sim.unit.tracks[t].points[i];
      const TPuntVol& p = tracks[t].points[i];
      EXPECT_EQ(degreesToSemicircles(p.position.lat), degreesToSemicircles(g.lat));
      EXPECT_EQ(p.time.toRecord(), recordFromGarminTime(g.time));
      EXPECT_EQ(p.segmentStart != 0, i == 0 || g.newTrack) << "segment starts kept, point " << i;
    }
  }
  EXPECT_EQ(tracks[0].headerText('P'), "ACTIVE LOG");
}

INSTANTIATE_TEST_SUITE_P(Serial, GarminHostProfiles, ::testing::Values("old", "serial", "usb"));

TEST(GarminHost, CapabilityCacheServesUnitsWithoutArray) {
  test::TempDir dir;
  GarminSettings settings = quick();
  settings.capabilityCache = dir / "protocol.dat";
  {
    SimOnPty sim("serial");
    sim.start();
    auto port = openHostLine(sim.path());
    TProtocoloGarmin garmin(*port, settings);
    EXPECT_FALSE(garmin.identify().fromCache);
  }
  GarminCapabilityCache cache(settings.capabilityCache);
  std::string message;
  ASSERT_TRUE(cache.load(message));
  ASSERT_TRUE(cache.find(411).has_value()) << "stored after the array came";
  EXPECT_EQ(cache.find(411)->D1XX, 108);

  SimOnPty sim("serial");
  sim.unit.faults.noArray = true;  // the same product, now silent about its protocols
  sim.start();
  auto port = openHostLine(sim.path());
  TProtocoloGarmin garmin(*port, settings);
  const GarminProduct p = garmin.identify();
  EXPECT_TRUE(p.fromCache);
  EXPECT_EQ(p.capabilities.D1XX, 108);
  EXPECT_EQ(p.capabilities.D20X, 202);
  TBalizas w;
  garmin.receiveWaypoints(w);
  EXPECT_EQ(w.waypoints.size(), sim.unit.waypoints.size());
}

// The time and position reads are checked through `garmin time` and `garmin position`.
TEST(GarminHost, PvtFixesFollowEachOtherUntilStopped) {
  SimOnPty sim("serial");
  sim.start();
  auto port = openHostLine(sim.path());
  TProtocoloGarmin garmin(*port, quick());
  garmin.startPvt();
  double lastLat = 0;
  for (int i = 0; i < 3; ++i) {
    const GarminPvt fix = garmin.readPvt();
    EXPECT_EQ(fix.fix, 3);
    EXPECT_GT(fix.lat, lastLat);
    lastLat = fix.lat;
    EXPECT_EQ(fix.utc().year, 2024);
  }
  garmin.stopPvt();
  EXPECT_FALSE(sim.unit.pvtRunning());
}

TEST(GarminHost, DetectsAUnitAndNothingOnASilentLine) {
  std::string product;
  {
    SimOnPty sim("serial");
    sim.start();
    auto port = openHostLine(sim.path());
    EXPECT_TRUE(detectGarmin(*port, product, 300));
    EXPECT_EQ(product, sim.unit.profile().description);
  }
  test::PtyPair silent;
  auto port = openHostLine(silent.slavePath());
  const auto start = Clock::now();
  EXPECT_FALSE(detectGarmin(*port, product, 200));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(3));
}

// ---- lines that misbehave ----

// A unit played by a script: each frame the host sends is answered with the script's bytes.
class ScriptedLine {
 public:
  explicit ScriptedLine(std::function<std::string(const TPaqueteDatosGarmin&, const std::string& raw)> answer)
      : answer_(std::move(answer)) {
    thread_ = std::thread([this] { run(); });
  }
  ~ScriptedLine() {
    stop_ = true;
    thread_.join();
  }
  const std::string& path() const { return pty_.slavePath(); }

 private:
  void run() {
    SerialDeframer deframer;
    while (!stop_) {
      const std::string bytes = pty_.receive(20);
      deframer.feed(bytes.data(), bytes.size());
      TPaqueteDatosGarmin in;
      while (deframer.next(in)) {
        const std::string out = answer_(in, bytes);
        if (!out.empty()) pty_.send(out);
      }
    }
  }
  test::PtyPair pty_;
  std::function<std::string(const TPaqueteDatosGarmin&, const std::string&)> answer_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

std::string frame(std::uint16_t id, std::string data = {}) { return serialFrame(TPaqueteDatosGarmin(id, std::move(data))); }
std::string u16(std::uint16_t v) {
  std::string s;
  appendU16(s, v, ByteOrder::little);
  return s;
}
std::string ack(std::uint16_t id) { return frame(6, u16(id)); }

// Identified by hand (the old unit's defaults), so that each script only plays the transfer.
void useDefaults(TProtocoloGarmin& garmin) {
  GarminProduct p;
  p.productId = 77;
  garmin.setProduct(p);
}

TEST(GarminHostFaults, EachBadLineEndsInItsMessage) {
  const std::string wpt = frame(35, encodeWaypoint(100, GarminWaypoint{}));
  const struct {
    const char* why;
    std::function<std::string(const TPaqueteDatosGarmin&)> unit;
    std::string message;
  } rows[] = {
      {"silent line", [](const TPaqueteDatosGarmin&) { return std::string(); }, "No hay respuesta ACK al enviar Orden"},
      {"NAK storm", [](const TPaqueteDatosGarmin& in) { return frame(21, u16(in.id)); }, "NAK Pid=21 datos.len=2"},
      {"noise", [](const TPaqueteDatosGarmin&) { return std::string("\x55\xAA\x01\x02\x03\x04\x05\x06", 8); },
       "Comunication error: A Garmin serial packet does not starts with DLE"},
      {"truncated frame", [](const TPaqueteDatosGarmin& in) { return in.id == 10 ? ack(10) + frame(27, u16(3)).substr(0, 5) : std::string(); },
       "Mensaje RX corto, en bucle Transrec"},
      {"DLE ETX inside", [](const TPaqueteDatosGarmin& in) {
         return in.id == 10 ? ack(10) + std::string("\x10\x1B\x04\x10\x03\x00\x00\x00\x00\x10\x03", 11) : std::string(); },
       "Error: Mensaje continua tras 0x10 0x03"},
      {"DLE then junk", [](const TPaqueteDatosGarmin& in) {
         return in.id == 10 ? ack(10) + std::string("\x10\x1B\x02\x10\x07\x00\x00\x10\x03", 9) : std::string(); },
       "Error: Caracter no correcto tras 0x10"},
      {"bad checksum", [](const TPaqueteDatosGarmin& in) {
         std::string f = frame(27, u16(3));
         f[5] = static_cast<char>(f[5] + 1);
         return in.id == 10 ? ack(10) + f : std::string(); },
       "Error de Checksum"},
      {"no count", [](const TPaqueteDatosGarmin& in) { return in.id == 10 ? ack(10) + frame(27, "x") : std::string(); },
       "Error en la recepción del número de paquetes"},
      {"out of order", [&wpt](const TPaqueteDatosGarmin& in) {
         if (in.id == 10) return ack(10) + frame(27, u16(2));
         if (in.id == 6 && in.data == u16(27)) return wpt;
         if (in.id == 6 && in.data == u16(35)) return frame(34, std::string(13, '\0'));
         return std::string(); },
       "Error en un paquete, Bajar Balizas"},
      {"stops mid-transfer", [&wpt](const TPaqueteDatosGarmin& in) {
         if (in.id == 10) return ack(10) + frame(27, u16(5));
         if (in.id == 6 && in.data == u16(27)) return wpt;
         return std::string(); },
       "No contesta"},
  };
  for (const auto& r : rows) {
    ScriptedLine line([&](const TPaqueteDatosGarmin& in, const std::string&) { return r.unit(in); });
    auto port = openHostLine(line.path());
    TProtocoloGarmin garmin(*port, quick());
    useDefaults(garmin);
    TBalizas w;
    const auto start = Clock::now();
    EXPECT_EQ(raisedText([&] { garmin.receiveWaypoints(w); }), r.message) << r.why;
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(3)) << r.why;
  }
}

// The remaining transfer messages, each from a crafted exchange. `L002` marks a unit identified
// with another link protocol.
TEST(GarminHostFaults, TransferMessages) {
  const std::string wpt = frame(35, encodeWaypoint(100, GarminWaypoint{}));
  using Unit = std::function<std::string(const TPaqueteDatosGarmin&)>;
  using Action = std::function<void(TProtocoloGarmin&)>;
  const Action waypoints = [](TProtocoloGarmin& g) { TBalizas w; g.receiveWaypoints(w); };
  const Action routes = [](TProtocoloGarmin& g) { TRutas r; g.receiveRoutes(r); };
  const Action tracks = [](TProtocoloGarmin& g) { std::vector<TVolGPS> t; g.receiveTracks(t); };
  // Answers a command with its ACK, the count, then `records` one per ACK, then the end.
  auto transfer = [](std::vector<std::string> records) -> Unit {
    auto next = std::make_shared<std::size_t>(0);
    return [records, next](const TPaqueteDatosGarmin& in) -> std::string {
      if (in.id == 10) return ack(10) + frame(27, u16(static_cast<std::uint16_t>(records.size())));
      if (in.id != 6) return ack(in.id);
      if (*next < records.size()) return records[(*next)++];
      if (*next == records.size()) {
        ++*next;
        return frame(12, u16(7));
      }
      return std::string();
    };
  };
  const struct { const char* why; bool l002; Unit unit; Action action; std::string message; } rows[] = {
      {"waypoint data on another link protocol", true, transfer({wpt}), waypoints, "Error en L0XX en Pid_Wpt_Data()"},
      {"route waypoint on another link protocol", true, transfer({frame(30, encodeWaypoint(100, GarminWaypoint{}))}), routes,
       "Error en L0XX en Pid_Rte_Wpt_Data()"},
      {"track point in a route", false, transfer({frame(34, std::string(13, '\0'))}), routes,
       "Error en Pid al recibir paquete de ruta"},
      {"no tracks at all", false, transfer({}), tracks, "No trk sections in this GPS!"},
      {"time answered with a position", false,
       [](const TPaqueteDatosGarmin& in) { return in.id == 10 ? ack(10) + frame(17, std::string(16, '\0')) : std::string(); },
       [](TProtocoloGarmin& g) { g.readDateTime(); }, "Error en el Pid, != Pid_Date_Time_Data"},
      {"position answered with a time", false,
       [](const TPaqueteDatosGarmin& in) { return in.id == 10 ? ack(10) + frame(14, std::string(8, '\0')) : std::string(); },
       [](TProtocoloGarmin& g) { g.readPosition(); }, "Error en el Pid, != L001::Pid_Position_Data"},
      {"no fix after the PVT start", false,
       [](const TPaqueteDatosGarmin& in) { return in.id == 10 ? ack(10) + frame(14, std::string(8, '\0')) : std::string(); },
       [](TProtocoloGarmin& g) { g.startPvt(); g.readPvt(); }, "Error, no se recibe paquete PVT (1)"},
      {"waypoint not acknowledged", false,
       [](const TPaqueteDatosGarmin& in) { return in.id == 35 || in.id == 6 ? std::string() : ack(in.id); },
       [](TProtocoloGarmin& g) { g.sendWaypoints(sampleFile()); }, "No hay respuesta al enviar baliza"},
      {"transfer complete unanswered", false,
       [](const TPaqueteDatosGarmin& in) { return in.id == 12 || in.id == 6 ? std::string() : ack(in.id); },
       [](TProtocoloGarmin& g) { g.sendWaypoints(sampleFile()); }, "Error en Envia_Transfer_Complete"},
      {"two bytes only", false, [](const TPaqueteDatosGarmin& in) { return in.id == 10 ? std::string("\x10\x06", 2) : std::string(); },
       waypoints, "Mensaje RX corto"},
      {"a frame shorter than the first read", false,
       [](const TPaqueteDatosGarmin& in) { return in.id == 10 ? ack(10) + frame(27) + "xx" : std::string(); }, waypoints,
       "No Calculo bien los faltan 6 8"},
  };
  for (const auto& r : rows) {
    ScriptedLine line([&](const TPaqueteDatosGarmin& in, const std::string&) { return r.unit(in); });
    auto port = openHostLine(line.path());
    TProtocoloGarmin garmin(*port, quick());
    GarminProduct p;
    p.productId = 77;
    if (r.l002) p.capabilities.L0XX = 2;
    garmin.setProduct(p);
    EXPECT_EQ(raisedText([&] { r.action(garmin); }), r.message) << r.why;
  }
}

TEST(GarminHostFaults, IdentificationFailures) {
  {
    // A line that hands every byte back.
    test::PtyPair pty;
    std::atomic<bool> stop{false};
    std::thread echo([&] {
      while (!stop) {
        const std::string bytes = pty.receive(10);
        if (!bytes.empty()) pty.send(bytes);
      }
    });
    auto port = openHostLine(pty.slavePath());
    TProtocoloGarmin garmin(*port, quick());
    EXPECT_EQ(raisedText([&] { garmin.identify(); }), "Error: the line echoes what is sent");
    stop = true;
    echo.join();
  }
  const std::string product = frame(255, u16(77) + u16(250) + std::string("UNIT\0", 5));
  const struct { const char* why; std::function<std::string(const TPaqueteDatosGarmin&)> unit; const char* message; } rows[] = {
      {"array expected", [&](const TPaqueteDatosGarmin& in) {
         if (in.id == 254) return product;
         if (in.id == 6 && in.data == u16(255)) return frame(35, "x");
         return std::string(); }, "Error en el Pid_Product_Array"},
      {"short product data", [](const TPaqueteDatosGarmin& in) { return in.id == 254 ? frame(255, "ab") : std::string(); },
       "Error en el Pid_Product_Data"},
      {"other packet first", [](const TPaqueteDatosGarmin& in) { return in.id == 254 ? frame(14, "ab") : std::string(); },
       "Error en el Pid_Product_Data"},
      {"nothing at all", [](const TPaqueteDatosGarmin&) { return std::string(); }, "No contesta"},
  };
  for (const auto& r : rows) {
    ScriptedLine line([&](const TPaqueteDatosGarmin& in, const std::string&) { return r.unit(in); });
    auto port = openHostLine(line.path());
    TProtocoloGarmin garmin(*port, quick());
    EXPECT_EQ(raisedText([&] { garmin.identify(); }), r.message) << r.why;
  }
}

TEST(GarminHostFaults, TrackPointsAreSentAgainOnce) {
  int refusals = 0;
  std::vector<std::string> log;
  ScriptedLine line([&](const TPaqueteDatosGarmin& in, const std::string&) {
    if (in.id == 34 && refusals++ == 0) return std::string();  // the first point goes unanswered
    return in.id == 6 ? std::string() : ack(in.id);
  });
  auto port = openHostLine(line.path());
  GarminSettings settings = quick();
  settings.log = [&](const std::string& text) { log.push_back(text); };
  TProtocoloGarmin garmin(*port, settings);
  useDefaults(garmin);
  TVolGPS track;
  for (int i = 0; i < 3; ++i) track.points.emplace().time = TPuntTiempo::fromRecord({1, 1, 2024, 0, 0, 1.0 * i});
  EXPECT_EQ(garmin.sendTracks({&track}), 1u);
  ASSERT_EQ(log.size(), 1u);
  EXPECT_EQ(log[0], "Reintento Envio Punto track 0");
}

TEST(GarminHost, CourseRules) {
  TVolGPS track;
  track.headerText('P') = "LOOP";
  track.points.emplace().time = TPuntTiempo::fromRecord({1, 1, 2024, 8, 0, 0.0});
  EXPECT_EQ(raisedText([&] { TProtocoloGarmin::checkCourse(track, {"OTHER"}, 1); }), "(nothing raised)");
  // A repeated name and a full unit: TracksGoToRecentUnitsAsCourses.
  track.points.emplace();  // a point without a time
  EXPECT_EQ(raisedText([&] { TProtocoloGarmin::checkCourse(track, {}, 1); }),
            "Tracks must have a correct time to be sent as a course");
}

TEST(GarminHost, TracksGoToRecentUnitsAsCourses) {
  UsbSim sim;
  auto& [unit, endpoints, link, garmin] = sim;
  TVolGPS track;
  track.headerText('P') = "MORNING LOOP";
  for (int i = 0; i < 4; ++i) {
    auto p = std::make_unique<TPuntVol>();
    p->position = TCoord{2.0 + i * 0.001, 41.0, 50.0f};
    p->setAltitude(50.0f);
    p->time = TPuntTiempo::fromRecord({1, 6, 2024, 7, 0, 10.0 * i});
    track.points.add(std::move(p));
  }
  std::string message;
  ASSERT_TRUE(track.Recalculate(TrackSettings{}, message));
  garmin.sendCourse(track);
  ASSERT_EQ(unit.courses.size(), 1u);
  EXPECT_EQ(unit.courses[0].name, "MORNING LOOP");
  ASSERT_EQ(unit.courseTracks.size(), 1u);
  EXPECT_EQ(unit.courseTracks[0].header.index, unit.courses[0].trackIndex);
  ASSERT_EQ(unit.courseTracks[0].points.size(), 4u);
  EXPECT_EQ(unit.courseTracks[0].points[3].time, garminTimeFromRecord({1, 6, 2024, 7, 0, 30.0}));
  ASSERT_EQ(unit.courseLaps.size(), 1u);
  EXPECT_EQ(unit.courseLaps[0].totalTimeCs, 3000u);
  EXPECT_NEAR(unit.courseLaps[0].totalDistanceM, 3 * 84.0, 3.0) << "0.001 degrees of longitude at 41 N";

  EXPECT_EQ(raisedText([&] { garmin.sendCourse(track); }),
            "Error: Track cannot be sent, the track name is repeated: MORNING LOOP");
  track.headerText('P') = "EVENING LOOP";
  garmin.sendCourse(track);
  EXPECT_EQ(unit.courseTracks.back().header.index, 1) << "a track index of its own";
  track.headerText('P') = "THIRD";
  EXPECT_EQ(raisedText([&] { garmin.sendCourse(track); }), "No more courses fit in the GPS. Please, first delete some courses");
  EXPECT_EQ(unit.courses.size(), 2u);
}

// ---- USB ----

TEST(GarminHostUsb, IdentifiesDownloadsAndUploads) {
  UsbSim sim;
  auto& [unit, endpoints, link, garmin] = sim;
  const GarminProduct p = garmin.identify();
  EXPECT_EQ(p.productId, 1095);
  EXPECT_TRUE(p.capabilities.hasA1006);
  EXPECT_TRUE(p.capabilities.hasA906);
  EXPECT_TRUE(p.capabilities.isA302());
  ASSERT_FALSE(link.written.empty());
  EXPECT_EQ(link.written[0], usbFrame(TPaqueteDatosGarmin(5, "", true))) << "the session starts first";

  TBalizas w;
  garmin.receiveWaypoints(w);
  ASSERT_EQ(w.waypoints.size(), unit.waypoints.size());
  EXPECT_EQ(w.waypoints[0].name, "CAMP.01");
  EXPECT_EQ(w.waypoints[1].position.lon, -180.0);
  std::vector<TVolGPS> tracks;
  garmin.receiveTracks(tracks);
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(tracks[1].headerText('P'), "OVER THE LINE");
  EXPECT_EQ(tracks[0].points[3].heartRate, 103);

  unit.waypoints.clear();
  EXPECT_EQ(garmin.sendWaypoints(sampleFile()), 3u);
  ASSERT_EQ(unit.waypoints.size(), 3u);
  EXPECT_EQ(unit.waypoints[0].ident, "HUT.2");
  for (const std::string& frame : link.written) {
    ASSERT_GE(frame.size(), kUsbHeaderSize);
    EXPECT_EQ(static_cast<unsigned char>(frame[8]), frame.size() - kUsbHeaderSize);
  }
}

TEST(GarminHostUsb, PvtComesOnTheInterruptPipe) {
  UsbSim sim;
  sim.garmin.startPvt();
  EXPECT_EQ(sim.garmin.readPvt().fix, 3);
  sim.garmin.stopPvt();
  EXPECT_FALSE(sim.unit.pvtRunning());
}

TEST(GarminHostUsb, SilentUnitAndEmptyBulkPipeTwice) {
  UsbSim sim;
  auto& [unit, endpoints, link, garmin] = sim;
  try {
    garmin.receive();
    FAIL() << "nothing to receive";
  } catch (const TErrorPr& e) {
    EXPECT_TRUE(e.noAnswer());
    EXPECT_EQ(e.text(), "No contesta");
  }
  garmin.identify();
  // Drains the bulk pipe of the identification, so that the next answer starts on the interrupt pipe.
  EXPECT_EQ(raisedText([&] { garmin.receive(); }), "No contesta");
  endpoints.dropBulkReads = 2;
  TBalizas w;
  EXPECT_EQ(raisedText([&] { garmin.receiveWaypoints(w); }), "usb error 02 null 2 times");
}

}  // namespace
}  // namespace pixtrail::sim
