// Track model: altitude rule, Recalculate, segments, field access and the position at a time.
//
// Distances: a step between consecutive points is measured on the WGS 84 ellipsoid in the plane
// tangent at the step's mid-latitude, dx = N(phi) cos(phi) dlam, dy = M(phi) dphi, with M and N the
// meridian and prime-vertical radii of curvature (Torge, Geodesy, 4th ed., 2012, sec. 3.2). The
// relative error grows with the step and the latitude: for steps up to 5 km (GPS logs rarely space
// fixes wider) it stays below 1e-6 within 80 degrees of the equator and below 4e-6 at 85 degrees,
// as tests/tracks/TVolGPS_oracle_test.cpp checks against GeographicLib's GeodSolve. Steps longer than kLongStepM (a
// receiver off in a moving vehicle) use the great circle on the mean sphere R1 = 6371008.8 m (IUGG),
// within 0.5 %. Positions are taken as WGS 84 whatever the working datum: datum shifts change
// lengths by far less than GPS noise.

#include "tracks/TVolGPS.hpp"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>

#include "core/angles.hpp"
#include "core/messages.hpp"

namespace pixtrail {

namespace {
constexpr double kWgs84A = 6378137.0;
constexpr double kWgs84F = 1.0 / 298.257223563;
constexpr double kWgs84E2 = kWgs84F * (2.0 - kWgs84F);
constexpr double kMeanRadiusM = 6371008.8;
constexpr double kLongStepM = 100000.0;
constexpr double kNoTime = -std::numeric_limits<double>::infinity();
constexpr double kBeyondTrackDays = 1.0;

// Difference b - a of two longitudes, taken the short way round.
double lonDifferenceDeg(double a, double b) {
  double d = std::fmod(b - a, kFullTurnDeg);
  if (d > kHalfTurnDeg) d -= kFullTurnDeg;
  if (d < -kHalfTurnDeg) d += kFullTurnDeg;
  return d;
}

double normalizeLonDeg(double lon) {
  double l = std::fmod(lon + kHalfTurnDeg, kFullTurnDeg);
  if (l < 0) l += kFullTurnDeg;
  return l - kHalfTurnDeg;
}

// Point times have millisecond resolution at best; rounding removes the day-fraction noise.
double secondsBetween(DateTimeValue a, DateTimeValue b) {
  constexpr double kMsPerSecond = 1000.0;
  return std::round((b - a) * kSecondsPerDay * kMsPerSecond) / kMsPerSecond;
}

double greatCircleM(const TCoord& a, const TCoord& b) {
  const double phi1 = a.lat * kRadPerDeg, phi2 = b.lat * kRadPerDeg;
  const double dphi = phi2 - phi1, dlam = lonDifferenceDeg(a.lon, b.lon) * kRadPerDeg;
  const double h = std::sin(dphi / 2) * std::sin(dphi / 2) +
                   std::cos(phi1) * std::cos(phi2) * std::sin(dlam / 2) * std::sin(dlam / 2);
  return 2.0 * kMeanRadiusM * std::asin(std::min(1.0, std::sqrt(h)));
}
}  // namespace

std::string subtrackFileName(std::string_view trackFileName) {
  std::string name(trackFileName);
  const std::size_t slash = name.find_last_of("/\\");
  const std::size_t dot = name.rfind('.');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) name.resize(dot);
  return name + "_subtrack.TRK";
}

double stepDistanceM(const TCoord& a, const TCoord& b) {
  const double phiM = (a.lat + b.lat) / 2.0 * kRadPerDeg;
  const double s = std::sin(phiM);
  const double w2 = 1.0 - kWgs84E2 * s * s;
  const double n = kWgs84A / std::sqrt(w2);                 // prime vertical
  const double m = kWgs84A * (1.0 - kWgs84E2) / (w2 * std::sqrt(w2));  // meridian
  const double dx = n * std::cos(phiM) * lonDifferenceDeg(a.lon, b.lon) * kRadPerDeg;
  const double dy = m * (b.lat - a.lat) * kRadPerDeg;
  const double d = std::hypot(dx, dy);
  return d > kLongStepM ? greatCircleM(a, b) : d;
}

double bearingDeg(const TCoord& a, const TCoord& b) {
  const double phi1 = a.lat * kRadPerDeg, phi2 = b.lat * kRadPerDeg;
  const double dlam = lonDifferenceDeg(a.lon, b.lon) * kRadPerDeg;
  const double y = std::sin(dlam) * std::cos(phi2);
  const double x = std::cos(phi1) * std::sin(phi2) - std::sin(phi1) * std::cos(phi2) * std::cos(dlam);
  double deg = std::atan2(y, x) / kRadPerDeg;
  if (deg < 0) deg += kFullTurnDeg;
  return deg;
}

const std::string& TVolGPS::headerText(char letter) const {
  const std::size_t i = kHeaderLetters.find(letter);
  if (i == std::string_view::npos) fatalError("TVolGPS: unknown header letter");
  return headerTexts_[i];
}

std::string& TVolGPS::headerText(char letter) {
  const std::size_t i = kHeaderLetters.find(letter);
  if (i == std::string_view::npos) fatalError("TVolGPS: unknown header letter");
  return headerTexts_[i];
}

DateTimeValue TVolGPS::pointTime(std::size_t i) const {
  DateTimeValue v = 0.0;
  return points[i].time.toValue(v) ? v : kNoTime;
}

bool TVolGPS::Recalculate(const TrackSettings& settings, std::string& message) {
  try {
    TrackSummary s;
    if (!points.empty()) points[0].segmentStart = 1;
    double distance = 0.0, movingDistance = 0.0;
    const TPuntVol* previous = nullptr;
    DateTimeValue previousTime = kNoTime;
    float previousAlt = kUnknownAltitude;
    double referenceAlt = std::numeric_limits<double>::quiet_NaN();  // gain/loss hysteresis anchor
    for (TPuntVol& p : points) {
      if (p.segmentStart) {
        ++s.segments;
        referenceAlt = std::numeric_limits<double>::quiet_NaN();
      }
      DateTimeValue value = 0.0;
      const DateTimeValue t = p.time.toValue(value) ? value : kNoTime;
      const float alt = p.altitude(settings.preferGpsAltitude);
      s.minLat = std::min(s.minLat, p.position.lat);
      s.maxLat = std::max(s.maxLat, p.position.lat);
      s.minLon = std::min(s.minLon, p.position.lon);
      s.maxLon = std::max(s.maxLon, p.position.lon);
      if (t != kNoTime) {
        if (!s.hasTimes) s.start = t;
        s.end = t;
        s.hasTimes = true;
      }
      if (hasAltitude(alt)) {
        s.hasAltitudes = true;
        s.altitudeMinM = std::min<double>(s.altitudeMinM, alt);
        s.altitudeMaxM = std::max<double>(s.altitudeMaxM, alt);
        if (std::isnan(referenceAlt)) {
          referenceAlt = alt;
        } else if (alt - referenceAlt >= kAltitudeHysteresisM) {
          s.gainM += alt - referenceAlt;
          referenceAlt = alt;
        } else if (referenceAlt - alt >= kAltitudeHysteresisM) {
          s.lossM += referenceAlt - alt;
          referenceAlt = alt;
        }
      }
      if (p.cadenceRpm >= 0.0f) s.hasCadence = true;
      if (previous && !p.segmentStart) {
        const double step = stepDistanceM(previous->position, p.position);
        distance += step;
        const double dt = secondsBetween(previousTime, t);
        if (t != kNoTime && previousTime != kNoTime && dt > 0.0) {
          const double v = step / dt;
          if (v >= kMovingSpeedMs) {
            s.movingTimeS += dt;
            movingDistance += step;
          }
          s.maxSpeedMs = std::max(s.maxSpeedMs, v);
          if (dt >= kMinVerticalStepS && hasAltitude(alt) && hasAltitude(previousAlt)) {
            const double vz = (alt - previousAlt) / dt;
            s.maxClimbMs = std::max(s.maxClimbMs, vz);
            s.maxSinkMs = std::max(s.maxSinkMs, -vz);
          }
        }
      }
      p.distanceFromStartM = static_cast<float>(distance);
      previous = &p;
      previousTime = t;
      previousAlt = alt;
    }
    s.distanceM = distance;
    if (s.hasTimes) s.durationS = secondsBetween(s.start, s.end);
    if (s.durationS > 0.0) s.averageSpeedMs = distance / s.durationS;
    if (s.movingTimeS > 0.0) s.movingSpeedMs = movingDistance / s.movingTimeS;
    summary_ = s;
    return true;
  } catch (const std::exception&) {
    appendMessage(message, "Exception in TVolGPS::Recalculate()");
    return false;
  }
}

std::vector<std::pair<std::size_t, std::size_t>> TVolGPS::segments() const {
  std::vector<std::pair<std::size_t, std::size_t>> out;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (i == 0 || points[i].segmentStart) {
      if (!out.empty()) out.back().second = i;
      out.emplace_back(i, points.size());
    }
  }
  return out;
}

std::unique_ptr<TVolGPS> TVolGPS::segmentAsTrack(std::size_t k) const {
  const auto ranges = segments();
  if (k >= ranges.size()) return nullptr;
  auto track = std::make_unique<TVolGPS>();
  track->fileName = subtrackFileName(fileName);
  track->headerTexts_ = headerTexts_;
  track->colour = colour;
  track->width = width;
  track->drawParameter = drawParameter;
  track->hasTimeOffset = hasTimeOffset;
  track->timeOffsetS = timeOffsetS;
  track->display = display;
  for (std::size_t i = ranges[k].first; i < ranges[k].second; ++i) track->appendPoint(points[i].clone());
  return track;
}

long TVolGPS::indexAtTime(DateTimeValue t, int mode) const {
  const std::size_t n = points.size();
  if (n == 0 || std::isnan(t)) return -1;
  // First point whose time is not earlier than t.
  std::size_t lo = 0, hi = n;
  while (lo < hi) {
    const std::size_t mid = lo + (hi - lo) / 2;
    if (pointTime(mid) < t) lo = mid + 1; else hi = mid;
  }
  if (lo == n) return mode == 1 ? static_cast<long>(n - 1) : -1;
  if (lo == 0 && pointTime(0) > t) return mode == 1 ? 0 : -1;
  return static_cast<long>(lo);
}

PositionAtTime TVolGPS::positionAtTime(DateTimeValue t, const TrackSettings& settings) const {
  PositionAtTime r;
  const long i = indexAtTime(t, 1);
  if (i < 0) return r;
  const double maxGapDays = settings.maxGapSeconds / kSecondsPerDay;
  const TPuntVol& p1 = points[static_cast<std::size_t>(i)];
  const DateTimeValue t1 = pointTime(static_cast<std::size_t>(i));
  if (t1 == kNoTime) return r;
  r.index = i;
  // Outside the track's times: the end point stands in while it is no older than the maximum gap.
  const bool beforeStart = i == 0 && t < t1;
  const bool afterEnd = static_cast<std::size_t>(i) + 1 == points.size() && t > t1;
  if (beforeStart || afterEnd || (i == 0 && t == t1)) {
    r.beyondTrack = afterEnd && t - t1 > kBeyondTrackDays;
    if (std::abs(t - t1) > maxGapDays) return r;
    r.status = t == t1 ? PositionAtTime::Status::Interpolated : PositionAtTime::Status::AtEnd;
    r.position = p1.position;
    r.position.alt = p1.altitude(settings.preferGpsAltitude);
    if (!hasAltitude(r.position.alt)) r.position.alt = kUnknownAltitude;
    r.courseDeg = p1.courseDeg >= 0.0f ? p1.courseDeg : -1.0;
    r.speedMs = p1.speedMs >= 0.0f ? p1.speedMs : -1.0;
    r.fraction = afterEnd ? 1.0 : 0.0;
    return r;
  }
  const TPuntVol& p0 = points[static_cast<std::size_t>(i - 1)];
  const DateTimeValue t0 = pointTime(static_cast<std::size_t>(i - 1));
  // A receiver switched off (or a gap in logging) longer than the limit: nothing to interpolate.
  if (t0 == kNoTime || (t1 - t0 > maxGapDays && t != t0 && t != t1)) return r;
  const double f = t1 > t0 ? (t - t0) / (t1 - t0) : 0.0;
  r.status = PositionAtTime::Status::Interpolated;
  r.fraction = f;
  // Linear in latitude and longitude: at GPS point spacing the curvature error is millimetres.
  r.position.lat = p0.position.lat + f * (p1.position.lat - p0.position.lat);
  r.position.lon = normalizeLonDeg(p0.position.lon + f * lonDifferenceDeg(p0.position.lon, p1.position.lon));
  const float a0 = p0.altitude(settings.preferGpsAltitude), a1 = p1.altitude(settings.preferGpsAltitude);
  if (hasAltitude(a0) && hasAltitude(a1))
    r.position.alt = static_cast<float>(a0 + f * (a1 - a0));
  else if (hasAltitude(f < 0.5 ? a0 : a1))
    r.position.alt = f < 0.5 ? a0 : a1;
  else
    r.position.alt = kUnknownAltitude;
  // Course: the recorded courses turned the short way round; without them, the pair's bearing.
  if (p0.courseDeg >= 0.0f && p1.courseDeg >= 0.0f) {
    double c = p0.courseDeg + f * lonDifferenceDeg(p0.courseDeg, p1.courseDeg);
    c = std::fmod(c, kFullTurnDeg);
    r.courseDeg = c < 0 ? c + kFullTurnDeg : c;
  } else if (p0.position.lat != p1.position.lat || p0.position.lon != p1.position.lon) {
    r.courseDeg = bearingDeg(p0.position, p1.position);
  }
  if (p0.speedMs >= 0.0f && p1.speedMs >= 0.0f)
    r.speedMs = p0.speedMs + f * (p1.speedMs - p0.speedMs);
  else if (t1 > t0)
    r.speedMs = stepDistanceM(p0.position, p1.position) / ((t1 - t0) * kSecondsPerDay);
  return r;
}

}  // namespace pixtrail
