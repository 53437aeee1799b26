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

using namespace pixtrail;

namespace {

// A line that hands out the input in pieces of varying size and then falls silent.
class ScriptedPort final : public TPuertoCom {
 public:
  explicit ScriptedPort(std::string_view bytes) : bytes_(bytes) {}
  bool open(int, bool) override { return true; }
  bool openPath(const std::string&, bool) override { return true; }
  void close() override {}
  bool isOpen() const override { return true; }
  bool isMailslot() const override { return false; }
  void setBuffers() override {}
  void setState(std::uint32_t) override {}
  void setTimeouts() override {}
  int read(int, char* buffer, int count, bool) override {
    if (count < 0) count = 64;
    const std::size_t piece = std::min<std::size_t>({bytes_.size(), static_cast<std::size_t>(count), 1 + (calls_++ * 7) % 97});
    std::memcpy(buffer, bytes_.data(), piece);
    buffer[piece] = 0;
    bytes_.remove_prefix(piece);
    return static_cast<int>(piece);
  }
  void purge() override {}
  void write(const void*, std::size_t) override {}
  std::uint32_t baud() const override { return 4800; }
  std::uint32_t readCalls() const override { return calls_; }
  std::uintptr_t handle() const override { return 1; }
  bool setEventMask() override { return true; }
  unsigned waitEvents(int) override { return kPortEventNone; }
  void stopWaiting() override {}
  void clearRts() override {}

 private:
  std::string_view bytes_;
  std::uint32_t calls_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);

  ScriptedPort port(input);
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
