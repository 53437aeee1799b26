#include "tracks/track_format_gpx.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"
#include "tracks/track_format_common.hpp"
#include "tracks/xml_element_stream.hpp"

namespace pixtrail {
namespace {

TEST(XmlDateTime, ReadsZonesAndFractionsAsUtc) {
  const struct { const char* text; bool ok; DateTimeRecord utc; const char* why; } rows[] = {
      {"2008-08-20T07:04:48Z", true, {20, 8, 2008, 7, 4, 48}, "plain UTC"},
      {"2008-08-20T07:04:48.250Z", true, {20, 8, 2008, 7, 4, 48.25}, "fraction"},
      {"2008-08-20T07:04:48,5Z", true, {20, 8, 2008, 7, 4, 48.5}, "comma fraction"},
      {"2008-08-20T07:04:48", true, {20, 8, 2008, 7, 4, 48}, "no zone is UTC"},
      {"2020-01-02T03:04:05+02:00", true, {2, 1, 2020, 1, 4, 5}, "east of Greenwich"},
      {"2020-01-01T01:30:00+02:00", true, {31, 12, 2019, 23, 30, 0}, "offset crosses the year"},
      {"2020-02-28T22:00:00-0530", true, {29, 2, 2020, 3, 30, 0}, "hhmm form into a leap day"},
      {"2020-02-28T22:00:00-05", true, {29, 2, 2020, 3, 0, 0}, "hours only"},
      {" 2008-08-20T07:04:48Z\n", true, {20, 8, 2008, 7, 4, 48}, "blanks around, as pretty printers leave"},
      {"2008-13-20T07:04:48Z", false, {}, "month 13"},
      {"2008-08-20T24:00:00Z", false, {}, "hour 24"},
      {"2008-08-20T07:04Z", false, {}, "no seconds"},
      {"2008-08-20T07:04:48.Z", false, {}, "dot without digits"},
      {"2008-08-20T07:04:48+2:00", false, {}, "one-digit zone hour"},
      {"", false, {}, "empty"},
  };
  for (const auto& r : rows) {
    DateTimeRecord got{1, 1, 1, 1, 1, 1};
    EXPECT_EQ(parseXmlDateTime(r.text, got), r.ok) << r.why;
    if (r.ok) {
      EXPECT_EQ(got.year, r.utc.year) << r.why;
      EXPECT_EQ(got.month, r.utc.month) << r.why;
      EXPECT_EQ(got.day, r.utc.day) << r.why;
      EXPECT_EQ(got.hour, r.utc.hour) << r.why;
      EXPECT_EQ(got.minute, r.utc.minute) << r.why;
      EXPECT_NEAR(got.seconds, r.utc.seconds, 1e-9) << r.why;
    }
  }
  EXPECT_EQ(formatXmlDateTime({20, 8, 2008, 7, 4, 48.25}), "2008-08-20T07:04:48.250Z");
  EXPECT_EQ(formatXmlDateTime({20, 8, 2008, 7, 4, 59.9999}), "2008-08-20T07:05:00Z");
}

TEST(Decimal, FastPathAgreesWithTheLibrary) {
  for (const char* text : {"51.506172000", "-0.035187", "0", "-0.0", "123456789012345", "1e3",
                           "1234567890123456789", "+7.25", "  42.5"}) {
    double ours = 0.0;
    ASSERT_NE(parseDecimal(text, text + std::strlen(text), ours), nullptr) << text;
    EXPECT_EQ(ours, std::strtod(text, nullptr)) << text;
  }
  double v = 0;
  const char* junk = "abc";
  EXPECT_EQ(parseDecimal(junk, junk + 3, v), nullptr);
}

const char* kTwoTracks = R"(<?xml version="1.0"?>
<gpx version="1.1" xmlns="http://www.topografix.com/GPX/1/1">
 <wpt lat="1" lon="2"><name>W</name></wpt>
 <trk><name>first</name>
  <trkseg>
   <trkpt lat="10.5" lon="-3.25"><ele>100</ele><time>2020-01-01T00:00:00Z</time></trkpt>
   <!-- a comment between points -->
   <trkpt lat="10.6" lon="-3.26"/>
  </trkseg>
  <trkseg><trkpt lat="10.7" lon="-3.27"></trkpt></trkseg>
 </trk>
 <trk><trkseg><trkpt lat="11" lon="-4"/><trkpt lon="-4"/><trkpt lat="11.1" lon="-4.1"/></trkseg></trk>
</gpx>)";

TEST(GpxRead, SegmentsFollowTracksAndSegmentsAndBadPointsAreReported) {
  TVolGPS track;
  std::string message;
  ASSERT_TRUE(readGpxTrackText(kTwoTracks, track, message)) << message;
  ASSERT_EQ(track.pointCount(), 5u);
  const int starts[] = {1, 0, 1, 1, 0};
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(track.point(i).segmentStart, starts[i]) << i;
  EXPECT_DOUBLE_EQ(track.point(0).position.lat, 10.5);
  EXPECT_DOUBLE_EQ(track.point(0).position.lon, -3.25);
  EXPECT_FLOAT_EQ(track.point(0).altitude(true), 100.0f);
  EXPECT_FALSE(hasAltitude(track.point(1).altitude(true)));
  EXPECT_NE(message.find("1 points without a readable lat/lon"), std::string::npos) << message;
}

TEST(GpxRead, SmallReadChunksGiveTheSameResult) {
  // Every refill boundary falls somewhere inside a tag, a name or a closing tag.
  struct Count : XmlElementHandler {
    std::string log;
    void containerStart(std::string_view n) override { log += "<" + std::string(n); }
    void containerEnd(std::string_view n) override { log += "/" + std::string(n); }
    void element(const pugi::xml_node& node, int depth) override {
      log += " " + std::string(node.name()) + std::to_string(depth);
    }
  };
  std::string reference;
  for (std::size_t chunk : {1u << 20, 1u, 2u, 3u, 7u, 64u}) {
    std::FILE* f = fmemopen(const_cast<char*>(kTwoTracks), std::strlen(kTwoTracks), "rb");
    XmlStreamOptions options;
    options.readChunkBytes = chunk;
    options.isContainer = [](std::string_view n) { return n == "gpx" || n == "trk" || n == "trkseg"; };
    Count c;
    std::string message;
    EXPECT_TRUE(streamXmlElements(f, "t", options, c, message)) << chunk << message;
    std::fclose(f);
    if (reference.empty()) reference = c.log;
    EXPECT_EQ(c.log, reference) << "chunk " << chunk;
  }
  EXPECT_EQ(reference, "<gpx wpt1<trk name2<trkseg trkpt3 trkpt3/trkseg<trkseg trkpt3/trkseg/trk"
                       "<trk<trkseg trkpt3 trkpt3 trkpt3/trkseg/trk/gpx");
}

TEST(GpxRead, MessyButValidFilesAndBrokenOnes) {
  const struct { std::string text; bool ok; std::size_t points; const char* why; } rows[] = {
      {"\xEF\xBB\xBF<gpx><trk><trkseg><trkpt lat='1' lon='2'/></trkseg></trk></gpx>", true, 1, "BOM"},
      {"<gpx>\r\n<trk>\r<trkseg><trkpt lat=\"1\" lon=\"2\"/>\r\n</trkseg></trk></gpx>", true, 1, "CR and CR LF"},
      {"<gpx:gpx xmlns:gpx='x'><gpx:trk><gpx:trkseg><gpx:trkpt lat='1' lon='2'/></gpx:trkseg>"
       "</gpx:trk></gpx:gpx>", true, 1, "prefixed elements"},
      {"<gpx><rte><rtept lat='1' lon='2'/><rtept lat='3' lon='4'/></rte></gpx>", true, 2, "route only"},
      {"<gpx><trk><trkseg><trkpt lat='0' lon='0'/></trkseg></trk></gpx>", true, 1, "0/0 is a place"},
      {"<gpx><trk><trkseg><trkpt lat='1' lon='2'><name>a &amp; b</name></trkpt></trkseg></trk></gpx>",
       true, 1, "entities inside a point"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><gpx><trk><name>\xE9t\xE9</name><trkseg>"
       "<trkpt lat='1' lon='2'/></trkseg></trk></gpx>", true, 1, "Latin-1 text"},
      {"<gpx><trk><trkseg><trkpt lat='1' lon='2'></trkseg></trk></gpx>", false, 0, "unclosed point"},
      {"<gpx><trk><trkseg><trkpt lat='1' lon='2'/></trkseg></gpx>", false, 0, "unclosed track"},
      {"<gpx></gpx>", false, 0, "no points"},
      {"not xml at all", false, 0, "no element"},
      {"\xFF\xFE<\0g\0", false, 0, "UTF-16"},
  };
  for (const auto& r : rows) {
    TVolGPS track;
    std::string message;
    EXPECT_EQ(readGpxTrackText(r.text, track, message), r.ok) << r.why << ": " << message;
    if (r.ok) EXPECT_EQ(track.pointCount(), r.points) << r.why;
    else EXPECT_FALSE(message.empty()) << r.why;
  }
}

TEST(GpxRead, ExtensionsOfTheCommonSchemas) {
  const char* text = R"(<gpx xmlns:gpxtpx="a" xmlns:gpxdata="b"><trk><trkseg>
<trkpt lat="1" lon="2"><time>2020-01-02T03:04:05.5Z</time><fix>3d</fix><sat>7</sat><hdop>1.5</hdop>
 <extensions><gpxtpx:TrackPointExtension><gpxtpx:atemp>-2.5</gpxtpx:atemp><gpxtpx:hr>131</gpxtpx:hr>
 <gpxtpx:cad>88</gpxtpx:cad><gpxtpx:speed>4.25</gpxtpx:speed><gpxtpx:course>271.5</gpxtpx:course>
 </gpxtpx:TrackPointExtension></extensions></trkpt>
<trkpt lat="1" lon="2"><speed>3.5</speed><course>90</course>
 <extensions><gpxdata:hr>99</gpxdata:hr><gpxdata:cadence>70</gpxdata:cadence></extensions></trkpt>
</trkseg></trk></gpx>)";
  TVolGPS track;
  std::string message;
  ASSERT_TRUE(readGpxTrackText(text, track, message)) << message;
  const TPuntVol& a = track.point(0);
  EXPECT_EQ(a.heartRate, 131);
  EXPECT_FLOAT_EQ(a.cadenceRpm, 88);
  EXPECT_FLOAT_EQ(a.temperatureC, -2.5f);
  EXPECT_FLOAT_EQ(a.speedMs, 4.25f);
  EXPECT_FLOAT_EQ(a.courseDeg, 271.5f);
  EXPECT_EQ(a.fixType, 3);
  EXPECT_EQ(a.satellites, 7);
  EXPECT_FLOAT_EQ(a.hdop, 1.5f);
  EXPECT_FLOAT_EQ(a.time.seconds, 5.5f);
  const TPuntVol& b = track.point(1);
  EXPECT_EQ(b.heartRate, 99);
  EXPECT_FLOAT_EQ(b.cadenceRpm, 70);
  EXPECT_FLOAT_EQ(b.speedMs, 3.5f);
  EXPECT_FLOAT_EQ(b.courseDeg, 90);
}

TEST(GpxWrite, RoundTripKeepsEverythingThePointHolds) {
  TVolGPS track;
  for (int i = 0; i < 3; ++i) {
    auto p = makePoint(45.123456789 + i, -7.000000001 * i, 350.25f - i, {31, 12, 2019, 23, 59, 58.5 + i * 0.5});
    p->segmentStart = i != 1;
    p->heartRate = static_cast<std::int16_t>(120 + i);
    p->cadenceRpm = 80.0f + i;
    p->temperatureC = i - 1.5f;
    p->speedMs = 2.5f * i;
    p->courseDeg = 10.0f * i;
    p->satellites = 5 + i;
    p->hdop = 0.5f + i;
    p->fixType = static_cast<std::int8_t>(i == 0 ? 2 : 3);
    track.appendPoint(std::move(p));
  }
  track.headerText('P') = "Caf\xE9 <run> & more";  // Latin-1 in memory, escaped UTF-8 in the file
  track.marks.push_back({"b\xE9" "b\xE9" ".jpg", {-7.5, 45.5, 351.0f}, TPuntTiempo::fromRecord({1, 1, 2020, 0, 0, 0})});
  track.marks.push_back({"no time", {-7.25, 45.25, kUnknownAltitude}, {}});
  test::TempDir dir;
  const std::string file = (dir / "round.gpx").string();
  std::string message;
  ASSERT_TRUE(saveTrack(track, file, {}, message)) << message;
  TVolGPS back;
  ASSERT_TRUE(openTrack(file, back, {}, message)) << message;
  ASSERT_EQ(back.pointCount(), 3u);
  EXPECT_EQ(back.headerText('P'), track.headerText('P'));
  ASSERT_EQ(back.marks.size(), 2u) << "marks travel as waypoints";
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(back.marks[i].name, track.marks[i].name);
    EXPECT_NEAR(back.marks[i].position.lat, track.marks[i].position.lat, 1e-9);
    EXPECT_NEAR(back.marks[i].position.lon, track.marks[i].position.lon, 1e-9);
    EXPECT_EQ(back.marks[i].time, track.marks[i].time);
  }
  EXPECT_EQ(back.marks[0].position.alt, 351.0f);
  EXPECT_FALSE(hasAltitude(back.marks[1].position.alt));
  for (std::size_t i = 0; i < 3; ++i) {
    const TPuntVol& a = track.point(i);
    const TPuntVol& b = back.point(i);
    EXPECT_NEAR(b.position.lat, a.position.lat, 1e-9);
    EXPECT_NEAR(b.position.lon, a.position.lon, 1e-9);
    EXPECT_NEAR(b.altitude(true), a.altitude(true), 1e-3);
    EXPECT_EQ(b.time.toRecord(), a.time.toRecord()) << i;
    EXPECT_EQ(b.segmentStart, a.segmentStart) << i;
    EXPECT_EQ(b.heartRate, a.heartRate);
    EXPECT_EQ(b.cadenceRpm, a.cadenceRpm);
    EXPECT_EQ(b.temperatureC, a.temperatureC);
    EXPECT_EQ(b.speedMs, a.speedMs);
    EXPECT_EQ(b.courseDeg, a.courseDeg);
    EXPECT_EQ(b.satellites, a.satellites);
    EXPECT_EQ(b.hdop, a.hdop);
    EXPECT_EQ(b.fixType, a.fixType);
  }
}

}  // namespace
}  // namespace pixtrail
