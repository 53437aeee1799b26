#include <gtest/gtest.h>

#include "tests/tracks/gpsbabel_oracle.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

TEST(OziOracle, SampleAndOurOwnFileAgreeWithGpsbabel) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  const auto sample = test::testData("formats/track_20070813_short.plt");
  TVolGPS track;
  std::string message;
  ASSERT_TRUE(openTrack(sample, track, {}, message)) << message;
  // The date column has seven decimals of a day (8.64 ms), but gpsbabel's times on this file lie
  // up to 0.67 s from it (0.3279977 day is 07:52:19.001; the time text says 07:52:19; gpsbabel
  // gives 07:52:19.328), so times agree to the second only.
  test::expectSamePoints(track, test::gpsbabelRead("ozi", sample), 1.0, "sample");

  test::TempDir dir;
  const auto written = dir / "ours.plt";
  ASSERT_TRUE(saveTrack(track, written, {}, message)) << message;
  const test::OracleRun run = test::gpsbabelRead("ozi", written);
  EXPECT_EQ(run.errors, "");
  TVolGPS back;
  ASSERT_TRUE(openTrack(written, back, {}, message)) << message;
  test::expectSamePoints(back, run, 1.0, "written");
}

}  // namespace
}  // namespace pixtrail
