// `ports`, `detect` and the live `nmea` against a pty playing the receiver, the mailslot and a
// stand-in gpsd.
#ifndef _WIN32

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <thread>

#include "devices/TPuertoCom.hpp"
#include "devices/protocol_detection.hpp"
#include "tests/devices/nmea_feeder.hpp"
#include "tests/devices/pty_pair.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

using test::nmeaSentence;

// One epoch a second along a line heading north-east: RMC (with the date) and GGA.
std::vector<std::string> walk(int seconds) {
  std::vector<std::string> lines;
  for (int i = 0; i < seconds; ++i) {
    char time[32], lat[32], lon[32];
    std::snprintf(time, sizeof time, "1030%02d", i);
    std::snprintf(lat, sizeof lat, "4807.%03d", 100 + i);
    std::snprintf(lon, sizeof lon, "01131.%03d", 200 + i);
    lines.push_back(nmeaSentence(std::string("GPRMC,") + time + ",A," + lat + ",N," + lon + ",E,5.0,45.0,150626,,"));
    lines.push_back(nmeaSentence(std::string("GPGGA,") + time + "," + lat + ",N," + lon + ",E,1,07,1.1,512.0,M,47.0,M,,"));
  }
  return lines;
}

// Whether some process has `path` open, read from /proc.
bool lineHeldElsewhere(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code ec, inner;  // processes come and go while this looks
  for (fs::directory_iterator p("/proc", ec), end; !ec && p != end; p.increment(ec))
    for (fs::directory_iterator fd(p->path() / "fd", inner); !inner && fd != end; fd.increment(inner))
      if (fs::read_symlink(fd->path(), inner) == path) return true;
  return false;
}

class ReceiverCommandTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(pty.ok()); }
  std::string config() const { return "--config " + shellQuote((dir / "gps.ini").string()) + " "; }
  test::CommandOutput pixtrail(const std::string& arguments) { return test::runPixtrailWith(dir / "gps.ini", arguments); }
  int trackPoints(const std::string& file) {
    const auto info = test::runPixtrail("info --json " + shellQuote((dir / file).string()));
    if (info.status != 0) return -1;
    auto json = nlohmann::json::parse(info.out);
    if (json.is_array()) json = json.at(0);
    return json.at("points").get<int>();
  }
  test::TempDir dir;
  test::PtyPair pty;
};

TEST_F(ReceiverCommandTest, DetectNamesTheProtocolAndRemembersIt) {
  test::NmeaFeeder feeder(pty, walk(3), 100);
  auto run = pixtrail("detect --port " + shellQuote(pty.slavePath()));
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "NMEA\n");
  EXPECT_NE(test::readFileBytes(dir / "gps.ini").find("Last_Autodetect_Protocol=1"), std::string::npos);

  run = pixtrail("detect --json --port " + shellQuote(pty.slavePath()));
  ASSERT_EQ(run.status, 0) << run.err;
  const auto json = nlohmann::json::parse(run.out);
  EXPECT_EQ(json["protocol"], "NMEA");
  EXPECT_TRUE(json["product"] == "RMC" || json["product"] == "GGA") << json;
}

TEST_F(ReceiverCommandTest, DetectOnASilentLineFailsWithinItsTimeout) {
  const auto msSince = [](std::chrono::steady_clock::time_point t) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - t).count();
  };
  // The program's own start-up, which a loaded machine or a sanitized build stretches, is not
  // the detection's time.
  auto start = std::chrono::steady_clock::now();
  pixtrail("--version");
  const auto startupMs = msSince(start);
  start = std::chrono::steady_clock::now();
  const auto run = pixtrail("detect --timeout 500 --port " + shellQuote(pty.slavePath()));
  const auto ms = msSince(start);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find(std::string(kNmeaSilent)), std::string::npos) << run.err;
  EXPECT_LT(ms, startupMs + 2500);

  const auto missing = pixtrail("detect --port /dev/no-such-gps");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err.rfind("CreateFile lasterror= 2", 0), 0u) << missing.err;
}

TEST_F(ReceiverCommandTest, LiveFixRecordsEveryPositionUntilTheTimeIsUp) {
  test::NmeaFeeder feeder(pty, walk(40), 20);
  const auto run = pixtrail("nmea --json --seconds 1.2 --record " + shellQuote((dir / "live.gpx").string()) +
                            " --port " + shellQuote(pty.slavePath()));
  feeder.stop();
  ASSERT_EQ(run.status, 0) << run.err;
  const auto lines = test::jsonLines(run.out);
  const int total = static_cast<int>(lines.size());
  for (const auto& json : lines) {
    EXPECT_TRUE(json["checksum_ok"].get<bool>()) << json;
    EXPECT_NEAR(json["fix"]["lat"].get<double>(), 48.118, 0.01);
  }
  EXPECT_GT(total, 20) << "a sentence every 20 ms for over a second";
  // An RMC and a GGA of one second make one track point.
  const int points = trackPoints("live.gpx");
  EXPECT_GE(points, total / 2 - 1);
  EXPECT_LE(points, total / 2 + 1);
  EXPECT_NE(run.err.find("positions recorded in"), std::string::npos) << run.err;

  // An existing recording is never replaced.
  const auto again = pixtrail("nmea --seconds 0.2 --record " + shellQuote((dir / "live.gpx").string()) +
                                       " --port " + shellQuote(pty.slavePath()));
  EXPECT_EQ(again.status, 2);
}

TEST_F(ReceiverCommandTest, CtrlCAndUnpluggingKeepWhatWasReceived) {
  {
    test::NmeaFeeder feeder(pty, walk(200), 20);
    const auto run = test::runCommand("timeout --preserve-status -s INT 3 " + shellQuote(PIXTRAIL_CLI_PATH) + " " +
                                      config() + "nmea --record " + shellQuote((dir / "ctrlc.TRK").string()) +
                                      " --port " + shellQuote(pty.slavePath()));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_GT(trackPoints("ctrlc.TRK"), 5);
  }
  // The receiver sends ten seconds' worth, then its cable is pulled.
  test::PtyPair pty;
  ASSERT_TRUE(pty.ok());
  std::thread device([&pty] {
    // Until the program holds the line (a slow start must not find it unplugged already), then a
    // moment for it to set the line up.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!lineHeldElsewhere(pty.slavePath()) && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    for (const std::string& line : walk(10)) pty.send(line);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    pty.closeMaster();
  });
  const auto run = pixtrail("nmea --seconds 10 --record " + shellQuote((dir / "pulled.gpx").string()) +
                            " --port " + shellQuote(pty.slavePath()));
  device.join();
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("Error en la recepcion"), std::string::npos) << run.err;
  EXPECT_EQ(trackPoints("pulled.gpx"), 10);
}

TEST_F(ReceiverCommandTest, LiveFixWarnsOfSilenceAndOfSentencesWithoutAPosition) {
  const struct {
    std::vector<std::string> lines;
    std::string_view warning;
  } rows[] = {
      {{}, kNmeaSilent},
      {{nmeaSentence("GPGSV,1,1,01,07,45,120,38")}, "No se reciben mensajes NMEA de posicion"},
  };
  for (const auto& row : rows) {
    std::unique_ptr<test::NmeaFeeder> feeder;
    if (!row.lines.empty()) feeder = std::make_unique<test::NmeaFeeder>(pty, row.lines, 50);
    const auto run = pixtrail("nmea --timeout 300 --seconds 1 --port " + shellQuote(pty.slavePath()));
    if (feeder) feeder->stop();
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.err.find(std::string(row.warning)), std::string::npos) << run.err;
    // Once per stretch, not once per look at the clock.
    EXPECT_EQ(run.err.find(std::string(row.warning)), run.err.rfind(std::string(row.warning))) << run.err;
  }
}

TEST_F(ReceiverCommandTest, MailslotForwardedSentencesGiveTheFix) {
  const std::string env = "XDG_RUNTIME_DIR=" + shellQuote(dir.path().string()) + " ";
  ::setenv("XDG_RUNTIME_DIR", dir.path().c_str(), 1);
  std::thread forwarder([] {
    for (int tries = 0; tries < 100; ++tries) {
      try {
        for (const std::string& line : walk(5)) sendToMailslot(line);
        return;
      } catch (const TErrorPr&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // not listening yet
      }
    }
  });
  const auto run = test::runCommand(env + shellQuote(PIXTRAIL_CLI_PATH) + " " + config() + "nmea --mailslot --seconds 1.5");
  forwarder.join();
  ::unsetenv("XDG_RUNTIME_DIR");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("GGA checksum=ok changed valid 48.118"), std::string::npos) << run.out;
}

// Just enough of gpsd: answers the watch request with its version and hands on raw sentences.
class FakeGpsd {
 public:
  explicit FakeGpsd(std::vector<std::string> lines) {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t size = sizeof address;
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    ::listen(listener_, 1);
    thread_ = std::thread([this, lines = std::move(lines)] {
      int client = ::accept(listener_, nullptr, nullptr);
      if (client < 0) return;
      char request[256] = {};
      const ssize_t n = ::recv(client, request, sizeof request - 1, 0);
      watchRequest_ = std::string(request, n > 0 ? static_cast<std::size_t>(n) : 0);
      const std::string version = "{\"class\":\"VERSION\",\"release\":\"3.22\",\"proto_major\":3}\r\n";
      ::send(client, version.data(), version.size(), 0);
      for (const std::string& line : lines) {
        ::send(client, line.data(), line.size(), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
      ::close(client);
    });
  }
  ~FakeGpsd() {
    ::shutdown(listener_, SHUT_RDWR);
    if (thread_.joinable()) thread_.join();
    ::close(listener_);
  }
  int port() const { return port_; }
  const std::string& watchRequest() const { return watchRequest_; }

 private:
  int listener_ = -1;
  int port_ = 0;
  std::string watchRequest_;
  std::thread thread_;
};

TEST_F(ReceiverCommandTest, GpsdRawSentencesGiveTheFixAndItsJsonIsSkipped) {
  auto lines = walk(3);
  lines.insert(lines.begin() + 2, "{\"class\":\"TPV\",\"mode\":3,\"lat\":1.0,\"lon\":2.0}\r\n");
  FakeGpsd gpsd(lines);
  const auto run = pixtrail("nmea --json --seconds 5 --gpsd 127.0.0.1:" + std::to_string(gpsd.port()));
  EXPECT_EQ(run.status, 1) << "gpsd went away before the time was up";
  EXPECT_NE(run.err.find("gpsd closed the connection"), std::string::npos) << run.err;
  EXPECT_EQ(gpsd.watchRequest(), "?WATCH={\"enable\":true,\"raw\":1}\n");
  const auto fixes = test::jsonLines(run.out);
  for (const auto& json : fixes) EXPECT_NEAR(json["fix"]["lat"].get<double>(), 48.1185, 0.001) << json;
  EXPECT_EQ(fixes.size(), 6u);

  const auto nobody = pixtrail("nmea --seconds 1 --gpsd 127.0.0.1:1");
  EXPECT_EQ(nobody.status, 1);
  EXPECT_EQ(nobody.err.rfind("connect lasterror= ", 0), 0u) << nobody.err;
}

TEST(PortsCommand, ListsTheMachinesPortsAsJson) {
  const auto run = test::runPixtrail("ports --json");
  ASSERT_EQ(run.status, 0) << run.err;
  const auto json = nlohmann::json::parse(run.out);
  ASSERT_TRUE(json.is_array());
  for (std::size_t i = 0; i < json.size(); ++i) {
    EXPECT_EQ(json[i]["index"], i);
    EXPECT_EQ(json[i]["name"], "COM" + std::to_string(i + 1));
    EXPECT_EQ(json[i]["path"].get<std::string>().rfind("/dev/", 0), 0u);
  }
}

TEST(NmeaCommandSources, OneSourceAtATime) {
  EXPECT_EQ(test::runPixtrail("nmea").status, 2);
  EXPECT_EQ(test::runPixtrail("nmea --mailslot --gpsd").status, 2);
  EXPECT_EQ(test::runPixtrail("nmea - --mailslot").status, 2);
}

}  // namespace
}  // namespace pixtrail

#endif
