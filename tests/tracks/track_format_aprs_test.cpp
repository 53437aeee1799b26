#include "tracks/track_format_aprs.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace pixtrail {
namespace {

// Payloads are the worked examples of the APRS Protocol Reference 1.0.1 (chapters 8 and 9).
TEST(AprsLine, DecodesTheReferenceExamples) {
  const struct {
    const char* line; bool ok; double lat, lon; double course, knots, feet; const char* why;
  } rows[] = {
      {"N0CALL>APRS:!4903.50N/07201.75W-Test 001234", true, 49.058333, -72.029167, NAN, NAN, NAN, "no time stamp"},
      {"N0CALL>APRS,WIDE2-1:/092345z4903.50N/07201.75W>Test1234", true, 49.058333, -72.029167, NAN, NAN, NAN, "DHM time stamp"},
      {"N0CALL-9>APRS:@092345/4903.50N/07201.75W>088/036", true, 49.058333, -72.029167, 88, 36, NAN, "course and speed"},
      {"N0CALL>APRS:!4903.50N/07201.75W-Test /A=001234", true, 49.058333, -72.029167, NAN, NAN, 1234, "altitude in the comment"},
      {"N0CALL>APRS:=/5L!!<*e7>{?!", true, 49.5, -72.75, NAN, NAN, NAN, "compressed, range instead of course"},
      {"N0CALL>APRS:=/5L!!<*e7>7P[", true, 49.5, -72.75, 88, 36.2, NAN, "compressed with course and speed"},
      {"N0CALL>APRS:!49  .  N/072  .  W-", true, 49.0, -72.0, NAN, NAN, NAN, "position ambiguity"},
      {"N0CALL>APRS:>status text", false, 0, 0, NAN, NAN, NAN, "status, not a position"},
      {"N0CALL>APRS:!4903.50X/07201.75W-", false, 0, 0, NAN, NAN, NAN, "bad hemisphere"},
      {"no packet here", false, 0, 0, NAN, NAN, NAN, "noise"},
  };
  for (const auto& r : rows) {
    const auto p = decodeAprsLine(r.line);
    ASSERT_EQ(p.has_value(), r.ok) << r.why;
    if (!p) continue;
    EXPECT_NEAR(p->lat, r.lat, 1e-4) << r.why;  // the reference rounds to 0.01 minute
    EXPECT_NEAR(p->lon, r.lon, 1e-4) << r.why;
    EXPECT_EQ(p->courseDeg.has_value(), !std::isnan(r.course)) << r.why;
    if (p->courseDeg && !std::isnan(r.course)) {
      EXPECT_NEAR(*p->courseDeg, r.course, 1e-9) << r.why;
      EXPECT_NEAR(*p->speedKnots, r.knots, 0.05) << r.why;
    }
    EXPECT_EQ(p->altFeet.has_value(), !std::isnan(r.feet)) << r.why;
  }
}

TEST(AprsLog, HeardTimesAndTheFirstStationsTrack) {
  const std::string log =
      "2024-05-01 12:00:03 N0CALL-9>APRS:!4903.50N/07201.75W>\r\n"
      "20240501120103,OTHER>APRS:!4904.50N/07201.75W>\r\n"
      "1714564923:N0CALL-9>APRS:!4905.50N/07201.75W>/A=-00012\r\n"  // 2024-05-01 12:02:03 UTC
      "N0CALL-9>APRS:/120304h4906.50N/07201.75W>\r\n";
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(readAprsTrackText(log, "a.aprs", t, message)) << message;
  ASSERT_EQ(t.pointCount(), 3u);
  EXPECT_EQ(t.point(0).time.toRecord(), (DateTimeRecord{1, 5, 2024, 12, 0, 3}));
  EXPECT_EQ(t.point(1).time.toRecord(), (DateTimeRecord{1, 5, 2024, 12, 2, 3}));
  EXPECT_NEAR(t.point(1).altitude(true), -12 * 0.3048, 1e-4);
  EXPECT_EQ(t.point(2).time.hour, 12) << "the packet's HMS stamp, without a date";
  EXPECT_EQ(t.headerText('P'), "N0CALL-9");
  EXPECT_EQ(message, "a.aprs: track of N0CALL-9; 1 reports of other stations left out");
}

}  // namespace
}  // namespace pixtrail
