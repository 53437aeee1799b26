// The POSIX port against a pseudo-terminal playing the receiver.
#ifndef _WIN32

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "devices/TPuertoCom.hpp"
#include "tests/devices/pty_pair.hpp"
#include "tests/devices/raised_text.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using Clock = std::chrono::steady_clock;
using test::PtyPair;

long msSince(Clock::time_point start) {
  return static_cast<long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

using test::raisedText;

class PosixPortTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(pty.ok());
    ASSERT_TRUE(port->openPath(pty.slavePath(), true));
    port->setBuffers();
    port->setState(4800);
    port->setTimeouts();
  }
  PtyPair pty;
  std::unique_ptr<TPuertoCom> port = createPuertoCom(64, 100);
  char buffer[256] = {};
};

TEST_F(PosixPortTest, ReadWaitsForTheCountOrTheDeadline) {
  // A short line: 10 of 100 bytes arrive, the call returns them at its deadline, not before.
  ASSERT_TRUE(pty.send("$GPGGA,123"));
  auto start = Clock::now();
  EXPECT_EQ(port->read(500, buffer, 100, true), 10);
  long elapsed = msSince(start);
  EXPECT_GE(elapsed, 450);
  EXPECT_LE(elapsed, 800);
  EXPECT_STREQ(buffer, "$GPGGA,123");

  // The full count returns as soon as it is there.
  ASSERT_TRUE(pty.send("0123456789ABCDEFGHIJ"));
  start = Clock::now();
  EXPECT_EQ(port->read(3000, buffer, 20, true), 20);
  EXPECT_LT(msSince(start), 1000);

  // A negative count means the configured default (64 here); the rest stays for the next read.
  ASSERT_TRUE(pty.send(std::string(100, 'x')));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(port->read(300, buffer, -1, true), 64);
  EXPECT_EQ(port->read(300, buffer, 100, true), 36);
  EXPECT_EQ(port->readCalls(), 4u);

  // Silence: nothing read, no error.
  EXPECT_EQ(port->read(100, buffer, 10, true), 0);
  EXPECT_EQ(buffer[0], '\0');
}

TEST_F(PosixPortTest, BytesSentAndPurgedAsTheDeviceSeesThem) {
  EXPECT_EQ(port->baud(), 4800u);
  port->write("$PGRMO,,2*75\r\n", 14);
  EXPECT_EQ(pty.receive(300), "$PGRMO,,2*75\r\n");

  ASSERT_TRUE(pty.send("stale bytes"));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  port->purge();
  EXPECT_EQ(port->read(150, buffer, 50, true), 0);
}

TEST_F(PosixPortTest, UnpluggedLineRaisesAfterKeepingWhatCame) {
  ASSERT_TRUE(pty.send("$GPRMC"));
  std::thread unplug([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    pty.closeMaster();
  });
  auto start = Clock::now();
  EXPECT_EQ(port->read(600, buffer, 100, true), 6);
  unplug.join();
  EXPECT_STREQ(buffer, "$GPRMC");
  std::string text = raisedText([&] { port->read(2000, buffer, 100, true); });
  EXPECT_EQ(text.rfind("Error en la recepcion lasterror= ", 0), 0u) << text;
  EXPECT_LT(msSince(start), 2000) << "a hung-up line must not wait out its time-out";
  EXPECT_EQ(port->read(2000, buffer, 100, false), 0);
}

TEST_F(PosixPortTest, MisuseGivesTheSystemMessages) {
  EXPECT_EQ(raisedText([&] { port->openPath(pty.slavePath(), true); }), "Ya conectado");
  EXPECT_EQ(raisedText([&] { port->setState(12345); }), "SetCommState lasterror= 22");

  // Opened once at a time, like a COM port.
  auto second = createPuertoCom();
  EXPECT_EQ(raisedText([&] { second->openPath(pty.slavePath(), true); }), "CreateFile lasterror= 16");
  EXPECT_FALSE(second->openPath(pty.slavePath(), false));

  port->close();
  EXPECT_FALSE(port->isOpen());
  EXPECT_EQ(raisedText([&] { port->read(10, buffer, 5, true); }), "Error, puerto cerrado!");
  EXPECT_EQ(raisedText([&] { port->write("x", 1); }), "Error, puerto cerrado!");
  EXPECT_EQ(raisedText([&] { port->purge(); }), "Error, puerto cerrado!");
  EXPECT_TRUE(second->openPath(pty.slavePath(), true)) << "closing frees the line";
}

TEST(PosixPortOpen, BadTargetsFailCleanly) {
  auto port = createPuertoCom();
  EXPECT_EQ(raisedText([&] { port->openPath("/dev/no-such-gps", true); }), "CreateFile lasterror= 2");
  EXPECT_FALSE(port->open(-7, false));
  EXPECT_FALSE(port->open(100000, false));
  ASSERT_TRUE(port->openPath("/dev/null", true));  // any path opens; not being a tty shows later
  EXPECT_EQ(raisedText([&] { port->setState(4800); }), "GetCommState lasterror= 25");
}

class MailslotTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = ::getenv("XDG_RUNTIME_DIR");
    if (old) saved_ = old;
    hadOld_ = old != nullptr;
    ::setenv("XDG_RUNTIME_DIR", dir.path().c_str(), 1);
  }
  void TearDown() override {
    if (hadOld_) ::setenv("XDG_RUNTIME_DIR", saved_.c_str(), 1);
    else ::unsetenv("XDG_RUNTIME_DIR");
  }
  test::TempDir dir;
  char buffer[1024] = {};

 private:
  std::string saved_;
  bool hadOld_ = false;
};

TEST_F(MailslotTest, ReceivesForwardedSentencesAndIgnoresLineSettings) {
  auto slot = createPuertoCom();
  ASSERT_TRUE(slot->open(kMailslotPortIndex, true));
  EXPECT_TRUE(slot->isMailslot());
  EXPECT_EQ(mailslotName(), (dir.path() / "orvexgps_movingmap").string());

  sendToMailslot("$GPGSV,1,1,00*79\r\n");
  // None of these touch a mailslot: the queued message survives the purge.
  slot->setBuffers();
  slot->setState(9600);
  slot->setTimeouts();
  slot->purge();
  EXPECT_EQ(slot->read(200, buffer, 100, true), 18);
  EXPECT_STREQ(buffer, "$GPGSV,1,1,00*79\r\n");

  // Longer than a mailslot message: refused at the sender.
  EXPECT_EQ(raisedText([] { sendToMailslot(std::string(kMailslotMessageMax + 1, 'x')); }),
            "Error en la transmisión lasterror= 90");
  sendToMailslot(std::string(kMailslotMessageMax, 'y'));
  EXPECT_EQ(slot->read(200, buffer, 1000, true), 400);

  // A message bigger than the room left waits for the next read.
  sendToMailslot("0123456789");
  EXPECT_EQ(slot->read(100, buffer, 5, true), 0);
  EXPECT_EQ(slot->read(100, buffer, 50, true), 10);

  // Nothing arrives: 0, silently, at the deadline.
  auto start = Clock::now();
  EXPECT_EQ(slot->read(300, buffer, 100, true), 0);
  EXPECT_GE(msSince(start), 250);
  EXPECT_THROW(slot->write("x", 1), TErrorPr);
}

TEST_F(MailslotTest, OneListenerAtATimeAndStaleSocketsTakenOver) {
  auto first = createPuertoCom();
  ASSERT_TRUE(first->open(kMailslotPortIndex, true));
  auto second = createPuertoCom();
  EXPECT_EQ(raisedText([&] { second->open(kMailslotPortIndex, true); }),
            "CreateMailslot lasterror= 98");
  first->close();
  EXPECT_THROW(sendToMailslot("nobody listens"), TErrorPr);

  // A socket left behind by a program that died does not block the name...
  int dead = ::socket(AF_UNIX, SOCK_DGRAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, mailslotName().c_str());
  ASSERT_EQ(::bind(dead, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::close(dead);
  ASSERT_TRUE(second->open(kMailslotPortIndex, true));
  sendToMailslot("hello");
  EXPECT_EQ(second->read(200, buffer, 100, true), 5);
  second->close();

  // ...but a user's own file of that name is never removed.
  std::ofstream(dir.path() / "orvexgps_movingmap") << "keep me";
  EXPECT_FALSE(second->open(kMailslotPortIndex, false));
  EXPECT_EQ(test::readFileBytes(dir.path() / "orvexgps_movingmap"), "keep me");
}

}  // namespace
}  // namespace pixtrail

#endif
