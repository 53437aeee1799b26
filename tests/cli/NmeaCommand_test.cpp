// The nmea command over logs and standard input: one line of output a sentence.
#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::jsonLines;

TEST(NmeaCommand, JsonLinesFollowTheLog) {
  const auto file = test::testData("nmea/track_nmeadate.nmea");
  const auto run = test::runPixtrail("nmea --json " + test::shellQuote(file.string()));
  ASSERT_EQ(run.status, 0) << run.err;
  const auto lines = jsonLines(run.out);
  ASSERT_EQ(lines.size(), 24u);
  // Line 2: $GPGGA,032908.379,4231.829,N,08807.303,W,1,05,1.6,209.800,M,-34.2,M,,*6A
  const auto& gga = lines[1];
  EXPECT_EQ(gga["line"], 2);
  EXPECT_EQ(gga["type"], "GGA");
  EXPECT_EQ(gga["checksum_ok"], true);
  EXPECT_EQ(gga["changed"], true);
  EXPECT_TRUE(gga["error"].is_null());
  const auto& fix = gga["fix"];
  EXPECT_EQ(fix["valid"], true);
  EXPECT_NEAR(fix["lat"].get<double>(), 42.0 + 31.829 / 60.0, 1e-12);
  EXPECT_NEAR(fix["lon"].get<double>(), -(88.0 + 7.303 / 60.0), 1e-12);
  EXPECT_NEAR(fix["alt"].get<double>(), 209.8, 1e-4);
  EXPECT_EQ(fix["sats"], 5);
  EXPECT_EQ(fix["hdop"], 1.6);
  EXPECT_EQ(fix["time"], "032908.379");
  EXPECT_EQ(fix["date"], "070898");  // from the RMC before it
  // Line 3 is a VTG: the fix stays, nothing changed; its speed is 0.162 knots.
  EXPECT_EQ(lines[2]["changed"], false);
  EXPECT_NEAR(lines[2]["fix"]["speed_ms"].get<double>(), 0.162 * 1853.32 / 3600.0, 1e-12);
  // Line 10: GGA quality 2.
  EXPECT_EQ(lines[9]["fix"]["differential"], true);
}

TEST(NmeaCommand, BadLinesAreReportedAndTheRunGoesOn) {
  const auto file = test::testData("nmea/mtk_locus.nmea");
  const auto run = test::runPixtrail("nmea --json " + test::shellQuote(file.string()));
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("line 1: Wrong NMEA message. ($ symbol not found)"), std::string::npos) << run.err;
  const auto lines = jsonLines(run.out);
  ASSERT_EQ(lines.size(), 16u);
  EXPECT_EQ(lines[0]["error"], "Wrong NMEA message. ($ symbol not found)");
  EXPECT_TRUE(lines[0]["type"].is_null());
  EXPECT_EQ(lines[3]["fix"]["valid"], true);
}

TEST(NmeaCommand, ChecksumSettingAndStandardInput) {
  const std::string bad = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*48\r\n";
  auto run = test::runPixtrail("nmea --json -", bad);
  ASSERT_EQ(run.status, 0) << run.err;
  auto lines = jsonLines(run.out);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]["checksum_ok"], false);
  EXPECT_EQ(lines[0]["changed"], false);
  EXPECT_EQ(lines[0]["fix"]["valid"], false);

  run = test::runPixtrail("nmea --no-checksum -", bad);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "1 GGA checksum=bad changed valid 48.117300000 11.516666667 alt=545.4000 sats=8 hdop=0.9 "
                     "time=123519\n");
}

// A line longer than any sentence (binary junk on a serial line) is reported once and skipped
// to its end; the sentences after it are read as usual, and the line count stays right.
TEST(NmeaCommand, AnOverlongLineIsSkippedAndTheStreamGoesOn) {
  const std::string good = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";
  const std::string junk(3 << 20, 'x');
  const auto run = test::runPixtrail("nmea --json -", good + junk + "\n" + good);
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("line 2: line too long"), std::string::npos) << run.err;
  const auto lines = jsonLines(run.out);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["line"], 1);
  EXPECT_EQ(lines[1]["line"], 3);
  EXPECT_EQ(lines[1]["type"], "GGA");
}

TEST(NmeaCommand, TakesTheDispatchSettingsFromGpsIni) {
  test::TempDir dir;
  test::writeFileBytes(dir / "gps.ini", "[General]\nUse_Checksum_NMEA=0\nComanda_NMEA_MovingMap=RMC\n");
  const std::string badGga = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*48\r\n";
  const std::string badRmc = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6B\r\n";
  const auto run = test::runPixtrailWith(dir / "gps.ini", "nmea --json -", badGga + badRmc);
  ASSERT_EQ(run.status, 0) << run.err;
  const auto lines = jsonLines(run.out);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["changed"], false);  // GGA is not the preferred sentence
  EXPECT_EQ(lines[1]["changed"], true);   // a bad checksum is taken with checking off
  EXPECT_EQ(test::readFileBytes(dir / "gps.ini"), "[General]\nUse_Checksum_NMEA=0\nComanda_NMEA_MovingMap=RMC\n");
}

TEST(NmeaCommand, UnreadableInputIsAUsageError) {
  const auto run = test::runPixtrail("nmea /nonexistent/log.nmea");
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.err.find("Error opening /nonexistent/log.nmea"), std::string::npos);
}

}  // namespace
}  // namespace pixtrail
