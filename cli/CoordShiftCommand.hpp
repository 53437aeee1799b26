#pragma once
// pixtrail coord shift --from DATUM --to DATUM LAT LON [ALT] (or --batch from stdin): a position
// from one datum of the table to another.

#include <string>
#include <vector>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct CoordShiftOptions {
  std::string from;
  std::string to;
  std::vector<std::string> position;  // LAT LON [ALT]
  bool batch = false;
};

void setupCoordShift(CLI::App& coord, const GlobalOptions& global, CommandResult& result);
int runCoordShift(const CoordShiftOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
