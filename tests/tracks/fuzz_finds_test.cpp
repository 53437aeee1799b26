// Inputs the fuzz harnesses found: each must read, write, read and write again to the same text.
#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/track_file_native.hpp"

namespace pixtrail {
namespace {

std::string nativeTwice(const std::string& text, std::string& once) {
  std::string message, twice;
  TVolGPS a, b;
  FileCoordinates fa, fb;
  parseNativeTrack(text, a, fa, message);
  NativeTrackWriteOptions options;
  options.file = fa;
  EXPECT_TRUE(formatNativeTrack(a, options, once, message));
  EXPECT_TRUE(parseNativeTrack(once, b, fb, message));
  EXPECT_TRUE(formatNativeTrack(b, options, twice, message));
  return twice;
}

std::string waypointsTwice(const std::string& text, std::string& once) {
  std::string message, twice;
  TBalizas a, b;
  parseWaypointFile(text, a, message);
  EXPECT_TRUE(formatWaypointFile(a, a.file, {}, once, message));
  EXPECT_TRUE(parseWaypointFile(once, b, message));
  EXPECT_TRUE(formatWaypointFile(b, b.file, {}, twice, message));
  return twice;
}

TEST(FuzzFinds, ReadWriteReadWriteIsStable) {
  const struct { const char* file; bool waypoints; const char* why; } rows[] = {
      {"fuzz/track_file_negative_hour.TRK", false, "an E line time with negated hours was written as 99"},
      {"fuzz/waypoint_trailing_cr.wpt", true, "a carriage return before a trailing blank stayed in the description"},
  };
  for (const auto& r : rows) {
    const std::string text = test::readFileBytes(test::testData(r.file));
    std::string once;
    const std::string twice = r.waypoints ? waypointsTwice(text, once) : nativeTwice(text, once);
    EXPECT_EQ(once, twice) << r.why;
  }
}

}  // namespace
}  // namespace pixtrail
