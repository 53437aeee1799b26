// pixtrail: one subcommand per job. main only registers the subcommands and parses.

#include <CLI/CLI.hpp>
#include <cstdio>

#include "cli/CommandContext.hpp"
// Command headers, one group per subsystem.
// -- coordinates: datum table and shifts --

// -- coordinates: projections, text and units --

// -- tracks and waypoints --

// -- photos --
#include "cli/ExifCommand.hpp"
#include "cli/GeotagCommand.hpp"

// -- receivers --

int main(int argc, char** argv) {
  using namespace pixtrail::cli;
  CLI::App app{"Pixtrail: geotag photos from GPS tracks; tracks, waypoints, coordinates and receivers"};
  app.set_version_flag("--version", "pixtrail 0.1.0");
  GlobalOptions global;
  CommandResult result;
  addGlobalOptions(app, global);

  CLI::App& coord = *app.add_subcommand("coord", "Convert positions: datums, projections, coordinate text");
  coord.require_subcommand(1);

  // -- coordinates: datum table and shifts --

  // -- coordinates: projections, text and units --

  // -- tracks and waypoints --

  // -- photos --
  setupGeotag(app, global, result);
  setupExif(app, global, result);

  // -- receivers --

  app.require_subcommand(1);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? kExitOk : kExitUsage;
  }
  return result.status;
}
