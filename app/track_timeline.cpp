#include "app/track_timeline.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/angles.hpp"

namespace pixtrail {

namespace {

// Passes are found on a local flat plane around the place: over the few hundred metres a pass
// spans, the error of that plane is far below a receiver's own.
constexpr double kEarthRadiusM = 6371008.8;  // mean radius (IUGG)
constexpr double kMetresPerDegree = kEarthRadiusM * kPi / kHalfTurnDeg;
// Near the closest point, positions within this much of it belong to the same visit; a visit that
// lasts longer than kStopS is a stop and stands for its middle.
constexpr double kVisitToleranceM = 3.0;
constexpr double kStopS = 20.0;

struct Plane {
  double lat0, lon0, cosLat0;
  double x(const TCoord& p) const { return (p.lon - lon0) * cosLat0 * kMetresPerDegree; }
  double y(const TCoord& p) const { return (p.lat - lat0) * kMetresPerDegree; }
};

struct Closest {
  double distanceM;
  double fraction;
};

Closest closestOnStep(const Plane& plane, const TCoord& a, const TCoord& b) {
  const double ax = plane.x(a), ay = plane.y(a), bx = plane.x(b), by = plane.y(b);
  const double dx = bx - ax, dy = by - ay, length2 = dx * dx + dy * dy;
  double u = length2 > 0.0 ? -(ax * dx + ay * dy) / length2 : 0.0;
  u = std::clamp(u, 0.0, 1.0);
  return {std::hypot(ax + u * dx, ay + u * dy), u};
}

}  // namespace

TrackTimeline::TrackTimeline(const VectorP<TVolGPS>& tracks, std::vector<TrackTimeScale> scales, const TimeZone& zone,
                             const TrackSettings& settings)
    : tracks_(tracks), scales_(std::move(scales)), zone_(zone), settings_(settings) {
  scales_.resize(tracks_.size(), TrackTimeScale::Utc);
  for (const TVolGPS& track : tracks_) {
    std::vector<Box>& boxes = boxes_.emplace_back();
    boxedPoints_.push_back(track.pointCount());
    for (std::size_t start = 0; start < track.pointCount(); start += kChunk) {
      Box b{90.0, -90.0, 180.0, -180.0};
      for (std::size_t k = start == 0 ? 0 : start - 1; k < std::min(start + kChunk, track.pointCount()); ++k) {
        const TCoord& p = track.point(k).position;
        b = {std::min(b.minLat, p.lat), std::max(b.maxLat, p.lat), std::min(b.minLon, p.lon), std::max(b.maxLon, p.lon)};
      }
      boxes.push_back(b);
    }
  }
}

DateTimeValue TrackTimeline::toTrackTime(std::size_t track, DateTimeValue lineTime) const {
  return scales_[track] == TrackTimeScale::Local ? zone_.toLocal(lineTime) : lineTime;
}

DateTimeValue TrackTimeline::toLineTime(std::size_t track, DateTimeValue trackTime) const {
  return scales_[track] == TrackTimeScale::Local ? zone_.toUtc(trackTime) : trackTime;
}

bool TrackTimeline::locate(DateTimeValue lineTime, Hit& out) const {
  for (std::size_t t = 0; t < std::min(tracks_.size(), scales_.size()); ++t) {
    const DateTimeValue trackTime = toTrackTime(t, lineTime);
    PositionAtTime where = tracks_[t].positionAtTime(trackTime, settings_);
    if (!where.covered()) continue;
    out = {t, trackTime, where};
    return true;
  }
  return false;
}

double TrackTimeline::speedAt(DateTimeValue lineTime) const {
  const double window = kSpeedWindowS / kSecondsPerDay;
  Hit before, after;
  if (!locate(lineTime - window, before) || !locate(lineTime + window, after) || before.track != after.track)
    return locate(lineTime, before) ? 0.0 : -1.0;  // at a track end: nothing to measure, taken as still
  return stepDistanceM(before.where.position, after.where.position) / (2.0 * kSpeedWindowS);
}

std::vector<TrackTimeline::Pass> TrackTimeline::passesNear(const TCoord& place, double radiusM) const {
  std::vector<Pass> passes;
  const Plane plane{place.lat, place.lon, std::cos(place.lat * kPi / kHalfTurnDeg)};
  const double maxGapDays = settings_.maxGapSeconds / kSecondsPerDay;
  const double marginLat = radiusM / kMetresPerDegree;
  const double marginLon = radiusM / (kMetresPerDegree * std::max(plane.cosLat0, 1e-6));
  auto distanceOf = [&](const TPuntVol& p) { return std::hypot(plane.x(p.position), plane.y(p.position)); };
  for (std::size_t t = 0; t < std::min(tracks_.size(), boxes_.size()); ++t) {
    const TVolGPS& track = tracks_[t];
    const std::size_t n = track.pointCount();
    const bool boxed = boxedPoints_[t] == n;
    std::size_t i = 1;
    while (i < n) {
      const Box& box = boxed ? boxes_[t][i / kChunk] : Box{-90.0, 90.0, -180.0, 180.0};
      if (place.lat < box.minLat - marginLat || place.lat > box.maxLat + marginLat ||
          place.lon < box.minLon - marginLon || place.lon > box.maxLon + marginLon) {
        i = (i / kChunk + 1) * kChunk;
        continue;
      }
      // A run: consecutive steps, each within the radius, none across a segment break or a gap.
      auto usable = [&](std::size_t k) {
        const DateTimeValue t0 = track.pointTime(k - 1), t1 = track.pointTime(k);
        return std::isfinite(t0) && std::isfinite(t1) && t1 >= t0 && t1 - t0 <= maxGapDays &&
               track.point(k).segmentStart == 0;
      };
      if (!usable(i) || closestOnStep(plane, track.point(i - 1).position, track.point(i).position).distanceM > radiusM) {
        ++i;
        continue;
      }
      double best = std::numeric_limits<double>::infinity();
      std::size_t bestStep = i;
      double bestFraction = 0.0;
      std::size_t end = i;
      for (; end < n && usable(end); ++end) {
        const Closest c = closestOnStep(plane, track.point(end - 1).position, track.point(end).position);
        if (c.distanceM > radiusM) break;
        if (c.distanceM < best) {
          best = c.distanceM;
          bestStep = end;
          bestFraction = c.fraction;
        }
      }
      const DateTimeValue t0 = track.pointTime(bestStep - 1), t1 = track.pointTime(bestStep);
      DateTimeValue when = t0 + bestFraction * (t1 - t0);
      // The visit: points on either side of the closest step that stay near the closest distance.
      std::size_t first = bestStep, last = bestStep - 1;
      while (first >= i && distanceOf(track.point(first - 1)) <= best + kVisitToleranceM) --first;
      while (last + 1 < end && distanceOf(track.point(last + 1)) <= best + kVisitToleranceM) ++last;
      if (last > first && (track.pointTime(last) - track.pointTime(first)) * kSecondsPerDay > kStopS)
        when = (track.pointTime(first) + track.pointTime(last)) / 2.0;
      passes.push_back({toLineTime(t, when), best});
      i = end + 1;
    }
  }
  return passes;
}

}  // namespace pixtrail
