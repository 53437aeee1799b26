#pragma once
// `pixtrail info`: what a track, waypoint or route file holds, with the recalculated summaries.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct InfoCommandOptions {
  std::vector<std::string> files;
  bool json = false;
  std::string logDate;  // YYYY-MM-DD for logs of times of day alone
};

void setupInfo(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runInfo(const InfoCommandOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
