#pragma once
// `pixtrail kml`: tracks and waypoint files as one KML document for a globe viewer.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct KmlCommandOptions {
  std::vector<std::string> inputs;  // tracks by their extension; .wpt (and .gpx with --waypoints) as pins
  std::vector<std::string> waypointFiles;
  std::string output;
  bool overwrite = false;
  std::string logDate;  // YYYY-MM-DD for logs of times of day alone
};

void setupKml(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runKml(const KmlCommandOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
