#pragma once
// What the track and waypoint commands share: start-up and the settings for track files.

#include <string>

#include "cli/CommandContext.hpp"
#include "tracks/track_file_settings.hpp"

namespace pixtrail::cli {

// startCommand for the commands that need only the track file settings; a command's own options
// go on top afterwards. False with the messages printed on stderr.
bool startTrackCommand(const GlobalOptions& global, TrackFileSettings& settings, const std::string& logDate = "");
// The --date option of every command that opens tracks.
void addLogDateOption(CLI::App& command, std::string& logDate);

}  // namespace pixtrail::cli
