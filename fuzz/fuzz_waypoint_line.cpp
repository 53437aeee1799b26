// The waypoint lines ("W", "w", "t") and files: never crash; a waypoint read writes and reads back
// to the same lines.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tracks/TBalizas.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace pixtrail;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  TBalizas file;
  std::string message;
  parseWaypointFile(text, file, message);
  std::string once;
  if (!formatWaypointFile(file, file.file, WaypointDefaults{}, once, message)) return 0;
  TBalizas reread;
  if (!parseWaypointFile(once, reread, message)) std::abort();
  std::string twice;
  formatWaypointFile(reread, reread.file, WaypointDefaults{}, twice, message);
  if (once != twice) std::abort();
  return 0;
}
