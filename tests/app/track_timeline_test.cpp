// The tracks on the photos' time line: where, how fast, and when they pass a place.

#include "app/track_timeline.hpp"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace pixtrail
