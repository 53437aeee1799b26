// The live receiver panel against a receiver played on a pseudo-terminal.

#include "gui/ReceiverPanel.hpp"

#include <gtest/gtest.h>

#include "gui_test_support.hpp"
#include "tests/devices/pty_pair.hpp"

namespace pixtrail::gui {
namespace {

TEST(ReceiverPanel, ShowsTheFixAsSentencesArrive) {
  test::PtyPair receiver;
  ASSERT_TRUE(receiver.ok());
  ReceiverPanel panel;
  QString message;
  ASSERT_TRUE(panel.connectLine(QString::fromStdString(receiver.slavePath()), ReceiverPanel::kDefaultBaud, message))
      << message.toStdString();
  // The textbook GGA and RMC pair: 48º07.038' N 11º31.000' E, 545.4 m, 8 satellites, HDOP 0.9,
  // 22.4 knots = 41.5 km/h on course 84.4º.
  receiver.send("$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n");
  receiver.send("$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n");
  ASSERT_TRUE(test::waitFor([&] { return panel.counters().lines >= 2; }));
  EXPECT_EQ(panel.value("Fix"), "valid");
  EXPECT_EQ(panel.value("Position"), QString::fromUtf8("48º07.038' N  011º31.000' E"));
  EXPECT_EQ(panel.value("Altitude"), "545.4 m");
  EXPECT_EQ(panel.value("Satellites"), "8");
  EXPECT_EQ(panel.value("HDOP"), "0.9");
  EXPECT_EQ(panel.value("Time (UTC)"), "12:35:19");
  EXPECT_EQ(panel.value("Speed"), "41.5 km/h");
  // A sentence split across reads and a mangled one: the first is joined, the second refused.
  receiver.send("$GPGGA,123520,4807.100,N,0113");
  receiver.send("1.000,E,1,07,1.0,546.0,M,46.9,M,,*47\r\n$GPGGA,garbage*00\r\n");
  ASSERT_TRUE(test::waitFor([&] { return panel.counters().lines >= 4; }));
  EXPECT_EQ(panel.value("Satellites"), "7");
  EXPECT_EQ(panel.value("Position"), QString::fromUtf8("48º07.100' N  011º31.000' E"));
  EXPECT_TRUE(panel.value("Sentences").startsWith("4 (1 refused)")) << panel.value("Sentences").toStdString();
  panel.disconnectLine();
  EXPECT_FALSE(panel.isConnected());
}

TEST(ReceiverPanel, APortThatCannotBeOpenedSaysWhy) {
  ReceiverPanel panel;
  QString message;
  EXPECT_FALSE(panel.connectLine("/dev/pixtrail-no-such-port", ReceiverPanel::kDefaultBaud, message));
  EXPECT_FALSE(panel.isConnected());
  EXPECT_FALSE(message.isEmpty());
}

}  // namespace
}  // namespace pixtrail::gui
