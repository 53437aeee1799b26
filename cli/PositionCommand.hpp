#pragma once
// `pixtrail position`: the position on a track at given times.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct PositionCommandOptions {
  std::string track;
  std::vector<std::string> times;  // YYYY-MM-DDTHH:MM:SS[.sss], the track's own time scale
  double maxGapSeconds = -1.0;     // negative: the configured maximum gap
  bool json = false;
  std::string logDate;  // YYYY-MM-DD for logs of times of day alone
};

void setupPosition(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runPosition(const PositionCommandOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
