// gps.ini text through the INI reader and the typed settings.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "app/Configuration.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  pixtrail::Configuration config;
  std::string message;
  config.loadText(std::string_view(reinterpret_cast<const char*>(data), size), message);
  for (const pixtrail::Setting* s : config.settings()) s->toText();
  return 0;
}
