#include "app/tag_confidence.hpp"

#include <algorithm>
#include <cmath>

#include "core/byte_order.hpp"

namespace pixtrail {

namespace {

constexpr double kUereM = 5.0;             // user equivalent range error of a consumer receiver
constexpr double kUnknownFixErrorM = 10.0; // a fix whose receiver gave no HDOP
constexpr double kWalkingSpeedMs = 1.4;
constexpr double kCentimetresPerMetre = 100.0;

// Date-time values carry microsecond noise; tags are taken at whole seconds, fixes at milliseconds.
double toMilliseconds(double seconds) { return std::round(seconds * 1000.0) / 1000.0; }

}  // namespace

TagConfidence assessTag(const TVolGPS& track, DateTimeValue trackTime, const PositionAtTime& where) {
  TagConfidence c;
  if (!where.covered() || where.index < 0 || static_cast<std::size_t>(where.index) >= track.pointCount()) return c;
  const std::size_t later = static_cast<std::size_t>(where.index);
  const bool pair = where.status == PositionAtTime::Status::Interpolated && later > 0;
  const std::size_t earlier = pair ? later - 1 : later;
  const TPuntVol& a = track.point(earlier);
  const TPuntVol& b = track.point(later);
  const double ta = track.pointTime(earlier), tb = track.pointTime(later);
  c.atEnd = where.status == PositionAtTime::Status::AtEnd;
  c.nearestS = toMilliseconds(std::min(std::fabs(trackTime - ta), std::fabs(tb - trackTime)) * kSecondsPerDay);
  if (pair) {
    c.gapS = toMilliseconds((tb - ta) * kSecondsPerDay);
    c.jumpM = stepDistanceM(a.position, b.position);
  }
  if (a.hdop > 0.0f && b.hdop > 0.0f) c.hdop = std::max(a.hdop, b.hdop);
  if (a.satellites > 0 && b.satellites > 0) c.satellites = std::min(a.satellites, b.satellites);

  const double fixM = c.hdop > 0.0 ? c.hdop * kUereM : kUnknownFixErrorM;
  if (c.atEnd) {
    c.errorM = fixM + kWalkingSpeedMs * c.nearestS;
  } else {
    const double nearer = std::min(where.fraction, 1.0 - where.fraction) * c.jumpM;
    c.errorM = std::hypot(fixM, nearer / 2.0);
  }
  return c;
}

std::string positioningErrorRational(double errorM) {
  std::string data;
  const double cm = std::clamp(std::round(errorM * kCentimetresPerMetre), 0.0, 4.0e9);
  appendU32(data, static_cast<std::uint32_t>(cm), ByteOrder::little);
  appendU32(data, static_cast<std::uint32_t>(kCentimetresPerMetre), ByteOrder::little);
  return data;
}

}  // namespace pixtrail
