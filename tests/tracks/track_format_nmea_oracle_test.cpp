#include <gtest/gtest.h>

#include "tests/tracks/gpsbabel_oracle.hpp"
#include "tracks/track_file_dispatch.hpp"
#include "tracks/track_format_nmea.hpp"

namespace pixtrail {
namespace {

TEST(NmeaOracle, LoggerFilesAgreeWithGpsbabel) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  const auto file = test::testData("nmea/track.nmea");
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(openTrack(file, t, {}, message)) << message;
  test::expectSamePoints(t, test::gpsbabelRead("nmea", file), 0.001, "track.nmea");

  // A GGA-only log dated by the user, across midnight.
  const auto gga = test::testData("nmea/track_adddate.nmea");
  TrackFileSettings settings;
  settings.logDate = DateTimeRecord{1, 1, 2010, 0, 0, 0};
  TVolGPS dated;
  message.clear();
  ASSERT_TRUE(openTrack(gga, dated, settings, message)) << message;
  test::expectSamePoints(dated, test::gpsbabelRead("nmea,date=20100101", gga), 0.001, "GGA only");
}

TEST(MagellanOracle, SampleAndOurOwnLogAgreeWithGpsbabel) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  const auto sample = test::testData("formats/track_magellandate.log");
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(openTrack(sample, t, {}, message)) << message;
  // gpsbabel reads the two-digit years 98 and 99 as 2098 and 2099, we as 1998 and 1999 (the
  // receiver's own era); the rows from 2000 on are compared.
  test::OracleRun run = test::gpsbabelRead("magellan", sample);
  run.points.erase(run.points.begin(), run.points.begin() + 2);
  TVolGPS tail;
  for (std::size_t i = 2; i < t.pointCount(); ++i) tail.appendPoint(t.point(i).clone());
  test::expectSamePoints(tail, run, 0.01, "sample");

  test::TempDir dir;
  const auto written = dir / "ours.log";
  ASSERT_TRUE(saveTrack(tail, written, {}, message)) << message;
  const test::OracleRun back = test::gpsbabelRead("magellan", written);
  EXPECT_EQ(back.errors, "");
  TVolGPS reread;
  ASSERT_TRUE(openTrack(written, reread, {}, message)) << message;
  test::expectSamePoints(reread, back, 0.01, "written");
}

}  // namespace
}  // namespace pixtrail
