#pragma once
// What every subcommand shares: the global options and the exit statuses of the command line.

#include <CLI/CLI.hpp>
#include <string>

#include "app/track_settings.hpp"

namespace pixtrail::cli {

// 0 all went well; 1 the command ran but some items failed; 2 usage error or unreadable input.
inline constexpr int kExitOk = 0;
inline constexpr int kExitSomeFailed = 1;
inline constexpr int kExitUsage = 2;

struct GlobalOptions {
  std::string dataDir;     // empty: the built or installed data folder
  std::string configFile;  // empty: gps.ini in the user's configuration folder
  std::string datum;       // empty: the working datum of gps.ini, else WGS 84
};

void addGlobalOptions(CLI::App& app, GlobalOptions& options);

// Runs the start-up sequence (configuration, datum table, working datum, language file) for a
// command; messages, warnings included, go to stderr. False when the program cannot go on.
bool startCommand(const GlobalOptions& options);
// The same, then every setting of the configuration a command uses. `logDate` (YYYY-MM-DD, may be
// empty) dates track logs that carry only times of day.
bool startCommand(const GlobalOptions& options, CommandSettings& settings, const std::string& logDate = "");

// A subcommand's callback stores its exit status here; main returns it.
struct CommandResult {
  int status = kExitOk;
};

}  // namespace pixtrail::cli
