// What arrives from outside on a receiver link: the bytes of a line fed to the NMEA detection
// (through the line reader), and the texts that name a port or a gpsd address.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "devices/GpsdClient.hpp"
#include "devices/TConfigPuertos.hpp"
#include "devices/protocol_detection.hpp"
#include "fuzz/replay_port.hpp"

using namespace pixtrail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);

  ReplayPort port(input, /*inPieces=*/true, 4800);
  NmeaDetectOptions options;
  options.timeoutMs = 1;
  std::string product;
  try {
    if (!detectNmea(port, product, options) || product.empty()) __builtin_trap();  // found means named
  } catch (const TErrorPr& error) {
    if (error.text().empty()) __builtin_trap();  // a refusal always says why
  }

  TConfigPuerto config;
  if (TConfigPuerto::fromText(input, config)) {
    if (config.index >= 0 && config.displayName().rfind("COM", 0) != 0) __builtin_trap();
    if (config.index == -1 && config.path != input) __builtin_trap();
  }
  std::string host;
  std::uint16_t gpsdPort = 0;
  if (GpsdClient::parseAddress(input, host, gpsdPort) && (gpsdPort == 0 || host.empty())) __builtin_trap();
  return 0;
}
