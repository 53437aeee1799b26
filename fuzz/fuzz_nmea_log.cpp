// NMEA sentence logs and Magellan track logs on arbitrary text.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tracks/track_format_nmea.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string message;
  pixtrail::TVolGPS track, magellan;
  pixtrail::NmeaLogOptions options;
  options.date = pixtrail::DateTimeRecord{1, 1, 2020, 0, 0, 0};
  (void)pixtrail::readNmeaLogText(text, "f", size % 2 ? options : pixtrail::NmeaLogOptions{}, track, message);
  if (pixtrail::readMagellanLogText(text, "f", magellan, message)) (void)pixtrail::magellanLogText(magellan);
  return 0;
}
