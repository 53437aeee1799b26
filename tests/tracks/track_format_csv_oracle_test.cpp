#include <gtest/gtest.h>

#include "tests/tracks/gpsbabel_oracle.hpp"
#include "tracks/track_file_dispatch.hpp"
#include "tracks/track_format_csv.hpp"

namespace pixtrail {
namespace {

// gpsbabel writes unicsv from our GPX samples; we read that file as CSV and gpsbabel reads it back.
TEST(CsvOracle, UnicsvFilesAgreeWithGpsbabel) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  test::TempDir dir;
  for (const char* name : {"track_gpx_garmin_extensions.gpx", "dop-test.gpx", "basecamp.gpx"}) {
    const auto csv = dir / (std::string(name) + ".csv");
    const auto made = test::runCommand("gpsbabel -t -i gpx -f " +
                                       test::shellQuote(test::testData(std::string("formats/") + name).string()) +
                                       " -o unicsv,utc=0 -F " + test::shellQuote(csv.string()));
    ASSERT_EQ(made.status, 0) << made.err;
    TVolGPS t;
    std::string message;
    ASSERT_TRUE(openTrack(csv, t, {}, message)) << message;
    const test::OracleRun run = test::gpsbabelRead("unicsv,utc=0", csv);
    test::expectSamePoints(t, run, 0.001, name);
    for (std::size_t i = 0; i < t.pointCount(); ++i)
      if (!run.points[i].column("Heartrate").empty()) {
        EXPECT_EQ(std::to_string(t.point(i).heartRate), run.points[i].column("Heartrate"));
      }
  }
  // The headed sample with an altitude in feet and tab separators.
  const auto headed = test::testData("formats/headerdetection.unicsv");
  TVolGPS h;
  std::string message;
  ASSERT_TRUE(readCsvTrackText(test::readFileBytes(headed), "h", h, message)) << message;
  test::expectSamePoints(h, test::gpsbabelRead("unicsv", headed, "-w"), 0.001, "headerdetection");
}

}  // namespace
}  // namespace pixtrail
