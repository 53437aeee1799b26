#pragma once
// pixtrail coord parse: typed latitudes and longitudes to degrees.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct CoordParseOptions {
  int format = -1;        // 3 or 4 read those formats' texts, others typed text; negative: the configured one
  bool latitude = false;  // format 4 texts carry no letter: the caller says the axis
  bool batch = false;
  std::vector<std::string> texts;
};

void setupCoordParse(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runCoordParse(const CoordParseOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
