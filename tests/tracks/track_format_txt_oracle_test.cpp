#include <gtest/gtest.h>

#include "tests/tracks/gpsbabel_oracle.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

// gpsbabel writes MapSource text in each of its position grids; both read it back.
TEST(MapSourceTextOracle, GpsbabelWrittenTextAgrees) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  test::TempDir dir;
  const auto gpx = test::testData("formats/track_gpx_garmin_extensions.gpx");
  for (const char* grid : {"ddd", "dmm", "dms"}) {
    const auto txt = dir / (std::string(grid) + ".txt");
    const auto made = test::runCommand("gpsbabel -t -i gpx -f " + test::shellQuote(gpx.string()) +
                                       " -o garmin_txt,utc=0,prec=9,grid=" + grid + " -F " +
                                       test::shellQuote(txt.string()));
    ASSERT_EQ(made.status, 0) << made.err;
    TVolGPS t;
    std::string message;
    ASSERT_TRUE(openTrack(txt, t, {}, message)) << grid << message;
    test::expectSamePoints(t, test::gpsbabelRead("garmin_txt,utc=0", txt), 1.0, grid);
  }
  const auto sample = test::testData("formats/garmin_txt.txt");
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(openTrack(sample, t, {}, message)) << message;
  test::expectSamePoints(t, test::gpsbabelRead("garmin_txt,utc=0", sample), 1.0, "sample");
}

}  // namespace
}  // namespace pixtrail
