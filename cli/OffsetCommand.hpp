#pragma once
// `pixtrail offset`: estimates the camera clock's offset (and drift) against the tracks and prints
// the geotag options that apply it.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct OffsetCommandOptions {
  std::vector<std::string> tracks;
  std::vector<std::string> inputs;
  std::vector<std::string> clockPhotos;  // PHOTO=HH:MM:SS[Z]
  std::string timeZone;
  double maxGapSeconds = -1.0;  // negative: the configured maximum gap
  std::string logDate;          // YYYY-MM-DD for logs of times of day alone
  bool json = false;
};

void setupOffset(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runOffset(const OffsetCommandOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
