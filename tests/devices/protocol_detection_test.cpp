// Auto-detection over a pty playing an NMEA unit, a silent line and a line of noise.
#ifndef _WIN32

#include "devices/protocol_detection.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "tests/devices/nmea_feeder.hpp"
#include "tests/devices/pty_device_fixture.hpp"

namespace pixtrail {
namespace {

using Clock = std::chrono::steady_clock;

class DetectionTest : public test::PtyDeviceTest {
 protected:
  DetectResult detect(int timeoutMs, GpsProtocol tryFirst = GpsProtocol::none,
                      std::span<const ProtocolProbe> probes = protocolProbes()) {
    DetectOptions options;
    options.timeoutMs = timeoutMs;
    options.tryFirst = tryFirst;
    options.log = [this](std::string_view line) { log.emplace_back(line); };
    return detectProtocol(device->port(), options, probes);
  }
  std::vector<std::string> log;
};

TEST_F(DetectionTest, ReceiversThatTalkNmeaAreFound) {
  const struct {
    std::vector<std::string> lines;
    std::string_view product;
    const char* why;
  } rows[] = {
      {{"$GPGSV,3,1,11,03,03,111,00,04,15,270,00,06,01,010,00,13,06,292,00*74\r\n"}, "GSV",
       "a unit still searching sends only satellites"},
      {{"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n"}, "GGA", "a fix"},
      {{"$GPZDA,201530.00,04,07,2002,00,00*60\r\n", "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n"},
       "RMC", "sentences that do not fill a fix are passed over"},
  };
  for (const auto& row : rows) {
    log.clear();
    test::NmeaFeeder feeder(pty, row.lines, 40);
    const DetectResult result = detect(1000);
    feeder.stop();
    EXPECT_EQ(result.protocol, GpsProtocol::nmea) << row.why << ": " << result.message;
    EXPECT_EQ(result.product, row.product) << row.why;
    EXPECT_EQ(result.baud, 4800u);
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log.front(), "Trying NMEA protocol...");
    EXPECT_EQ(log.back(), "NMEA protocol detected!");
  }
}

TEST_F(DetectionTest, SilenceNoiseAndUselessSentencesFailWithTheirMessagesInTime) {
  const struct {
    std::vector<std::string> lines;
    std::string_view message;
    const char* why;
  } rows[] = {
      {{}, kNmeaSilent, "nothing plugged in"},
      {{"\x10\x06\x02\x81\x20\x10\x03\n"}, kNmeaNoNmeaBytes, "binary frames (another protocol)"},
      {{std::string(80, '\x55')}, kNmeaNoNmeaBytes, "bytes without any end of line"},
      {{"$GPZDA,201530.00,04,07,2002,00,00*60\r\n"}, kNmeaBadSentences, "NMEA that never says where"},
      {{"$GPGGA,123519,4807.038,N*4\r\n"}, "Error in NMEA message in checksum section", "mangled"},
  };
  for (const auto& row : rows) {
    log.clear();
    std::unique_ptr<test::NmeaFeeder> feeder;
    if (!row.lines.empty()) feeder = std::make_unique<test::NmeaFeeder>(pty, row.lines, 30);
    const auto start = Clock::now();
    const DetectResult result = detect(400);
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    if (feeder) feeder->stop();
    EXPECT_EQ(result.protocol, GpsProtocol::none) << row.why;
    // NMEA's own reason comes first; the Garmin and Magellan probes were tried after it.
    EXPECT_TRUE(result.message.starts_with(std::string(row.message) + "\n")) << row.why << ": " << result.message;
    EXPECT_NE(result.message.find("Garmin"), std::string::npos) << row.why << ": " << result.message;
    EXPECT_EQ(std::count(result.message.begin(), result.message.end(), '\n'), 2) << row.why << ": one reason a probe";
    EXPECT_NE(std::find(log.begin(), log.end(), row.message), log.end()) << row.why;
    EXPECT_LT(ms, 4000) << row.why << ": three probes within their time-outs, give or take the reads";
  }
}

// Probes standing in for the other protocols, to see the order and the bookkeeping.
bool answersYes(TPuertoCom&, std::string& product, int) {
  product = "eTrex";
  return true;
}
bool raisesNoAnswer(TPuertoCom&, std::string&, int) { throw TErrorPrNoResponde("GPS no responde"); }

TEST_F(DetectionTest, ProtocolFoundLastTimeIsTriedFirstAndFailuresGather) {
  const ProtocolProbe probes[] = {
      {GpsProtocol::nmea, "NMEA", 4800, &detectNmeaProbe},
      {GpsProtocol::magellan, "Magellan", 9600, &raisesNoAnswer},
      {GpsProtocol::garmin, "Garmin", 9600, &answersYes},
  };
  // A silent line: NMEA fails, Magellan raises, Garmin answers.
  DetectResult result = detect(200, GpsProtocol::none, probes);
  EXPECT_EQ(result.protocol, GpsProtocol::garmin);
  EXPECT_EQ(result.product, "eTrex");
  EXPECT_EQ(result.baud, 9600u);
  EXPECT_EQ(device->port().baud(), 9600u);
  EXPECT_TRUE(result.message.empty());
  EXPECT_EQ(log.size(), 6u);

  log.clear();
  result = detect(200, GpsProtocol::garmin, probes);
  EXPECT_EQ(result.protocol, GpsProtocol::garmin);
  EXPECT_EQ(log, (std::vector<std::string>{"Trying Garmin protocol...", "Garmin protocol detected!"}));

  const ProtocolProbe none[] = {probes[0], probes[1]};
  result = detect(200, GpsProtocol::magellan, none);
  EXPECT_EQ(result.protocol, GpsProtocol::none);
  EXPECT_EQ(result.message, "GPS no responde\n" + std::string(kNmeaSilent));
}

TEST_F(DetectionTest, ExcludedNmeaIsNotListenedFor) {
  test::NmeaFeeder feeder(pty, {"$GPGSV,1,1,00*79\r\n"}, 20);
  NmeaDetectOptions options;
  options.excluded = true;
  options.log = [this](std::string_view line) { log.emplace_back(line); };
  std::string product;
  EXPECT_FALSE(detectNmea(device->port(), product, options));
  EXPECT_EQ(product, "NMEA");
  EXPECT_EQ(log, std::vector<std::string>{"Not Trying NMEA protocol... "});
}

TEST(PortNames, UserTextsNameTheRightLine) {
  const struct {
    std::string_view text;
    bool ok;
    int index;
    std::string_view path;
    std::string_view display;
  } rows[] = {
      {"COM3", true, 2, "", "COM3"},             // index 2 is COM3
      {"\\\\.\\COM12", true, 11, "", "COM12"},   // the Win32 device name
      {"com1", true, 0, "", "COM1"},
      {"COM0", false, -1, "", ""},               // COM numbers start at 1
      {"mailslot", true, kMailslotPortIndex, "", "mailslot"},
      {"/dev/ttyUSB0", true, -1, "/dev/ttyUSB0", "/dev/ttyUSB0"},
      {"COMx", true, -1, "COMx", "COMx"},        // not a COM number: a file of that name
      {"", false, -1, "", ""},
  };
  for (const auto& row : rows) {
    TConfigPuerto port;
    ASSERT_EQ(TConfigPuerto::fromText(row.text, port), row.ok) << row.text;
    if (!row.ok) continue;
    EXPECT_EQ(port.index, row.index) << row.text;
    EXPECT_EQ(port.path, row.path) << row.text;
    EXPECT_EQ(port.displayName(), row.display) << row.text;
  }
  TConfigPuertos list = TConfigPuertos::fromSettings(2, 5, 9600);
  ASSERT_EQ(list.ports().size(), 3u);
  EXPECT_EQ(list.find(5)->baud, 9600u);
  EXPECT_EQ(TConfigPuertos::fromSettings(0, 0, 4800).ports().size(), 1u) << "extra port already listed";
}

}  // namespace
}  // namespace pixtrail

#endif
