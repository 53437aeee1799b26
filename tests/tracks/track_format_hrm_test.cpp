#include "tracks/track_format_hrm.hpp"

#include <gtest/gtest.h>

namespace pixtrail {
namespace {

TEST(HeartRateFile, SamplesAtTheIntervalWithTheColumnsSModeNames) {
  // SMode 111100000: speed, cadence, altitude, power; metric.
  const std::string text =
      "[Params]\r\nVersion=106\r\nMonitor=12\r\nSMode=111100000\r\nDate=20191231\r\n"
      "StartTime=23:59:50.0\r\nLength=00:00:20.0\r\nInterval=5\r\n\r\n[Note]\r\nx\r\n\r\n"
      "[HRData]\r\n91\t252\t80\t120\t200\r\n95\t0\t0\t121\t0\r\n\r\n97\t300\t85\t122\t210\r\n";
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(readHeartRateTrackText(text, "h.hrm", t, message)) << message;
  ASSERT_EQ(t.pointCount(), 3u);
  EXPECT_EQ(t.point(0).time.toRecord(), (DateTimeRecord{31, 12, 2019, 23, 59, 50}));
  EXPECT_EQ(t.point(2).time.toRecord(), (DateTimeRecord{1, 1, 2020, 0, 0, 0})) << "two intervals on";
  EXPECT_EQ(t.point(0).heartRate, 91);
  EXPECT_NEAR(t.point(0).speedMs, 25.2 / 3.6, 1e-5);
  EXPECT_FLOAT_EQ(t.point(0).cadenceRpm, 80.0f);
  EXPECT_FLOAT_EQ(t.point(0).altitude(true), 120.0f);
  EXPECT_FLOAT_EQ(t.point(2).powerW, 210.0f);

  // US units: the altitude column is in feet; version 105 has no power column.
  const std::string us =
      "[Params]\nVersion=105\nSMode=00100001\nDate=20200101\nStartTime=10:00:00\nInterval=1\n[HRData]\n100\t1000\n";
  TVolGPS u;
  ASSERT_TRUE(readHeartRateTrackText(us, "u.hrm", u, message)) << message;
  EXPECT_NEAR(u.point(0).altitude(true), 304.8, 1e-3);

  const struct { std::string text; std::string message; } failures[] = {
      {"[Params]\nDate=20200101\n[HRData]\n100\n", "f.hrm: no Date, StartTime and Interval in the [Params] section"},
      {"[Params]\nDate=20200101\nStartTime=10:00:00\nInterval=238\n[HRData]\n800\n", "f.hrm: R-R interval recordings are not read"},
      {"[Params]\nDate=20200101\nStartTime=10:00:00\nInterval=1\n[HRData]\n", "f.hrm: no samples in the [HRData] section"},
  };
  for (const auto& f : failures) {
    TVolGPS none;
    std::string m;
    EXPECT_FALSE(readHeartRateTrackText(f.text, "f.hrm", none, m));
    EXPECT_EQ(m, f.message);
  }
}

}  // namespace
}  // namespace pixtrail
