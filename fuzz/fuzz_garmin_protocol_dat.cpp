// The capability cache (protocol.dat) read from arbitrary bytes. What reads, writes back and reads
// again to the same records.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "devices/Capacidades_garmin.hpp"

using namespace pixtrail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  GarminCapabilityCache cache("protocol.dat");
  std::string message;
  if (!cache.parse(std::string_view(reinterpret_cast<const char*>(data), size), message)) return 0;
  GarminCapabilityCache again("protocol.dat");
  if (!again.parse(cache.serialize(), message) || again.records() != cache.records()) __builtin_trap();
  return 0;
}
