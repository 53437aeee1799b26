#include "tracks/TVolGPS.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace pixtrail {
namespace {

// A point at (lat, lon) at 2024-06-01 hh:mm:ss.
std::unique_ptr<TPuntVol> pointAt(double lat, double lon, int hh, int mm, int ss, float alt = 100.0f) {
  auto p = std::make_unique<TPuntVol>();
  p->position = {lon, lat, alt};
  p->time = {0, 1, 6, 2024, hh, mm, static_cast<float>(ss)};
  p->stateFlags = TPuntVol::kValidData;
  return p;
}

DateTimeValue at(int hh, int mm, double ss) {
  DateTimeValue v = 0;
  DateTimeRecord r{1, 6, 2024, hh, mm, ss};
  EXPECT_TRUE(r.toValue(v));
  return v;
}

TEST(TPuntVolAltitude, FollowsTheRuleWithItsAsymmetricThresholds) {
  const struct { float z, g, s; bool preferGps; float expected; const char* why; } rows[] = {
      {100, -1000, -1000, true, 100, "only Z present"},
      {-999, -1000, -1000, true, -999, "Z counts from -999 on"},
      {100, -999, -1000, true, -999, "G exactly -999 is not below -999: falls to the setting"},
      {100, -999, -1000, false, -1000, "and with the setting off, S"},
      {100, 250, -9999, false, 250, "only G present"},
      {100, -9999, 300, true, 300, "only S present"},
      {100, 250, 300, true, 250, "both present, GPS preferred"},
      {100, 250, 300, false, 300, "both present, barometric preferred"},
      {100, -998.5f, -9999, false, -998.5f, "G just above the limit counts"},
  };
  for (const auto& r : rows) {
    TPuntVol p;
    p.position.alt = r.z;
    p.gpsAltitudeM = r.g;
    p.barometricAltitudeM = r.s;
    EXPECT_EQ(p.altitude(r.preferGps), r.expected) << r.why;
  }
}

TEST(TPuntVolAltitude, SetterValueComesBackUnderBothSettings) {
  for (float v : {123.5f, -999.0f, -999.5f, -9999.0f}) {
    TPuntVol p;
    p.gpsAltitudeM = 10;
    p.barometricAltitudeM = 20;
    p.setAltitude(v);
    EXPECT_EQ(p.altitude(true), v);
    EXPECT_EQ(p.altitude(false), v);
  }
}

TVolGPS threePointTrack() {
  TVolGPS t;
  t.appendPoint(pointAt(40.0, -3.0, 10, 0, 0, 100));
  t.appendPoint(pointAt(40.001, -3.0, 10, 0, 10, 110));
  t.appendPoint(pointAt(40.002, -3.0, 10, 0, 20, 120));
  return t;
}

TEST(TVolGPSLookup, BinarySearchModes) {
  const TVolGPS t = threePointTrack();
  const struct { DateTimeValue time; int mode; long expected; const char* why; } rows[] = {
      {at(9, 59, 59), 0, -1, "before the first point, mode 0"},
      {at(9, 59, 59), 1, 0, "before the first point, mode 1"},
      {at(10, 0, 0), 0, 0, "exactly the first point"},
      {at(10, 0, 5), 0, 1, "inside the first pair"},
      {at(10, 0, 10), 0, 1, "exactly the second point ends the first pair"},
      {at(10, 0, 10.5), 0, 2, "just after the second point"},
      {at(10, 0, 20), 0, 2, "exactly the last point"},
      {at(10, 0, 21), 0, -1, "after the last point, mode 0"},
      {at(10, 0, 21), 1, 2, "after the last point, mode 1"},
  };
  for (const auto& r : rows) EXPECT_EQ(t.indexAtTime(r.time, r.mode), r.expected) << r.why;
  EXPECT_EQ(TVolGPS().indexAtTime(at(10, 0, 0), 1), -1);
}

TEST(TVolGPSLookup, PositionIsInterpolatedBetweenTheEnclosingPair) {
  TVolGPS t = threePointTrack();
  const TrackSettings settings;
  const PositionAtTime p = t.positionAtTime(at(10, 0, 2.5), settings);
  ASSERT_EQ(p.status, PositionAtTime::Status::Interpolated);
  EXPECT_EQ(p.index, 1);
  EXPECT_NEAR(p.fraction, 0.25, 1e-6);
  EXPECT_NEAR(p.position.lat, 40.00025, 1e-9);
  EXPECT_NEAR(p.position.lon, -3.0, 1e-12);
  EXPECT_NEAR(p.position.alt, 102.5, 1e-3);
  EXPECT_NEAR(p.courseDeg, 0.0, 1e-6);  // due north
  // 0.001 degree of latitude at 40 N is 111.035 m (meridian arc, WGS 84): 11.10 m/s over 10 s.
  EXPECT_NEAR(p.speedMs, 11.1035, 0.001);
}

TEST(TVolGPSLookup, CourseTurnsTheShortWayRound) {
  TVolGPS t;
  t.appendPoint(pointAt(40.0, -3.0, 10, 0, 0));
  t.appendPoint(pointAt(40.001, -3.0, 10, 0, 10));
  t.point(0).courseDeg = 350.0f;
  t.point(1).courseDeg = 10.0f;
  const PositionAtTime p = t.positionAtTime(at(10, 0, 2.5), TrackSettings{});
  EXPECT_NEAR(p.courseDeg, 355.0, 1e-4);  // not 92.5, the long way
  const PositionAtTime q = t.positionAtTime(at(10, 0, 7.5), TrackSettings{});
  EXPECT_NEAR(q.courseDeg, 5.0, 1e-4);
}

TEST(TVolGPSLookup, GapsAndEndsBeyondTheMaximumGapAreNotCovered) {
  TVolGPS t;
  t.appendPoint(pointAt(40.0, -3.0, 10, 0, 0));
  t.appendPoint(pointAt(40.001, -3.0, 10, 0, 10));
  auto resumed = pointAt(41.0, -3.0, 12, 0, 0);  // receiver off for two hours
  resumed->segmentStart = 1;
  t.appendPoint(std::move(resumed));
  TrackSettings settings;  // 1800 s
  using S = PositionAtTime::Status;
  const struct { DateTimeValue time; S status; bool beyond; const char* why; } rows[] = {
      {at(11, 0, 0), S::NotCovered, false, "inside a two-hour gap"},
      {at(12, 0, 0), S::Interpolated, false, "exactly on the point after the gap"},
      {at(9, 40, 0), S::AtEnd, false, "20 minutes before the start"},
      {at(9, 20, 0), S::NotCovered, false, "40 minutes before the start"},
      {at(12, 29, 0), S::AtEnd, false, "29 minutes after the end"},
      {at(12, 31, 0), S::NotCovered, false, "31 minutes after the end"},
      {at(12, 0, 0) + 1.5, S::NotCovered, true, "more than a day after the end"},
  };
  for (const auto& r : rows) {
    const PositionAtTime p = t.positionAtTime(r.time, settings);
    EXPECT_EQ(p.status, r.status) << r.why;
    EXPECT_EQ(p.beyondTrack, r.beyond) << r.why;
  }
  settings.maxGapSeconds = 3 * 3600;
  const PositionAtTime bridged = t.positionAtTime(at(11, 0, 5), settings);
  ASSERT_EQ(bridged.status, S::Interpolated) << "a larger user limit bridges the gap";
  EXPECT_NEAR(bridged.position.lat, 40.5005, 1e-9);
}

TEST(TVolGPSLookup, LongitudeInterpolatesAcrossTheAntimeridian) {
  TVolGPS t;
  t.appendPoint(pointAt(-17.0, 179.9999, 10, 0, 0));
  t.appendPoint(pointAt(-17.0, -179.9999, 10, 0, 10));
  const PositionAtTime p = t.positionAtTime(at(10, 0, 5), TrackSettings{});
  EXPECT_NEAR(std::abs(p.position.lon), 180.0, 1e-9);
}

TEST(TVolGPSRecalculate, FirstPointStartsASegmentAndSummariesAreReset) {
  TVolGPS t = threePointTrack();
  t.point(0).segmentStart = 0;  // as read from a line with "N"
  std::string message;
  ASSERT_TRUE(t.Recalculate(TrackSettings{}, message));
  EXPECT_EQ(t.point(0).segmentStart, 1);
  const TrackSummary& s = t.summary();
  EXPECT_EQ(s.segments, 1u);
  EXPECT_NEAR(s.distanceM, 222.07, 0.01);  // two steps of 111.035 m
  EXPECT_NEAR(s.durationS, 20.0, 1e-3);
  EXPECT_NEAR(s.movingTimeS, 20.0, 1e-3);
  EXPECT_NEAR(s.gainM, 20.0, 1e-4);
  EXPECT_NEAR(s.maxClimbMs, 1.0, 1e-4);
  EXPECT_NEAR(t.point(2).distanceFromStartM, 222.07, 0.01);
  // A second run starts from scratch instead of adding up.
  ASSERT_TRUE(t.Recalculate(TrackSettings{}, message));
  EXPECT_NEAR(t.summary().distanceM, 222.07, 0.01);
  EXPECT_TRUE(message.empty());
}

TEST(TVolGPSRecalculate, GainIgnoresWigglesBelowTheHysteresis) {
  TVolGPS t;
  const float alts[] = {100, 102, 100, 102, 100, 110, 108, 110, 100};
  for (int i = 0; i < 9; ++i) t.appendPoint(pointAt(40.0 + i * 1e-4, -3.0, 10, 0, i * 10, alts[i]));
  std::string message;
  ASSERT_TRUE(t.Recalculate(TrackSettings{}, message));
  EXPECT_NEAR(t.summary().gainM, 10.0, 1e-4);   // the 2 m wiggles are noise
  EXPECT_NEAR(t.summary().lossM, 10.0, 1e-4);
  EXPECT_EQ(t.summary().altitudeMinM, 100.0);
  EXPECT_EQ(t.summary().altitudeMaxM, 110.0);
}

TEST(TVolGPSSegments, RangesAndSubtrackExport) {
  TVolGPS t = threePointTrack();
  t.fileName = "trips/alps.PLE";
  t.point(2).segmentStart = 1;
  const auto ranges = t.segments();
  ASSERT_EQ(ranges.size(), 2u);
  EXPECT_EQ(ranges[0], (std::pair<std::size_t, std::size_t>{0, 2}));
  EXPECT_EQ(ranges[1], (std::pair<std::size_t, std::size_t>{2, 3}));
  const auto second = t.segmentAsTrack(1);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->fileName, "trips/alps_subtrack.TRK");
  EXPECT_EQ(second->pointCount(), 1u);
  EXPECT_EQ(second->point(0).position.lat, 40.002);
  EXPECT_FALSE(t.segmentAsTrack(2));
}

TEST(TVolGPSFields, KnownIdentifiersAndTheCatchAllMessage) {
  TVolGPS t = threePointTrack();
  std::string message;
  ASSERT_TRUE(t.Recalculate(TrackSettings{}, message));
  double v = 0;
  ASSERT_TRUE(t.Retorna_Val_Campo_Global(static_cast<int>(TrackField::Points), v, message));
  EXPECT_EQ(v, 3.0);
  ASSERT_TRUE(t.Retorna_Val_Campo_Global(static_cast<int>(TrackField::MaxLat), v, message));
  EXPECT_EQ(v, 40.002);
  EXPECT_FALSE(t.Retorna_Val_Campo_Global(999, v, message));
  EXPECT_EQ(message, "Undef. error in TVolGPS::Retorna_Val_Campo_Global");
}

TEST(TVolGPSInfo, VelcadNodeOnlyWithCadence) {
  TVolGPS t = threePointTrack();
  std::string message;
  t.Recalculate(TrackSettings{}, message);
  auto keys = [&] {
    std::vector<std::string_view> k;
    for (const auto& n : t.informationTree()) k.push_back(n.key);
    return k;
  };
  EXPECT_EQ(keys().size(), 10u);
  t.point(1).cadenceRpm = 85;
  t.Recalculate(TrackSettings{}, message);
  EXPECT_EQ(keys().back(), "TrkPnt:velcad");
}

}  // namespace
}  // namespace pixtrail
