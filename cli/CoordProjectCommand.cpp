#include "cli/CoordProjectCommand.hpp"

#include <cmath>
#include <cstdio>
#include <memory>

namespace pixtrail::cli {

void setupCoordProject(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<CoordProjectOptions>();
  CLI::App* command = parent.add_subcommand("project", "Project LAT LON: prints EAST NORTH (UTM: EAST NORTH ZONE BAND)");
  addProjectionOptions(*command, options->choice);
  command->add_flag("--batch", options->batch, "Read one LAT LON per line from stdin");
  command->add_option("values", options->values, "LAT LON (ECEF: LAT LON [ALT])");
  command->callback([options, &global, &result] { result.status = runCoordProject(*options, global); });
}

int runCoordProject(const CoordProjectOptions& options, const GlobalOptions& global) {
  PreparedProjection prepared;
  if (!prepareProjection(options.choice, global, prepared)) return kExitUsage;
  if (!options.batch && options.values.size() < 2) {
    std::fprintf(stderr, "LAT LON expected (or --batch)\n");
    return kExitUsage;
  }
  const TProyeccion& p = *prepared.projection;
  const int datum = prepared.datum;
  const bool ecef = prepared.geocentric;
  const int decimals = p.unit() == PlaneUnit::kDegrees ? 9 : 4;
  std::vector<double> v;  // reused from line to line
  std::vector<std::string> rest;
  auto forward = [&](std::string_view input, std::string& output, std::string& why) {
    if (!readNumbers(input, 2, v, &rest, why)) return false;
    TCoord position{v[1], v[0]};
    if (ecef && !rest.empty()) {
      std::vector<double> alt;
      if (!readNumbers(rest[0], 1, alt, nullptr, why)) return false;
      position.alt = static_cast<float>(alt[0]);
    } else if (!rest.empty()) {
      why = "unexpected text: " + rest[0];
      return false;
    }
    GridCoord grid;
    if (!p.project(position, datum, grid, why)) return false;
    // Near a projection's singularities the formulas give infinities rather than failing.
    if (!std::isfinite(grid.x) || !std::isfinite(grid.y) || !std::isfinite(grid.z)) {
      why = "The projection gives no position here";
      return false;
    }
    appendFixed(output, grid.x, decimals);
    output += ' ';
    appendFixed(output, grid.y, decimals);
    if (ecef) {
      output += ' ';
      appendFixed(output, grid.z, decimals);
    } else if (grid.zone != 0) {
      output += ' ';
      output += std::to_string(grid.zone);
      output += ' ';
      output += grid.band;
    }
    return true;
  };
  return runInputs(options.batch, {joinArguments(options.values)}, forward);
}

}  // namespace pixtrail::cli
