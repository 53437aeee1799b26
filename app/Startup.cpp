#include "app/Startup.hpp"

#include <cstdlib>

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
  const std::filesystem::path dataDir = options.dataDir.empty() ? defaultDataDir() : options.dataDir;
  TListaDatums& table = datumTable();
  if (!table.load(dataDir, message)) return false;
  if (!options.workingDatum.empty()) {
    const int index = table.findByName(options.workingDatum);
    if (index < 0) {
      appendMessage(message, "Unknown datum: " + options.workingDatum);
      return false;
    }
    table.setWorkingDatum(index);
  }
  return true;
}

}  // namespace pixtrail
