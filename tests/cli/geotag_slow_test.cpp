// An in-place geotag run killed half way, several times over.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>

#include "photos/TJpegExif.hpp"
#include "tests/cli/walk_track.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

std::string restAfterExif(const std::string& jpeg) {
  const std::size_t app1 = jpeg.find("\xFF\xE1");
  const std::size_t length = (static_cast<unsigned char>(jpeg[app1 + 2]) << 8) | static_cast<unsigned char>(jpeg[app1 + 3]);
  return jpeg.substr(app1 + 2 + length);
}

using GeotagKill = test::WalkFixture;

// Killed at random moments of an in-place run, every photo is either untouched or completely
// geotagged: never half-written, never missing.
TEST_F(GeotagKill, KilledInPlaceRunLeavesNoDamagedPhoto) {
  constexpr int kPhotos = 400;
  for (int i = 0; i < kPhotos; ++i) test::writeFileBytes(dir / ("photos/p" + std::to_string(i) + ".jpg"), original);
  const std::string rest = restAfterExif(original);
  const std::string command = shellQuote(PIXTRAIL_CLI_PATH) + " " + run("--in-place " + shellQuote((dir / "photos").string())) +
                              " > /dev/null 2>&1";
  // The kills land at fractions of a whole run measured here, so a fast or a loaded machine
  // still interrupts runs half way.
  const auto start = std::chrono::steady_clock::now();
  test::runCommand(command);
  const double wholeRunS = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  for (int i = 0; i < kPhotos; ++i) test::writeFileBytes(dir / ("photos/p" + std::to_string(i) + ".jpg"), original);
  int interrupted = 0;
  for (const double fraction : {0.2, 0.35, 0.5, 0.65, 0.8}) {
    char delay[32];
    std::snprintf(delay, sizeof delay, "%.3f", fraction * wholeRunS);
    test::runCommand("timeout -s KILL " + std::string(delay) + " " + command);
    int tagged = 0, untouched = 0;
    for (int i = 0; i < kPhotos; ++i) {
      const auto file = dir / ("photos/p" + std::to_string(i) + ".jpg");
      ASSERT_TRUE(std::filesystem::exists(file)) << file;
      const std::string bytes = test::readFileBytes(file);
      if (bytes == original) {
        ++untouched;
        continue;
      }
      TJpegExif exif;
      std::string message;
      ExifGpsPosition gps;
      ASSERT_TRUE(exif.Read(file, message) && exif.ReadGps(gps, message)) << file << ": " << message;
      EXPECT_NEAR(gps.lat, 40.046 + 0.001 * 52.0 / 60.0, 0.002 / 3600) << file;
      ASSERT_EQ(restAfterExif(bytes), rest) << file;
      ++tagged;
    }
    EXPECT_EQ(tagged + untouched, kPhotos);
    if (tagged > 0 && untouched > 0) ++interrupted;
    // Start the next round from the originals again.
    for (int i = 0; i < kPhotos; ++i) test::writeFileBytes(dir / ("photos/p" + std::to_string(i) + ".jpg"), original);
  }
  EXPECT_GT(interrupted, 0) << "no run was caught half way; the test proved nothing";
}

}  // namespace
}  // namespace pixtrail
