// Inputs the fuzz harnesses found: each must read, write, read and write again to the same text.
#include <gtest/gtest.h>

#include "tests/support/datum_fixture.hpp"
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

// Point-line finds: the first byte is the coordinate mode, the rest the line.
TEST(FuzzFinds, PointLinesWriteBackAsRead) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const struct { const char* file; const char* why; } rows[] = {
      {"fuzz/point_line_utm_far_easting.bin", "a UTM easting thousands of km out of its zone"},
      {"fuzz/point_line_utm_equator.bin", "northing 0 of a northern band came back in band M"},
  };
  for (const auto& r : rows) {
    const std::string bytes = test::readFileBytes(test::testData(r.file));
    ASSERT_FALSE(bytes.empty());
    const FileCoordinates file{kDatumWgs84, bytes[0] % kFileCoordinateModeCount};
    TPuntVol p;
    if (!parsePointLine(bytes.substr(1), file, p)) continue;  // refusing it is a fine answer
    std::string once, twice, message;
    if (!appendPointLine(p, file, true, once, message)) continue;
    TPuntVol q;
    ASSERT_TRUE(parsePointLine(once, file, q)) << r.why << ": " << once;
    ASSERT_TRUE(appendPointLine(q, file, true, twice, message));
    EXPECT_EQ(once, twice) << r.why;
  }
}

}  // namespace
}  // namespace pixtrail
