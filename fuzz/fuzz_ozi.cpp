// OziExplorer track and waypoint files on arbitrary text.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tracks/track_format_ozi.hpp"
#include "tracks/track_format_ozi_wpt.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string message;
  pixtrail::TVolGPS track;
  if (pixtrail::readOziTrackText(text, "f", track, message)) (void)pixtrail::oziTrackText(track);
  pixtrail::TBalizas waypoints;
  if (pixtrail::parseWaypointFile(text, waypoints, message)) (void)pixtrail::oziWaypointFileText(waypoints);
  return 0;
}
