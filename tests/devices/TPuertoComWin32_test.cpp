// The Win32 port under wine, on two COM ports that the test run links to the two ends of one
// pseudo-terminal pair (PIXTRAIL_TEST_COM_PAIR="4,5": COM5 is the program's line, COM6 plays the
// receiver). Without that variable the tests are skipped.
#ifdef _WIN32

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <cstdlib>
#include <string>
#include <thread>

#include "devices/TConfigPuertos.hpp"
#include "devices/TPuertoCom.hpp"
#include "devices/protocol_detection.hpp"
#include "tests/devices/raised_text.hpp"

namespace pixtrail {
namespace {

using Clock = std::chrono::steady_clock;

long msSince(Clock::time_point start) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

using test::raisedText;

class Win32PortTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* pair = std::getenv("PIXTRAIL_TEST_COM_PAIR");
    if (!pair) GTEST_SKIP() << "no COM port pair linked for this run";
    lineIndex = std::atoi(pair);
    deviceIndex = std::atoi(std::strchr(pair, ',') + 1);
    // Index n opens COM n+1: index 4 reaches the pty linked as COM5.
    for (TPuertoCom* port : {line.get(), device.get()}) {
      ASSERT_TRUE(port->open(port == line.get() ? lineIndex : deviceIndex, true));
      port->setBuffers();
      port->setState(4800);
      port->setTimeouts();
    }
    line->purge();
  }
  int lineIndex = -1, deviceIndex = -1;
  std::unique_ptr<TPuertoCom> line = createPuertoCom(64, 100);
  std::unique_ptr<TPuertoCom> device = createPuertoCom(64, 100);
  char buffer[256] = {};
};

TEST_F(Win32PortTest, ReadWaitsForTheCountOrTheDeadline) {
  device->write("$GPGGA,123", 10);
  auto start = Clock::now();
  EXPECT_EQ(line->read(500, buffer, 100, true), 10);
  EXPECT_GE(msSince(start), 400);
  EXPECT_LE(msSince(start), 900);
  EXPECT_STREQ(buffer, "$GPGGA,123");

  device->write("0123456789ABCDEFGHIJ", 20);
  start = Clock::now();
  EXPECT_EQ(line->read(3000, buffer, 20, true), 20);
  EXPECT_LT(msSince(start), 1500);

  EXPECT_EQ(line->read(100, buffer, 10, true), 0);
  EXPECT_EQ(line->baud(), 4800u);
}

TEST_F(Win32PortTest, PurgeDropsWhatWaitsAndMisuseGivesTheSystemMessages) {
  device->write("stale bytes", 11);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  line->purge();
  EXPECT_EQ(line->read(150, buffer, 50, true), 0);

  EXPECT_EQ(raisedText([&] { line->open(lineIndex, true); }), "Ya conectado");
  auto second = createPuertoCom();
  EXPECT_EQ(raisedText([&] { second->open(lineIndex, true); }).rfind("CreateFile lasterror= ", 0), 0u)
      << "a COM port opens once at a time";
  line->close();
  EXPECT_EQ(raisedText([&] { line->read(10, buffer, 5, true); }), "Error, puerto cerrado!");
  EXPECT_EQ(raisedText([&] { line->purge(); }), "Error, puerto cerrado!");
  EXPECT_EQ(raisedText([&] { createPuertoCom()->open(250, true); }).rfind("CreateFile lasterror= 2", 0), 0u);
}

TEST_F(Win32PortTest, WatchThreadNotifiesOnceUntilConsumed) {
  NotificationLoop loop;
  PortWatchThread watcher(*line, loop);
  watcher.start();
  EXPECT_FALSE(loop.wait(200));
  device->write("$GPGSV,1,1,00*79\r\n", 18);
  auto note = loop.wait(2000);
  ASSERT_TRUE(note);
  EXPECT_EQ(note->kind, CommNotification::Kind::data);
  EXPECT_EQ(note->port, line->handle());
  device->write("$GPGSA,A,1*1E\r\n", 15);
  EXPECT_FALSE(loop.wait(300)) << "one notification outstanding";
  EXPECT_EQ(line->read(300, buffer, 200, true), 33);
  watcher.consumed();
  EXPECT_FALSE(loop.wait(300));
  watcher.stop();
}

TEST_F(Win32PortTest, DetectsNmeaOnAGsvOnlyLine) {
  std::atomic<bool> stop{false};
  std::thread receiver([&] {
    while (!stop) {
      device->write("$GPGSV,1,1,00*79\r\n", 18);
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  });
  pixtrail::DetectOptions options;
  options.timeoutMs = 1000;
  const DetectResult result = detectProtocol(*line, options);
  stop = true;
  receiver.join();
  EXPECT_EQ(result.protocol, GpsProtocol::nmea) << result.message;
  EXPECT_EQ(result.product, "GSV");
}

TEST(Win32Mailslot, ForwardedMessagesArriveAndLineCallsDoNothing) {
  auto slot = createPuertoCom();
  ASSERT_TRUE(slot->open(kMailslotPortIndex, true));
  EXPECT_TRUE(slot->isMailslot());
  EXPECT_EQ(mailslotName(), "\\\\.\\mailslot\\orvexgps_movingmap");
  sendToMailslot("$GPGSV,1,1,00*79\r\n");
  slot->setBuffers();
  slot->setState(9600);
  slot->setTimeouts();
  slot->purge();
  char buffer[1024] = {};
  EXPECT_EQ(slot->read(200, buffer, 100, true), 18);
  EXPECT_STREQ(buffer, "$GPGSV,1,1,00*79\r\n");
  EXPECT_THROW(sendToMailslot(std::string(kMailslotMessageMax + 1, 'x')), TErrorPr);
  const auto start = Clock::now();
  EXPECT_EQ(slot->read(300, buffer, 100, true), 0) << "nothing waiting: 0, silently";
  EXPECT_LT(msSince(start), 1500);
  EXPECT_THROW(slot->write("x", 1), TErrorPr);
}

}  // namespace
}  // namespace pixtrail

#endif
