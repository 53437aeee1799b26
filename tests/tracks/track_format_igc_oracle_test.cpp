#include <gtest/gtest.h>

#include "tests/tracks/gpsbabel_oracle.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

// gpsbabel gives an IGC log as two tracks, pressure altitudes first, then GNSS altitudes; ours is
// one track holding both. Compared once per altitude kind.
void expectSameAsGpsbabel(const TVolGPS& ours, const std::filesystem::path& file, const std::string& what) {
  test::OracleRun run = test::gpsbabelRead("igc", file);
  ASSERT_EQ(run.points.size(), 2 * ours.pointCount()) << what << run.errors;
  for (int kind = 0; kind < 2; ++kind) {
    TVolGPS copy;
    for (std::size_t i = 0; i < ours.pointCount(); ++i) {
      auto p = ours.point(i).clone();
      p->setAltitude(kind == 0 ? ours.point(i).barometricAltitudeM : ours.point(i).gpsAltitudeM);
      copy.appendPoint(std::move(p));
    }
    test::OracleRun half = run;
    half.points.assign(run.points.begin() + kind * static_cast<long>(ours.pointCount()),
                       run.points.begin() + (kind + 1) * static_cast<long>(ours.pointCount()));
    test::expectSamePoints(copy, half, 0.5, what + (kind == 0 ? " pressure" : " GNSS"));
  }
}

TEST(IgcOracle, SampleAndOurOwnLogAgreeWithGpsbabel) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  const auto sample = test::testData("formats/igc2.igc");
  TVolGPS track;
  std::string message;
  ASSERT_TRUE(openTrack(sample, track, {}, message)) << message;
  expectSameAsGpsbabel(track, sample, "sample");

  test::TempDir dir;
  const auto written = dir / "ours.IGC";
  ASSERT_TRUE(saveTrack(track, written, {}, message)) << message;
  const test::OracleRun run = test::gpsbabelRead("igc", written);
  EXPECT_EQ(run.errors, "");
  TVolGPS back;
  ASSERT_TRUE(openTrack(written, back, {}, message)) << message;
  expectSameAsGpsbabel(back, written, "written");
}

}  // namespace
}  // namespace pixtrail
