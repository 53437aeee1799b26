#include "cli/CoordUnprojectCommand.hpp"

#include <cmath>
#include <cctype>
#include <cstdio>
#include <memory>

namespace pixtrail::cli {

void setupCoordUnproject(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<CoordUnprojectOptions>();
  CLI::App* command = parent.add_subcommand("unproject", "Unproject EAST NORTH [ZONE BAND]: prints LAT LON");
  addProjectionOptions(*command, options->choice);
  command->add_flag("--batch", options->batch, "Read one EAST NORTH [ZONE BAND] per line from stdin");
  command->add_option("values", options->values, "EAST NORTH [ZONE BAND] (ECEF: X Y Z)");
  command->callback([options, &global, &result] { result.status = runCoordUnproject(*options, global); });
}

int runCoordUnproject(const CoordUnprojectOptions& options, const GlobalOptions& global) {
  PreparedProjection prepared;
  if (!prepareProjection(options.choice, global, prepared)) return kExitUsage;
  if (!options.batch && options.values.size() < 2) {
    std::fprintf(stderr, "EAST NORTH expected (or --batch)\n");
    return kExitUsage;
  }
  const TProyeccion& p = *prepared.projection;
  const int datum = prepared.datum;
  const bool ecef = prepared.geocentric;
  std::vector<double> v;  // reused from line to line
  std::vector<std::string> rest;
  auto inverse = [&](std::string_view input, std::string& output, std::string& why) {
    if (!readNumbers(input, ecef ? 3 : 2, v, &rest, why)) return false;
    GridCoord grid{v[0], v[1]};
    if (ecef) grid.z = v[2];
    if (!rest.empty()) {
      std::vector<double> zone;
      if (ecef || !readNumbers(rest[0], 1, zone, nullptr, why) || zone[0] != static_cast<int>(zone[0])) {
        why = "zone number expected: " + rest[0];
        return false;
      }
      grid.zone = static_cast<int>(zone[0]);
    }
    if (rest.size() >= 2) {
      if (rest.size() > 2 || rest[1].size() != 1) {
        why = "band letter expected: " + rest[1];
        return false;
      }
      grid.band = static_cast<char>(std::toupper(static_cast<unsigned char>(rest[1][0])));
    }
    TCoord position;
    if (!p.unproject(grid, datum, position, why)) return false;
    if (!std::isfinite(position.lat) || !std::isfinite(position.lon)) {
      why = "The projection gives no position here";
      return false;
    }
    appendFixed(output, position.lat, 9);
    output += ' ';
    appendFixed(output, position.lon, 9);
    if (ecef) {
      output += ' ';
      appendFixed(output, position.alt, 4);
    }
    return true;
  };
  return runInputs(options.batch, {joinArguments(options.values)}, inverse);
}

}  // namespace pixtrail::cli
