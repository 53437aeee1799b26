#include "tracks/xml_element_stream.hpp"

#include <gtest/gtest.h>

#include <chrono>

#include "core/input_limits.hpp"
#include "tests/support/test_support.hpp"
#include "tracks/track_format_gpx.hpp"
#include "tracks/track_formats_foreign.hpp"

namespace pixtrail {
namespace {

// Hostile shapes end quickly, in a message naming the limit, instead of growing memory or time
// with the input.
TEST(XmlLimits, HostileShapesEndInAMessageWithinABoundedTime) {
  constexpr std::size_t kMillion = 1'000'000;
  auto repeat = [](std::string_view piece, std::size_t n) {
    std::string out;
    out.reserve(piece.size() * n);
    for (std::size_t i = 0; i < n; ++i) out += piece;
    return out;
  };
  struct Case {
    std::string what, xml, reason;
  };
  const Case cases[] = {
      {"elements nested a million deep", "<gpx><trk><trkseg><trkpt lat=\"1\" lon=\"2\">" + repeat("<x>", kMillion),
       "nested too deeply"},
      {"containers nested a million deep", "<gpx>" + repeat("<trk>", kMillion), "nested too deeply"},
      {"a name of 8 MB", "<gpx><" + std::string(8 * limits::kMiB, 'n') + ">", "name too long"},
      {"an element larger than the limit",
       "<gpx><wpt lat=\"1\" lon=\"2\"><name>" + std::string(limits::kMaxXmlElementBytes + limits::kMiB, 'x'),
       "too large"},
      {"text between elements larger than the limit",
       "<gpx>" + std::string(limits::kMaxXmlElementBytes + limits::kMiB, ' ') + "</gpx>", "too long"},
  };
  test::TempDir dir;
  for (const Case& c : cases) {
    const auto file = dir / "hostile.gpx";
    test::writeFileBytes(file, c.xml);
    TVolGPS track;
    std::string message;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(readGpxTrack(file, track, {}, message)) << c.what;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4)) << c.what;
    EXPECT_NE(message.find(c.reason), std::string::npos) << c.what << ": " << message.substr(0, 200);
  }
}

// The limits leave real shapes alone: nesting a few levels below the limit still reads.
TEST(XmlLimits, DeepButReasonableNestingStillReads) {
  std::string xml = "<gpx><trk><trkseg><trkpt lat=\"1.5\" lon=\"2.5\"><extensions>";
  const std::size_t levels = limits::kMaxXmlDepth - 10;
  for (std::size_t i = 0; i < levels; ++i) xml += "<e>";
  for (std::size_t i = 0; i < levels; ++i) xml += "</e>";
  xml += "</extensions></trkpt></trkseg></trk></gpx>";
  test::TempDir dir;
  test::writeFileBytes(dir / "deep.gpx", xml);
  TVolGPS track;
  std::string message;
  ASSERT_TRUE(readGpxTrack(dir / "deep.gpx", track, {}, message)) << message;
  ASSERT_EQ(track.pointCount(), 1u);
  EXPECT_DOUBLE_EQ(track.point(0).position.lat, 1.5);
}

}  // namespace
}  // namespace pixtrail
