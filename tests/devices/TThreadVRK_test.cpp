// The port watch thread between a pty playing the receiver and a notification loop playing the
// owner's event loop.
#ifndef _WIN32

#include "devices/TThreadVRK.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/devices/pty_device_fixture.hpp"

namespace pixtrail {
namespace {

using Clock = std::chrono::steady_clock;
using Kind = CommNotification::Kind;

class WatchThreadTest : public test::PtyDeviceTest {
 protected:
  void SetUp() override {
    PtyDeviceTest::SetUp();
    device->watch(loop);
  }
  // The watch thread posts to the loop: the device goes first.
  void TearDown() override { device.reset(); }
  NotificationLoop loop;
  char buffer[300] = {};
};

TEST_F(WatchThreadTest, OneNotificationOutstandingUntilTheOwnerHasRead) {
  EXPECT_FALSE(loop.wait(150)) << "a quiet line posts nothing";

  ASSERT_TRUE(pty.send("$GPGSV,1,1,00*79\r\n"));
  auto note = loop.wait(1000);
  ASSERT_TRUE(note);
  EXPECT_EQ(note->kind, Kind::data);
  EXPECT_EQ(note->port, device->port().handle());
  EXPECT_TRUE(device->watcher()->dataWaiting());

  // More bytes while the owner has not read: still just the one notification.
  ASSERT_TRUE(pty.send("$GPGSA,A,1*1E\r\n"));
  EXPECT_FALSE(loop.wait(200));

  EXPECT_EQ(device->port().read(100, buffer, 200, true), 33);
  device->watcher()->consumed();
  EXPECT_FALSE(device->watcher()->dataWaiting());
  EXPECT_FALSE(loop.wait(200)) << "everything was read: nothing new to announce";

  const auto sent = Clock::now();
  ASSERT_TRUE(pty.send("$GPGLL*1D\r\n"));
  ASSERT_TRUE(loop.wait(1000));
  // Within a sentence's time at 4800 baud (about 170 ms for 82 characters).
  EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - sent).count(), 100);
}

TEST_F(WatchThreadTest, UnpluggedLineEndsTheThreadWithALineError) {
  pty.closeMaster();
  auto note = loop.wait(2000);
  ASSERT_TRUE(note);
  EXPECT_EQ(note->kind, Kind::lineError);
  EXPECT_EQ(note->text, "Error en la recepcion");
  for (int i = 0; i < 100 && device->watcher()->running(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_FALSE(device->watcher()->running());
}

TEST_F(WatchThreadTest, StopsPromptlyWhileWaitingOnEitherSide) {
  // Blocked on the port.
  auto start = Clock::now();
  device->close();
  EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count(), 500);

  // Blocked on the consumer's event (data announced, never read).
  device->open();
  device->watch(loop);
  ASSERT_TRUE(pty.send("$GPGSV,1,1,00*79\r\n"));
  ASSERT_TRUE(loop.wait(1000));
  ASSERT_TRUE(pty.send("more"));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  start = Clock::now();
  device->close();
  EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count(), 500);
}

TEST(WatchThread, PortThatCannotBeWatchedGivesTheTtyError) {
  auto closed = createPuertoCom();
  NotificationLoop loop;
  PortWatchThread watcher(*closed, loop);
  watcher.start();
  auto note = loop.wait(1000);
  ASSERT_TRUE(note);
  EXPECT_EQ(note->kind, Kind::threadError);
  EXPECT_EQ(note->text, "Failed to create event for thread!");
  EXPECT_EQ(note->title, "TTY Error!");
}

TEST(NotificationLoopTest, KeepsArrivalOrderAndQuitWakesTheOwner) {
  NotificationLoop loop;
  loop.post({1, Kind::data, "", ""});
  loop.post({2, Kind::lineError, "x", ""});
  EXPECT_EQ(loop.wait(0)->port, 1u);
  EXPECT_EQ(loop.wait(0)->port, 2u);
  std::thread quitter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    loop.quit();
  });
  const auto start = Clock::now();
  EXPECT_FALSE(loop.wait(-1));
  quitter.join();
  EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count(), 1000);
}

}  // namespace
}  // namespace pixtrail

#endif
