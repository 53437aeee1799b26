#include "cli/CoordGridCommand.hpp"

#include <memory>

namespace pixtrail::cli {

void setupCoordGrid(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<CoordGridOptions>();
  CLI::App* command = parent.add_subcommand(
      "grid", "Letter grid reference of LAT LON on \"BGN (British National Grid)\" or \"Irish Grid\"");
  addProjectionOptions(*command, options->choice);
  command->add_option("--digits", options->digits, "Digits of the reference: 2, 4, 6, 8 or 10")
      ->check(CLI::IsMember({2, 4, 6, 8, 10}));
  command->add_flag("--batch", options->batch, "Read one LAT LON per line from stdin");
  command->add_option("values", options->values, "LAT LON");
  command->callback([options, &global, &result] { result.status = runCoordGrid(*options, global); });
}

int runCoordGrid(const CoordGridOptions& options, const GlobalOptions& global) {
  PreparedProjection prepared;
  if (!prepareProjection(options.choice, global, prepared)) return kExitUsage;
  if (!prepared.projection->hasGridReference()) {
    std::fprintf(stderr, "No grid reference for %s\n", prepared.projection->shortName().c_str());
    return kExitUsage;
  }
  if (!options.batch && options.values.size() != 2) {
    std::fprintf(stderr, "LAT LON expected (or --batch)\n");
    return kExitUsage;
  }
  const TProyeccion& p = *prepared.projection;
  auto reference = [&](std::string_view input, std::string& output, std::string& why) {
    std::vector<double> v;
    if (!readNumbers(input, 2, v, nullptr, why)) return false;
    GridCoord grid;
    return p.project({v[1], v[0]}, prepared.datum, grid, why) &&
           p.gridReference(grid, options.digits, output, why);
  };
  return runInputs(options.batch, {joinArguments(options.values)}, reference);
}

}  // namespace pixtrail::cli
