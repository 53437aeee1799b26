#pragma once
// pixtrail coord unproject: a projection's plane coordinates back to latitude and longitude.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/CommandContext.hpp"
#include "cli/coord_inputs.hpp"

namespace pixtrail::cli {

struct CoordUnprojectOptions {
  ProjectionChoice choice;
  bool batch = false;
  std::vector<std::string> values;  // EAST NORTH [ZONE BAND] (ECEF: X Y Z)
};

void setupCoordUnproject(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runCoordUnproject(const CoordUnprojectOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
