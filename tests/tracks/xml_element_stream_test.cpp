#include "tracks/xml_element_stream.hpp"

#include <gtest/gtest.h>

#include <chrono>

#include "core/input_limits.hpp"
#include "tests/support/test_support.hpp"
#include "tracks/track_format_gpx.hpp"
#include "tracks/track_file_dispatch.hpp"

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
  // Nesting must fail at once (a million levels used to take 11 s); the large inputs are about
  // memory, their time is mostly reading 65 MB.
  struct Case {
    std::string what, xml, reason;
    int maxSeconds;
  };
  const Case cases[] = {
      {"elements nested a million deep", "<gpx><trk><trkseg><trkpt lat=\"1\" lon=\"2\">" + repeat("<x>", kMillion),
       "nested too deeply", 2},
      {"containers nested a million deep", "<gpx>" + repeat("<trk>", kMillion), "nested too deeply", 2},
      {"a name of 8 MB", "<gpx><" + std::string(8 * limits::kMiB, 'n') + ">", "name too long", 2},
      {"an element larger than the limit",
       "<gpx><wpt lat=\"1\" lon=\"2\"><name>" + std::string(limits::kMaxXmlElementBytes + limits::kMiB, 'x'),
       "too large", 10},
      {"text between elements larger than the limit",
       "<gpx>" + std::string(limits::kMaxXmlElementBytes + limits::kMiB, ' ') + "</gpx>", "too long", 10},
  };
  test::TempDir dir;
  for (const Case& c : cases) {
    const auto file = dir / "hostile.gpx";
    test::writeFileBytes(file, c.xml);
    TVolGPS track;
    std::string message;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(openTrack(file, track, {}, message)) << c.what;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(c.maxSeconds)) << c.what;
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
  ASSERT_TRUE(openTrack(dir / "deep.gpx", track, {}, message)) << message;
  ASSERT_EQ(track.pointCount(), 1u);
  EXPECT_DOUBLE_EQ(track.point(0).position.lat, 1.5);
}

}  // namespace
}  // namespace pixtrail
