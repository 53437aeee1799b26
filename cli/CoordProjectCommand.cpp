#include "cli/CoordProjectCommand.hpp"

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
  const char* planeFormat = p.unit() == PlaneUnit::kDegrees ? "%.9f %.9f" : "%.4f %.4f";
  auto forward = [&](std::string_view input, std::string& output, std::string& why) {
    std::vector<double> v;
    std::vector<std::string> rest;
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
    if (ecef) output = formatText("%.4f %.4f %.4f", grid.x, grid.y, grid.z);
    else if (grid.zone != 0) output = formatText("%.4f %.4f %d %c", grid.x, grid.y, grid.zone, grid.band);
    else output = formatText(planeFormat, grid.x, grid.y);
    return true;
  };
  return runInputs(options.batch, {joinArguments(options.values)}, forward);
}

}  // namespace pixtrail::cli
