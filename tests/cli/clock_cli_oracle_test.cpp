// The positioning error written with --write-error, read back by exiftool; --max-jump.

#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tests/cli/walk_track.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

TEST(GeotagConfidence, ErrorWrittenAsExiftoolReadsItAndJumpsRefused) {
  test::TempDir dir;
  test::writeWalkTrack(dir / "walk.trk");
  const std::string base = "geotag --track " + shellQuote((dir / "walk.trk").string()) + " --json --out " +
                           shellQuote((dir / "out").string()) + " " +
                           shellQuote(test::testData("photos/Canon.jpg").string());
  auto r = test::runPixtrail(base + " --max-jump 100");
  ASSERT_EQ(r.status, 0) << r.err;
  nlohmann::json row = nlohmann::json::parse(r.out)[0];
  EXPECT_EQ(row["status"], "not-covered");
  EXPECT_EQ(row["message"], "The track jumps 111 m between the points around this time");
  EXPECT_FALSE(std::filesystem::exists(dir / "out/Canon.jpg"));

  r = test::runPixtrail(base + " --max-jump 120 --write-error");
  ASSERT_EQ(r.status, 0) << r.err;
  row = nlohmann::json::parse(r.out)[0];
  ASSERT_EQ(row["status"], "tagged");
  EXPECT_NEAR(row["jump_m"].get<double>(), 111.0, 0.5);  // 0.001 degree of latitude near 40 N
  EXPECT_EQ(row["gap_s"], 60.0);
  EXPECT_EQ(row["nearest_s"], 8.0);                       // 06:46:52 against the 06:47:00 fix
  EXPECT_TRUE(row["hdop"].is_null());
  EXPECT_FALSE(row["at_end"].get<bool>());
  if (!test::haveTool("exiftool")) GTEST_SKIP() << "exiftool not installed";
  const auto tool = test::runCommand("exiftool -n -s3 -GPSHPositioningError -GPSLatitude " +
                                     shellQuote((dir / "out/Canon.jpg").string()));
  ASSERT_EQ(tool.status, 0) << tool.err;
  const double written = std::strtod(tool.out.c_str(), nullptr);
  EXPECT_NEAR(written, row["error_m"].get<double>(), 0.005) << tool.out;
  const std::size_t second = tool.out.find('\n');
  EXPECT_NEAR(std::strtod(tool.out.c_str() + second + 1, nullptr), row["lat"].get<double>(), 1e-6) << tool.out;
}

}  // namespace
}  // namespace pixtrail
