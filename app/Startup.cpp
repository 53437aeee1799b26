#include "app/Startup.hpp"

#include <cstdlib>

#include "app/Configuration.hpp"
#include "coords/TListaDatums.hpp"
#include "core/messages.hpp"

namespace pixtrail {

std::filesystem::path defaultDataDir() {
  if (const char* env = std::getenv("PIXTRAIL_DATA_DIR"); env && *env) return env;
  std::error_code ec;
  const std::filesystem::path built = PIXTRAIL_BUILD_DATA_DIR;
  if (std::filesystem::exists(built / TListaDatums::kSystemFileName, ec)) return built;
  return PIXTRAIL_INSTALL_DATA_DIR;
}

std::filesystem::path defaultConfigFile() {
  std::filesystem::path base;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) base = xdg;
  else if (const char* home = std::getenv("HOME"); home && *home) base = std::filesystem::path(home) / ".config";
  else base = ".";
  return base / "pixtrail" / "gps.ini";
}

bool startSystem(const StartupOptions& options, std::string& message) {
  // 1. Configuration. A gps.ini that cannot be read is reported; the defaults carry on and the
  //    file is left for the user to mend.
  Configuration& config = configuration();
  if (options.readConfiguration)
    config.load(options.configFile.empty() ? defaultConfigFile() : options.configFile, message);
  else
    config.detach();

  // 2. The datum table from the data folder.
  const std::filesystem::path dataDir = options.dataDir.empty() ? defaultDataDir() : options.dataDir;
  TListaDatums& table = datumTable();
  if (!table.load(dataDir, message)) return false;

  // 3. The working datum: the one asked for this run, else the configured one.
  if (!options.workingDatum.empty()) {
    const int index = table.findByName(options.workingDatum);
    if (index < 0) {
      appendMessage(message, "Unknown datum: " + options.workingDatum);
      return false;
    }
    table.setWorkingDatum(index);
  } else if (const int index = config.workingDatum; index >= 0 && index < table.size()) {
    table.setWorkingDatum(index);
  } else {
    appendMessage(message, "Working datum " + std::to_string(index) + " is not in the datum table; using WGS 84");
    table.setWorkingDatum(kDatumWgs84);
  }

  // 4. The language file. Without it messages show their numbers; the program still works.
  config.language.load(dataDir / config.languageFile.get(), message);
  setMessageSource([](int number) { return configuration().language.text(number); });
  return true;
}

}  // namespace pixtrail
