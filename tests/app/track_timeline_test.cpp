// The tracks on the photos' time line: where, how fast, and when they pass a place; and how sure a
// tag is, from the two fixes around the photo.

#include "app/track_timeline.hpp"

#include <gtest/gtest.h>

#include "app/tag_confidence.hpp"

namespace pixtrail {
namespace {

TEST(TrackTimeline, PassesOutAndBackAndStops) {
  // East for 100 s at 1 m/s, stand 60 s, back west: a place 20 m east is passed twice, the far end
  // is one stop.
  VectorP<TVolGPS> tracks;
  auto& track = tracks.add(std::make_unique<TVolGPS>());
  const double metre = 1.0 / (6371008.8 * 3.141592653589793 / 180.0);
  DateTimeValue t0 = 0;
  DateTimeRecord{1, 6, 2026, 10, 0, 0}.toValue(t0);
  for (int s = 0; s <= 260; s += 2) {
    auto p = std::make_unique<TPuntVol>();
    const double x = s <= 100 ? s : s <= 160 ? 100 : 260 - s;
    p->position = {x * metre, 0.0, 0.0f};
    p->time = TPuntTiempo::fromRecord(DateTimeRecord::fromValue(t0 + s / kSecondsPerDay));
    p->stateFlags = TPuntVol::kValidData;
    track.appendPoint(std::move(p));
  }
  std::string ignored;
  track.Recalculate(TrackSettings{}, ignored);
  TimeZone none;
  const TrackTimeline timeline(tracks, {TrackTimeScale::Utc}, none, TrackSettings{});
  EXPECT_TRUE(timeline.passesNear({21 * metre, 5 * metre, 0.0f}, 4.5).empty());
  const auto twice = timeline.passesNear({21 * metre, 5 * metre, 0.0f}, 10.0);
  ASSERT_EQ(twice.size(), 2u);
  EXPECT_NEAR(twice[0].distanceM, 5.0, 0.01);
  EXPECT_NEAR((twice[0].lineTime - t0) * kSecondsPerDay, 21.0, 0.01);
  EXPECT_NEAR((twice[1].lineTime - t0) * kSecondsPerDay, 239.0, 0.01);
  const auto stop = timeline.passesNear({100 * metre, 0.0, 0.0f}, 5.0);
  ASSERT_EQ(stop.size(), 1u);
  EXPECT_NEAR((stop[0].lineTime - t0) * kSecondsPerDay, 130.0, 0.01);
  EXPECT_NEAR(timeline.speedAt(t0 + 50 / kSecondsPerDay), 1.0, 0.01);
  EXPECT_NEAR(timeline.speedAt(t0 + 130 / kSecondsPerDay), 0.0, 0.01);
  EXPECT_LT(timeline.speedAt(t0 - 1), 0.0);

  // The same track from a file that holds Madrid's wall clock (summer: UTC+2), photos in UTC.
  TimeZone madrid;
  std::string message;
  ASSERT_TRUE(madrid.set("Europe/Madrid", message));
  const TrackTimeline local(tracks, {TrackTimeScale::Local}, madrid, TrackSettings{});
  TrackTimeline::Hit hit;
  ASSERT_TRUE(local.locate(t0 + (50 - 7200) / kSecondsPerDay, hit));
  EXPECT_NEAR(hit.where.position.lon / metre, 50.0, 0.01);
  EXPECT_NEAR((hit.trackTime - t0) * kSecondsPerDay, 50.0, 1e-3);
  EXPECT_FALSE(local.locate(t0 + 50 / kSecondsPerDay, hit));  // read as UTC it would be two hours out
  const auto passes = local.passesNear({21 * metre, 5 * metre, 0.0f}, 10.0);
  ASSERT_EQ(passes.size(), 2u);
  EXPECT_NEAR((passes[0].lineTime - t0) * kSecondsPerDay, 21.0 - 7200, 0.01);
}


constexpr double kMetre = 1.0 / 111194.93;  // degrees of latitude per metre on the mean sphere

// Fixes at 0 s, 10 s and 40 s going north: 0 m, 20 m, 200 m; HDOP and satellites on two of them.
TVolGPS northTrack(DateTimeValue& t0) {
  DateTimeRecord{1, 6, 2026, 10, 0, 0}.toValue(t0);
  TVolGPS track;
  const struct {
    int s;
    double northM;
    float hdop;
    int sats;
  } fixes[] = {{0, 0, 1.2f, 8}, {10, 20, 2.5f, 5}, {40, 200, 0.0f, 0}};
  for (const auto& f : fixes) {
    auto p = std::make_unique<TPuntVol>();
    p->position = {-3.7, 40.0 + f.northM * kMetre, 600.0f};
    p->time = TPuntTiempo::fromRecord(DateTimeRecord::fromValue(t0 + f.s / kSecondsPerDay));
    p->stateFlags = TPuntVol::kValidData;
    p->hdop = f.hdop;
    p->satellites = f.sats;
    track.appendPoint(std::move(p));
  }
  std::string ignored;
  track.Recalculate(TrackSettings{}, ignored);
  return track;
}

TEST(TagConfidence, FiguresFromTheFixesAroundThePhoto) {
  DateTimeValue t0 = 0;
  const TVolGPS track = northTrack(t0);
  const struct {
    double s;
    double nearestS, gapS, jumpM, hdop;
    int sats;
    bool atEnd;
    double errorM;
    const char* why;
  } rows[] = {
      // 2.5 x 5 m of fix error; 3 s from the nearer fix of a 20 m step: 6 m, half of it in quadrature.
      {3, 3, 10, 20, 2.5, 5, false, 12.862, "between the first two fixes"},
      {10, 0, 10, 20, 2.5, 5, false, 12.5, "on a fix"},
      // The far step has one fix without HDOP: no figures, the unknown-fix error instead.
      {25, 15, 30, 180, -1, -1, false, 46.098, "the middle of a long jump"},
      {50, 10, 0, 0, -1, -1, true, 24.0, "ten seconds past the end: walking pace"},
  };
  for (const auto& row : rows) {
    const DateTimeValue t = t0 + row.s / kSecondsPerDay;
    const PositionAtTime where = track.positionAtTime(t, TrackSettings{});
    ASSERT_TRUE(where.covered()) << row.why;
    const TagConfidence c = assessTag(track, t, where);
    EXPECT_NEAR(c.nearestS, row.nearestS, 1e-3) << row.why;
    EXPECT_NEAR(c.gapS, row.gapS, 1e-3) << row.why;
    // Steps are measured on the ellipsoid, where a degree at 40 N is 0.15 % shorter than kMetre says.
    EXPECT_NEAR(c.jumpM, row.jumpM, row.jumpM * 0.002) << row.why;
    EXPECT_NEAR(c.hdop, row.hdop, 1e-6) << row.why;
    EXPECT_EQ(c.satellites, row.sats) << row.why;
    EXPECT_EQ(c.atEnd, row.atEnd) << row.why;
    EXPECT_NEAR(c.errorM, row.errorM, 0.1) << row.why;
  }
}

}  // namespace
}  // namespace pixtrail
