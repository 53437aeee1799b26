// APRS position logs on arbitrary text.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tracks/track_format_aprs.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string message;
  pixtrail::TVolGPS track;
  (void)pixtrail::readAprsTrackText(text, "f", track, message);
  return 0;
}
