#pragma once
// pixtrail coord project: geographic positions to a projection's plane.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"
#include "cli/coord_inputs.hpp"

namespace pixtrail::cli {

struct CoordProjectOptions {
  ProjectionChoice choice;
  bool batch = false;
  std::vector<std::string> values;  // LAT LON (ECEF: LAT LON [ALT])
};

void setupCoordProject(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runCoordProject(const CoordProjectOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
