// pixtrail: one subcommand per job. main only registers the subcommands and parses.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>

#include "cli/CommandContext.hpp"
// Command headers, one group per subsystem.
// -- coordinates: datum table and shifts --
#include "cli/CoordShiftCommand.hpp"
#include "cli/DatumsCommand.hpp"

// -- coordinates: projections, text and units --
#include "cli/CoordFormatCommand.hpp"
#include "cli/CoordGridCommand.hpp"
#include "cli/CoordParseCommand.hpp"
#include "cli/CoordProjectCommand.hpp"
#include "cli/CoordUnprojectCommand.hpp"

// -- tracks and waypoints --
#include "cli/ConvertCommand.hpp"
#include "cli/InfoCommand.hpp"
#include "cli/KmlCommand.hpp"
#include "cli/PositionCommand.hpp"

// -- photos --
#include "cli/ExifCommand.hpp"
#include "cli/GeotagCommand.hpp"
#include "cli/OffsetCommand.hpp"

// -- receivers --
#include "cli/MagellanCommand.hpp"
#include "cli/DetectCommand.hpp"
#include "cli/GarminCommand.hpp"
#include "cli/NmeaCommand.hpp"
#include "cli/PortsCommand.hpp"

int main(int argc, char** argv) {
  using namespace pixtrail::cli;
#ifdef _WIN32
  // The same bytes as on every other system: no CR slipped in before each LF.
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
#endif
  CLI::App app{"Pixtrail: geotag photos from GPS tracks; tracks, waypoints, coordinates and receivers"};
  app.set_version_flag("--version", "pixtrail " PIXTRAIL_VERSION);
  // The same options on every system: "/path" is a file name, never a Windows-style "/option".
  app.allow_windows_style_options(false);
  GlobalOptions global;
  CommandResult result;
  addGlobalOptions(app, global);

  CLI::App& coord = *app.add_subcommand("coord", "Convert positions: datums, projections, coordinate text");
  coord.require_subcommand(1);

  // -- coordinates: datum table and shifts --
  setupDatums(app, global, result);
  setupCoordShift(coord, global, result);

  // -- coordinates: projections, text and units --
  setupCoordProject(coord, global, result);
  setupCoordUnproject(coord, global, result);
  setupCoordFormat(coord, global, result);
  setupCoordParse(coord, global, result);
  setupCoordGrid(coord, global, result);

  // -- tracks and waypoints --
  setupInfo(app, global, result);
  setupConvert(app, global, result);
  setupPosition(app, global, result);
  setupKml(app, global, result);

  // -- photos --
  setupGeotag(app, global, result);
  setupOffset(app, global, result);
  setupExif(app, global, result);

  // -- receivers --
  setupNmea(app, global, result);
  setupMagellan(app, global, result);
  setupPorts(app, global, result);
  setupDetect(app, global, result);
  setupGarmin(app, global, result);

  app.require_subcommand(1);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    const int code = app.exit(e);
    return code == 0 ? kExitOk : kExitUsage;
  } catch (const std::bad_alloc&) {
    // Input bounds keep real files far from this; what is left is a machine with too little memory.
    std::fprintf(stderr, "pixtrail: out of memory\n");
    return kExitUsage;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "pixtrail: %s\n", e.what());
    return kExitUsage;
  }
  return result.status;
}
