// The USB packet reader fed arbitrary bytes. A packet that reads back keeps its length field's
// promise, and one of up to 255 data bytes survives our own framing.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "devices/TPaqueteDatosGarmin.hpp"

using namespace pixtrail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    const TPaqueteDatosGarmin packet = decodeUsbPacket(bytes);
    if (packet.data.size() + kUsbHeaderSize != size) __builtin_trap();
    if (packet.data.size() <= 255 && !(decodeUsbPacket(usbFrame(packet)) == packet)) __builtin_trap();
  } catch (const TErrorPr&) {
  }
  return 0;
}
