#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.add_option("--datadir", options.dataDir,
                 "Folder with datumsb.dat, datumsbp.dat, datumgrids/ and the language file")
      ->option_text("DIR");
  app.add_option("--config", options.configFile, "Configuration file (gps.ini)")->option_text("FILE");
  app.add_option("--datum", options.datum, "Working datum for this run")->option_text("NAME");
}

}  // namespace pixtrail::cli
