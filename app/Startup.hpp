#pragma once
// The start-up sequence: configuration (gps.ini), the datum table from the data folder, the
// working datum, and the language file. Every front end (command line, desktop) runs it first.

#include <filesystem>
#include <string>

namespace pixtrail {

struct StartupOptions {
  std::filesystem::path dataDir;     // empty: the built, then the installed data folder
  std::filesystem::path configFile;  // empty: gps.ini in the user's configuration folder
  std::string workingDatum;          // empty: the working datum of gps.ini
  bool readConfiguration = true;     // false: defaults only, gps.ini neither read nor written
};

// The data folder used when none is given: PIXTRAIL_DATA_DIR from the environment, else the
// folder the build filled, else the installed one.
std::filesystem::path defaultDataDir();
// gps.ini in $XDG_CONFIG_HOME/pixtrail (or ~/.config/pixtrail).
std::filesystem::path defaultConfigFile();

// Runs the whole sequence; false with the system's messages when the program cannot work
// (no datum table, unknown working datum). Warnings (an unusable grid) are appended to
// `message` while the result stays true.
bool startSystem(const StartupOptions& options, std::string& message);

}  // namespace pixtrail
