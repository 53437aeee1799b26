#include "tracks/track_format_nmea.hpp"

#include <gtest/gtest.h>

#include "devices/TComandaNMEA.hpp"
#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

// Builds a sentence with its checksum through the system's own sentence builder.
std::string sentence(std::string_view body) {
  unsigned char sum = 0;
  for (char c : body) sum ^= static_cast<unsigned char>(c);
  char tail[8];
  std::snprintf(tail, sizeof tail, "*%02X", sum);
  return "$" + std::string(body) + tail + "\r\n";
}

TEST(NmeaLog, OnePointPerEpochWithEverySentencesValues) {
  const std::string log =
      sentence("GPRMC,235959.00,A,4807.038,N,01131.000,E,10.0,84.4,311219,,") +
      sentence("GPGGA,235959.00,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,") +
      sentence("GPGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1") +
      sentence("GPGGA,000001.00,4807.040,N,01131.010,E,1,08,0.9,546.0,M,46.9,M,,") +
      sentence("GPVTG,90.0,T,,M,,N,36.0,K") +
      sentence("GPGGA,000002.00,,,,,0,00,,,M,,M,,") +             // no fix: no point
      sentence("GPRMC,000003.00,V,4807.040,N,01131.010,E,,,010120,,") +  // void: no point
      "$GPGGA,000004.00,4807.050,N,01131.020,E,1,08,0.9,547.0,M,46.9,M,,*00\r\n" +  // bad checksum
      "garbage line\n";
  TVolGPS t;
  std::string message;
  NmeaLogStats stats;
  ASSERT_TRUE(readNmeaLogText(log, "x.nmea", {}, t, message, &stats)) << message;
  ASSERT_EQ(t.pointCount(), 2u);
  // 48°07.038' N = 48.1173, 11°31.000' E = 11.516666..., by hand.
  EXPECT_NEAR(t.point(0).position.lat, 48.1173, 1e-9);
  EXPECT_NEAR(t.point(0).position.lon, 11.5166667, 1e-7);
  EXPECT_FLOAT_EQ(t.point(0).altitude(true), 545.4f);
  EXPECT_NEAR(t.point(0).speedMs, 10.0 * 1852 / 3600, 1e-5);
  EXPECT_FLOAT_EQ(t.point(0).courseDeg, 84.4f);
  EXPECT_EQ(t.point(0).satellites, 8);
  EXPECT_EQ(t.point(0).fixType, 3);
  EXPECT_EQ(t.point(0).time.toRecord(), (DateTimeRecord{31, 12, 2019, 23, 59, 59}));
  EXPECT_EQ(t.point(1).time.toRecord(), (DateTimeRecord{1, 1, 2020, 0, 0, 1})) << "midnight carried";
  EXPECT_NEAR(t.point(1).speedMs, 10.0, 1e-5) << "VTG 36 km/h";
  EXPECT_FLOAT_EQ(t.point(1).courseDeg, 90.0f);
  EXPECT_EQ(stats.unreadable, 2u);
  EXPECT_NE(message.find("2 unreadable sentences skipped"), std::string::npos);
}

TEST(NmeaLog, GgaOnlyLogsTakeTheNearestRmcDateOrTheUsers) {
  // GGA before the first RMC, across midnight backwards: 23:59:58 lies on the day before.
  const std::string log = sentence("GPGGA,235958,4807.038,N,01131.000,E,1,08,0.9,545.4,M,,M,,") +
                          sentence("GPGGA,000000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,,M,,") +
                          sentence("GPRMC,000001,A,4807.038,N,01131.000,E,0,0,150320,,") +
                          sentence("GPGGA,000002,4807.038,N,01131.000,E,1,08,0.9,545.4,M,,M,,");
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(readNmeaLogText(log, "g.nmea", {}, t, message)) << message;
  ASSERT_EQ(t.pointCount(), 4u);
  EXPECT_EQ(t.point(0).time.toRecord(), (DateTimeRecord{14, 3, 2020, 23, 59, 58}));
  EXPECT_EQ(t.point(1).time.toRecord(), (DateTimeRecord{15, 3, 2020, 0, 0, 0}));
  EXPECT_EQ(t.point(3).time.toRecord(), (DateTimeRecord{15, 3, 2020, 0, 0, 2}));

  const std::string ggaOnly = sentence("GPGGA,120000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,,M,,");
  TVolGPS undated, dated;
  message.clear();
  ASSERT_TRUE(readNmeaLogText(ggaOnly, "u.nmea", {}, undated, message));
  EXPECT_NE(message.find("no date"), std::string::npos);
  DateTimeValue v = 0;
  EXPECT_FALSE(undated.point(0).time.toValue(v)) << "a time of day only";
  EXPECT_EQ(undated.point(0).time.hour, 12);
  NmeaLogOptions options;
  options.date = DateTimeRecord{29, 2, 2024, 0, 0, 0};
  ASSERT_TRUE(readNmeaLogText(ggaOnly, "d.nmea", options, dated, message));
  EXPECT_EQ(dated.point(0).time.toRecord(), (DateTimeRecord{29, 2, 2024, 12, 0, 0}));
}

TEST(MagellanLog, ReadWriteAndTheSystemsMessage) {
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(openTrack(test::testData("formats/track_magellandate.log"), t, {}, message)) << message;
  ASSERT_EQ(t.pointCount(), 6u);
  EXPECT_NEAR(t.point(0).position.lat, 42 + 31.829 / 60, 1e-9);
  EXPECT_NEAR(t.point(0).position.lon, -(88 + 7.303 / 60), 1e-9);
  EXPECT_FLOAT_EQ(t.point(0).altitude(true), 210.0f);
  const DateTimeRecord third = t.point(2).time.toRecord();  // 032910.38 on 070800
  EXPECT_EQ(third.year * 10000 + third.month * 100 + third.day, 20000807);
  EXPECT_NEAR(third.hour * 3600 + third.minute * 60 + third.seconds, 3 * 3600 + 29 * 60 + 10.38, 1e-5);

  TVolGPS back;
  ASSERT_TRUE(readMagellanLogText(magellanLogText(t), "m.log", back, message)) << message;
  ASSERT_EQ(back.pointCount(), t.pointCount());
  for (std::size_t i = 0; i < t.pointCount(); ++i) {
    EXPECT_NEAR(back.point(i).position.lat, t.point(i).position.lat, 1e-6);  // 0.0001 minute
    EXPECT_NEAR(back.point(i).position.lon, t.point(i).position.lon, 1e-6);
    EXPECT_EQ(back.point(i).time.toRecord(), t.point(i).time.toRecord()) << i;
  }
  TVolGPS none;
  message.clear();
  EXPECT_FALSE(readMagellanLogText("$PMGNCMD,END*3D\r\n", "e.log", none, message));
  EXPECT_EQ(message, "Error reading Magellan log file.");
}

TEST(MagellanLog, PlainNmeaLogsNamedLogAreSniffed) {
  test::TempDir dir;
  test::writeFileBytes(dir / "logger.log", test::readFileBytes(test::testData("nmea/track.nmea")));
  TVolGPS asLog, asNmea;
  std::string message;
  ASSERT_TRUE(openTrack(dir / "logger.log", asLog, {}, message)) << message;
  ASSERT_TRUE(openTrack(test::testData("nmea/track.nmea"), asNmea, {}, message)) << message;
  ASSERT_EQ(asLog.pointCount(), asNmea.pointCount());
  EXPECT_GT(asLog.pointCount(), 100u);
}

}  // namespace
}  // namespace pixtrail
