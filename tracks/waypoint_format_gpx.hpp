#pragma once
// GPX waypoints (<wpt>) into a waypoint file and back: name, position, elevation, description
// (<desc>, else <cmt>) and symbol (<sym>). Streamed like GPX tracks.
#include <filesystem>
#include <string>
#include <string_view>

#include "tracks/TBalizas.hpp"

namespace pixtrail {

bool readGpxWaypointsText(std::string_view text, const std::string& fileName, TBalizas& file,
                          std::string& message);
bool readGpxWaypoints(const std::filesystem::path& path, TBalizas& file, std::string& message);
std::string gpxWaypointsText(const TBalizas& file);
bool writeGpxWaypoints(const TBalizas& file, const std::filesystem::path& path, bool keepBackup,
                       std::string& message);

}  // namespace pixtrail
