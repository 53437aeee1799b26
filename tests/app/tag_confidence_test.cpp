// How sure a tag is: the figures come from the two fixes around the photo.

#include "app/tag_confidence.hpp"

#include <gtest/gtest.h>

namespace pixtrail {
namespace {

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
