#include "cli/CommandContext.hpp"

#include <cstdio>

#include "app/Startup.hpp"
#include "core/DateTimeRecord.hpp"

namespace pixtrail::cli {

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.add_option("--datadir", options.dataDir,
                 "Folder with datumsb.dat, datumsbp.dat, datumgrids/ and the language file")
      ->option_text("DIR");
  app.add_option("--config", options.configFile, "Configuration file (gps.ini)")->option_text("FILE");
  app.add_option("--datum", options.datum, "Working datum for this run")->option_text("NAME");
}

bool startCommand(const GlobalOptions& options) {
  std::string message;
  const bool started =
      startSystem(StartupOptions{options.dataDir, options.configFile, options.datum}, message);
  if (!message.empty()) std::fprintf(stderr, "%s\n", message.c_str());
  return started;
}

bool startCommand(const GlobalOptions& options, CommandSettings& settings, const std::string& logDate) {
  std::optional<DateTimeRecord> date;
  if (!logDate.empty()) {
    DateTimeRecord record;
    if (!parseIsoDateTime(logDate + "T00:00:00", record)) {
      std::fprintf(stderr, "Bad --date \"%s\": expected YYYY-MM-DD\n", logDate.c_str());
      return false;
    }
    date = record;
  }
  if (!startCommand(options)) return false;
  std::string warning;
  settings = commandSettingsFromConfiguration(warning);
  settings.trackFiles.logDate = date;
  if (!warning.empty()) std::fprintf(stderr, "%s\n", warning.c_str());
  return true;
}

}  // namespace pixtrail::cli
