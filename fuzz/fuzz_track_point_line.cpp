// The native point line in every coordinate mode: never crashes, and a line that parses writes a
// line that parses again to the same line.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tracks/track_file_native.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  using namespace pixtrail;
  const FileCoordinates file{kDatumWgs84, data[0] % kFileCoordinateModeCount};
  const std::string_view line(reinterpret_cast<const char*>(data + 1), size - 1);
  TPuntVol point;
  if (!isFileCoordinateMode(file.mode) || !parsePointLine(line, file, point)) return 0;
  std::string once, twice, message;
  if (!appendPointLine(point, file, true, once, message)) return 0;
  TPuntVol again;
  if (!parsePointLine(once, file, again)) std::abort();
  appendPointLine(again, file, true, twice, message);
  if (once != twice) std::abort();
  return 0;
}
