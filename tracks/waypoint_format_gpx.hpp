#pragma once
// GPX waypoints (<wpt>) into a waypoint file and back: name, position, elevation, description
// (<desc>, else <cmt>) and symbol (<sym>). Streamed like GPX tracks.
#include <cstdio>
#include <string>
#include <string_view>

#include "tracks/TBalizas.hpp"

namespace pixtrail {

bool readGpxWaypointsStream(std::FILE* f, const std::string& fileName, TBalizas& file, std::string& message);
bool readGpxWaypointsText(std::string_view text, const std::string& fileName, TBalizas& file,
                          std::string& message);
std::string gpxWaypointsText(const TBalizas& file);

}  // namespace pixtrail
