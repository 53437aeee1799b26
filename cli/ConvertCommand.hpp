#pragma once
// `pixtrail convert`: opens a file by its extension and saves it by another's, through the same
// dispatchers as everything else. Waypoint and route files likewise.

#include <CLI/CLI.hpp>
#include <string>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct ConvertCommandOptions {
  std::string input;
  std::string output;
  int coordinateMode = -1;  // negative: the configured mode for files
  std::string fileDatum;    // empty: the configured datum for files
  bool overwrite = false;   // replace an existing output file (the old one kept as .bak)
  std::string logDate;  // YYYY-MM-DD for logs of times of day alone
};

void setupConvert(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runConvert(const ConvertCommandOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
