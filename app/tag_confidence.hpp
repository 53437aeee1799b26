#pragma once
// How far to trust one tag: how close in time the track's own fixes are, how far apart the two
// that enclose the photo lie, whether the position was reached by stretching a track end, and what
// the receiver said of its fixes there (HDOP, satellites). From these, a horizontal error figure
// in metres, the kind EXIF 2.31 keeps as GPSHPositioningError.

#include <cstdint>
#include <string>

#include "tracks/TVolGPS.hpp"

namespace pixtrail {

struct TagConfidence {
  double nearestS = 0.0;  // seconds to the nearest recorded point
  double gapS = 0.0;      // seconds between the two enclosing points; 0 at a track end
  double jumpM = 0.0;     // metres between the two enclosing points; 0 at a track end
  bool atEnd = false;     // beyond a track end: the end's position, not interpolated
  double hdop = -1.0;     // the worse of the two points; negative when the track has none
  int satellites = -1;    // the fewer of the two; negative when the track has none
  double errorM = 0.0;    // estimated horizontal error
};

// Method: the fix error is HDOP x kUereM (kUnknownFixErrorM without HDOP); interpolating between
// fixes adds up to half the distance to the nearer one (a path that bends between fixes), summed
// in quadrature; beyond an end the traveller may have walked on at kWalkingSpeedMs. These are
// deliberate, round engineering figures, not a statistical model.
TagConfidence assessTag(const TVolGPS& track, DateTimeValue trackTime, const PositionAtTime& where);

// The figure as an unsigned EXIF rational (centimetres), ready for the GPS directory.
std::string positioningErrorRational(double errorM);

inline constexpr std::uint16_t kGpsHPositioningError = 0x1F;

}  // namespace pixtrail
