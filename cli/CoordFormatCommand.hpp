#pragma once
// pixtrail coord format: a latitude and longitude as the program's coordinate texts.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct CoordFormatOptions {
  int format = -1;  // 0 to 4; negative: the configured format
  bool batch = false;
  std::vector<std::string> values;  // LAT LON
};

void setupCoordFormat(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runCoordFormat(const CoordFormatOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
