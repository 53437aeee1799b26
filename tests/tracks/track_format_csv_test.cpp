#include "tracks/track_format_csv.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

TEST(CsvLine, QuotesHoldSeparatorsAndDoubledQuotes) {
  const struct { const char* line; char sep; std::vector<std::string> fields; } rows[] = {
      {"a,b,,c", ',', {"a", "b", "", "c"}},
      {"1,\"Verde, caf\xC3\xA9\",x", ',', {"1", "Verde, caf\xC3\xA9", "x"}},
      {"\"say \"\"hi\"\"\";2", ';', {"say \"hi\"", "2"}},
      {"a\tb", '\t', {"a", "b"}},
      {"", ',', {""}},
  };
  for (const auto& r : rows) EXPECT_EQ(splitCsvLine(r.line, r.sep), r.fields) << r.line;
}

TEST(CsvTrack, HeaderNamesTheColumnsWhateverTheirOrderAndSeparator) {
  const std::string text =
      "\xEF\xBB\xBFNo;Date;Time;Latitude;Longitude;ele ft;Speed;Course;HR;cad;temp;sats\r\n"
      "1;2020/01/02;03:04:05.5;-33.5;151.25;1000;2.5;180;120;85;21.5;7\r\n"
      "2;2020-01-02;03:04:06;;151.25;;;;;;;\r\n"                 // no latitude: skipped
      "3;02.01.2020;03:04:07;0;0;;;;;;;\r\n";                    // 0/0 kept, empty fields unknown
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(readCsvTrackText(text, "x.csv", t, message)) << message;
  ASSERT_EQ(t.pointCount(), 2u);
  const TPuntVol& a = t.point(0);
  EXPECT_DOUBLE_EQ(a.position.lat, -33.5);
  EXPECT_NEAR(a.altitude(true), 304.8, 1e-4);
  EXPECT_EQ(a.time.toRecord().hour, 3);
  EXPECT_FLOAT_EQ(a.time.seconds, 5.5f);
  EXPECT_FLOAT_EQ(a.speedMs, 2.5f);
  EXPECT_FLOAT_EQ(a.courseDeg, 180.0f);
  EXPECT_EQ(a.heartRate, 120);
  EXPECT_FLOAT_EQ(a.cadenceRpm, 85.0f);
  EXPECT_FLOAT_EQ(a.temperatureC, 21.5f);
  EXPECT_EQ(a.satellites, 7);
  const TPuntVol& b = t.point(1);
  EXPECT_EQ(b.time.toRecord(), (DateTimeRecord{2, 1, 2020, 3, 4, 7})) << "day-first date";
  EXPECT_FALSE(hasAltitude(b.altitude(true)));
  EXPECT_EQ(b.heartRate, 0);
  EXPECT_NE(message.find("1 rows without a readable position"), std::string::npos);

  TVolGPS none;
  message.clear();
  EXPECT_FALSE(readCsvTrackText("name,x,y\na,1,2\n", "n.csv", none, message));
  EXPECT_EQ(message, "n.csv: the header row names no latitude and longitude columns");
}

TEST(CsvTrack, UnixTimesAreReadAndUnreadableTimesReported) {
  // 1700000000 s after 1970-01-01 is 2023-11-14 22:13:20 UTC.
  const struct { const char* text; DateTimeRecord first; const char* why; } rows[] = {
      {"lat,lon,time\n40.1,-3.5,1700000000\n40.2,-3.5,1700000060\n", {14, 11, 2023, 22, 13, 20}, "seconds"},
      {"lat,lon,timestamp\n40.1,-3.5,1700000000250\n40.2,-3.5,1700000060000\n", {14, 11, 2023, 22, 13, 20.25},
       "milliseconds"},
  };
  for (const auto& r : rows) {
    TVolGPS t;
    std::string message;
    ASSERT_TRUE(readCsvTrackText(r.text, "e.csv", t, message)) << r.why;
    EXPECT_TRUE(message.empty()) << r.why << ": " << message;
    ASSERT_EQ(t.pointCount(), 2u);
    const DateTimeRecord first = t.point(0).time.toRecord();
    EXPECT_EQ(first.day, r.first.day) << r.why;
    EXPECT_EQ(first.month, r.first.month) << r.why;
    EXPECT_EQ(first.year, r.first.year) << r.why;
    EXPECT_EQ(first.hour, r.first.hour) << r.why;
    EXPECT_EQ(first.minute, r.first.minute) << r.why;
    EXPECT_NEAR(first.seconds, r.first.seconds, 0.002) << r.why;
    EXPECT_EQ(t.point(1).time.toRecord().minute, 14) << r.why;
  }
  TVolGPS t;
  std::string message;
  ASSERT_TRUE(readCsvTrackText("lat,lon,time\n40.1,-3.5,36000\n40.2,-3.5,soon\n40.3,-3.5,\n", "u.csv", t, message));
  EXPECT_EQ(t.pointCount(), 3u);
  EXPECT_EQ(message, "u.csv: 2 rows without a readable date and time; their points have no time")
      << "a number too small to be a date and a word; the empty field is simply unknown";
}

}  // namespace
}  // namespace pixtrail
