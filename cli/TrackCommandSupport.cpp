#include "cli/TrackCommandSupport.hpp"

#include <cstdio>
#include <filesystem>

#include "app/Startup.hpp"
#include "app/track_settings.hpp"
#include "core/text.hpp"

namespace pixtrail::cli {

bool startTrackCommand(const GlobalOptions& global, TrackFileSettings& settings) {
  if (!startCommand(global)) return false;
  std::string warning;
  settings = trackFileSettingsFromConfiguration(warning);
  if (!warning.empty()) std::fprintf(stderr, "%s\n", warning.c_str());
  return true;
}

DataFileKind dataFileKind(const std::string& file) {
  const std::string ext = std::filesystem::path(file).extension().string();
  if (equalsIgnoreCase(ext, ".WPT") || equalsIgnoreCase(ext, ".UPT")) return DataFileKind::Waypoints;
  if (equalsIgnoreCase(ext, ".RTE")) return DataFileKind::Routes;
  return DataFileKind::Track;
}

}  // namespace pixtrail::cli
