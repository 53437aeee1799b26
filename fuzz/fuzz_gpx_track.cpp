// The streaming GPX track reader, and its waypoint reader, on arbitrary text.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tracks/track_format_gpx.hpp"
#include "tracks/waypoint_format_gpx.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string message;
  pixtrail::TVolGPS track;
  if (pixtrail::readGpxTrackText(text, track, message)) (void)pixtrail::gpxTrackText(track);
  pixtrail::TBalizas waypoints;
  (void)pixtrail::readGpxWaypointsText(text, "f", waypoints, message);
  return 0;
}
