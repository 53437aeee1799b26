#pragma once
// pixtrail coord grid: the British or Irish letter grid reference of a position.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"
#include "cli/coord_inputs.hpp"

namespace pixtrail::cli {

struct CoordGridOptions {
  ProjectionChoice choice;
  int digits = 10;  // 2 to 10
  bool batch = false;
  std::vector<std::string> values;  // LAT LON
};

void setupCoordGrid(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runCoordGrid(const CoordGridOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
