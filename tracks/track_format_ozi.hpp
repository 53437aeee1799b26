#pragma once
// OziExplorer track files (PLT, "OziExplorer Track Point File Version 2.1"): six header lines
// (title, datum name, "Altitude is in Feet", "Reserved 3", the track line with width, colour and
// name, a point count that readers must not trust), then one point per line:
//   latitude, longitude, segment break (1 starts a segment), altitude in feet (-777: none),
//   date as days since 1899-12-30 (fractional), date text, time text.
// The numeric date is the one read; the two texts are localized and only written for people.
// The datum is looked up by the OziExplorer name in the datum table.
#include <optional>
#include <string>
#include <string_view>

#include "tracks/TVolGPS.hpp"

namespace pixtrail {

inline constexpr double kOziNoAltitudeFeet = -777.0;

struct OziTrackPoint {
  double lat = 0.0, lon = 0.0;
  bool startsSegment = false;
  std::optional<double> altFeet;
  std::optional<double> days;  // days since 1899-12-30; absent or 0 when the point has no time
};
std::optional<OziTrackPoint> decodeOziTrackPoint(std::string_view line);

bool readOziTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                      std::string& message);
std::string oziTrackText(const TVolGPS& track, const TrackSettings& settings = {});

}  // namespace pixtrail
