// Typed coordinates and the texts of every angle format, read back; nothing may crash.
#include <cstddef>
#include <cstdint>
#include <string>

#include "coords/coordinate_text.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const int format = data[0] % 6;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  double value = 0.0;
  bool isLatitude = false;
  std::string message;
  if (pixtrail::formattedTextToAngle(text, format, value, isLatitude, message)) {
    (void)pixtrail::latitudeText(value, format);
    (void)pixtrail::longitudeText(value, format);
    (void)pixtrail::compactPositionText(value, -value);
  }
  message.clear();
  (void)pixtrail::textToAngle(text, value, isLatitude, message);
  return 0;
}
