#include <gtest/gtest.h>

#include "tests/tracks/gpsbabel_oracle.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

const char* kSamples[] = {"basecamp.gpx", "dop-test.gpx", "track_gpx_garmin_extensions.gpx",
                          "track_nmeadate.gpx"};

TEST(GpxOracle, SamplesReadAsGpsbabelReadsThem) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  for (const char* name : kSamples) {
    const auto file = test::testData(std::string("formats/") + name);
    TVolGPS track;
    std::string message;
    ASSERT_TRUE(openTrack(file, track, {}, message)) << name << message;
    test::expectSamePoints(track, test::gpsbabelRead("gpx", file), 0.001, name);
  }
}

TEST(GpxOracle, WhatWeWriteGpsbabelReadsWithoutWarningsAndAgrees) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  test::TempDir dir;
  for (const char* name : kSamples) {
    TVolGPS track;
    std::string message;
    ASSERT_TRUE(openTrack(test::testData(std::string("formats/") + name), track, {}, message));
    const auto out = dir / (std::string("out-") + name);
    ASSERT_TRUE(saveTrack(track, out, {}, message)) << message;
    const test::OracleRun run = test::gpsbabelRead("gpx", out);
    EXPECT_EQ(run.errors, "") << name;
    test::expectSamePoints(track, run, 0.001, name);
    // The sensor values travel through the extensions gpsbabel knows.
    for (std::size_t i = 0; i < track.pointCount(); ++i) {
      const TPuntVol& p = track.point(i);
      const test::OraclePoint& o = run.points[i];
      if (p.heartRate > 0) {
        EXPECT_EQ(o.column("Heartrate"), std::to_string(p.heartRate)) << name << i;
      }
      if (p.cadenceRpm >= 0) {
        EXPECT_EQ(parseDouble(o.column("Cadence")), p.cadenceRpm) << name << i;
      }
    }
  }
}

TEST(GpxOracle, ZonesAndFractionsAgree) {
  if (!test::haveTool("gpsbabel")) GTEST_SKIP() << "gpsbabel missing";
  test::TempDir dir;
  const auto file = dir / "zones.gpx";
  test::writeFileBytes(file, R"(<?xml version="1.0"?>
<gpx version="1.1" creator="t" xmlns="http://www.topografix.com/GPX/1/1"><trk><trkseg>
<trkpt lat="1.5" lon="2.5"><ele>3.5</ele><time>2020-01-01T01:04:05.25+02:00</time></trkpt>
<trkpt lat="-33.123456" lon="151.654321"><time>2019-12-31T20:00:00-05:30</time></trkpt>
<trkpt lat="0" lon="0"><ele>-12.3</ele><time>2020-01-01T00:00:00Z</time></trkpt>
</trkseg></trk></gpx>)");
  TVolGPS track;
  std::string message;
  ASSERT_TRUE(openTrack(file, track, {}, message)) << message;
  test::expectSamePoints(track, test::gpsbabelRead("gpx", file), 0.001, "zones");
}

}  // namespace
}  // namespace pixtrail
