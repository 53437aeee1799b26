// The IGC flight log reader on arbitrary text; what it reads is written again.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tracks/track_format_igc.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string message;
  pixtrail::TVolGPS track;
  if (pixtrail::readIgcTrackText(text, "f", track, message)) (void)pixtrail::igcTrackText(track);
  return 0;
}
