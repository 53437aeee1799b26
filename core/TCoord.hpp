#pragma once
// A geographic position: longitude and latitude in decimal degrees (east and north positive) and
// an altitude in metres. It carries no datum: every holder keeps the datum index beside it.

namespace pixtrail {

// A stored altitude at or below this means "no altitude"; files write kUnknownAltitudeText.
inline constexpr float kNoAltitudeLimit = -999.0f;
inline constexpr float kUnknownAltitude = -9999.0f;
inline constexpr const char* kUnknownAltitudeText = "-9999";

inline constexpr bool hasAltitude(float altM) { return altM > kNoAltitudeLimit; }

struct TCoord {
  double lon = 0.0;
  double lat = 0.0;
  float alt = kUnknownAltitude;

  friend bool operator==(const TCoord&, const TCoord&) = default;
};

// Datum index into the datum table; row 0 is WGS 84 and -1 the working datum.
inline constexpr int kDatumWgs84 = 0;
inline constexpr int kWorkingDatum = -1;

}  // namespace pixtrail
