#pragma once
// `pixtrail geotag`: place photos on tracks by their capture time and write the positions.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct GeotagCommandOptions {
  std::vector<std::string> tracks;
  std::vector<std::string> inputs;
  std::string offset;  // "[+|-]HH:MM:SS"
  std::string outDir;
  bool inPlace = false;
  bool noSync = false;  // --out: leave flushing the new photos to the system
  std::string markTrack;
  bool overwrite = false;  // replace an existing --mark-track file
  bool keepMtime = false;
  bool readOnly = false;  // rewrite read-only photos too
  bool dryRun = false;
  bool json = false;
  std::string logDate;          // YYYY-MM-DD for logs of times of day alone
  double maxGapSeconds = -1.0;  // negative: the configured maximum gap
  std::string timeZone;        // IANA name or "local"
  bool autoOffset = false;
  double driftSPerHour = 0.0;
  double maxJumpM = 0.0;       // 0: no limit
  bool writeError = false;
  bool force = false;
  bool exactQuirks = false;
};

void setupGeotag(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runGeotag(const GeotagCommandOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
