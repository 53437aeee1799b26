#include "cli/CommandContext.hpp"

#include <cstdio>

#include "app/Startup.hpp"

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

}  // namespace pixtrail::cli
