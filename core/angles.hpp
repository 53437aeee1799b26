#pragma once
// Angles: the turn and radian constants, named once so that no formula holds a bare 90, 180 or
// 3600, and the plausibility check every reader of positions applies (GeographicLib's Math::qd,
// hd, td, dm, ds are the model).

#include <cmath>
#include <numbers>

namespace pixtrail {

inline constexpr double kPi = std::numbers::pi;
inline constexpr double kQuarterTurnDeg = 90.0;
inline constexpr double kHalfTurnDeg = 180.0;
inline constexpr double kFullTurnDeg = 360.0;
inline constexpr double kMinutesPerDegree = 60.0;
inline constexpr double kSecondsPerDegree = 3600.0;

// Written as the program always has, pi * (1/180) and 180 * (1/pi): each is the same double as
// pi/180 and 180/pi, but `x * pi / 180` (two roundings) is not `x * kRadPerDeg`, so callers
// that wrote the former keep it.
inline constexpr double kRadPerDeg = kPi * (1.0 / kHalfTurnDeg);
inline constexpr double kDegPerRad = kHalfTurnDeg * (1.0 / kPi);

// The limits of a plausible position. Longitudes are signed (west negative) up to 180; readers of
// formats whose writers may count east from 0 to 360 (OziExplorer, GPX, CSV) and the coordinate
// shift command take longitudes up to 360 and leave them as read.
inline constexpr double kMaxLatDeg = kQuarterTurnDeg;
inline constexpr double kMaxLonDeg = kHalfTurnDeg;
inline constexpr double kMaxEastLonDeg = kFullTurnDeg;

// Whether the angle may be a latitude (longitude): its size within the limit. NaN never is, and
// neither is an infinity, so a reader that let them through still stops them here.
inline bool isPlausibleLat(double lat) { return std::fabs(lat) <= kMaxLatDeg; }
inline bool isPlausibleLon(double lon, double maxLonDeg = kMaxLonDeg) { return std::fabs(lon) <= maxLonDeg; }
inline bool isPlausibleLatLon(double lat, double lon, double maxLonDeg = kMaxLonDeg) {
  return isPlausibleLat(lat) && isPlausibleLon(lon, maxLonDeg);
}

}  // namespace pixtrail
