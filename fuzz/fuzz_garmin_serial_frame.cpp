// The serial deframer fed arbitrary bytes, as the scanner sees them arrive and as a whole frame.
// Beyond not crashing: a frame that decodes is one our own encoder turns back into the same packet.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "devices/TPaqueteDatosGarmin.hpp"

using namespace pixtrail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    SerialFrameScanner scanner;
    std::size_t previous = 0;
    for (std::size_t n = 3; n <= bytes.size(); ++n) {
      const std::size_t expected = scanner.scan(bytes.substr(0, n));
      if (expected < previous) __builtin_trap();  // stuffing only ever adds to the length
      previous = expected;
    }
  } catch (const TErrorPr&) {
  }
  try {
    const TPaqueteDatosGarmin packet = decodeSerialFrame(bytes);
    if (packet.data.size() > 255) __builtin_trap();
    if (!(decodeSerialFrame(serialFrame(packet)) == packet)) __builtin_trap();
  } catch (const TErrorPr&) {
  }
  return 0;
}
