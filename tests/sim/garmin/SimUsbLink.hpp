#pragma once
// The host's USB pipes connected straight to a simulated unit, in the same process.
#include <algorithm>
#include <cstring>
#include <vector>

#include "devices/garmin_usb_link.hpp"
#include "tests/sim/garmin/GarminUnitSim.hpp"

namespace pixtrail::sim {

class SimUsbLink : public GarminUsbLink {
 public:
  explicit SimUsbLink(SimUsbEndpoints& endpoints) : endpoints_(endpoints) {}
  int readInterrupt(char* buffer, int size, int) override {
    std::string piece;
    endpoints_.readInterruptPiece(static_cast<std::size_t>(size), piece);
    std::memcpy(buffer, piece.data(), piece.size());
    return static_cast<int>(piece.size());
  }
  int readBulk(char* buffer, int size, int) override {
    const std::string packet = endpoints_.readBulk();
    const std::size_t n = std::min(packet.size(), static_cast<std::size_t>(size));
    std::memcpy(buffer, packet.data(), n);
    return static_cast<int>(n);
  }
  void writeBulk(std::string_view bytes) override {
    written.emplace_back(bytes);
    endpoints_.write(bytes);
  }
  std::string where() const override { return "simulated USB unit"; }

  std::vector<std::string> written;  // every frame the host wrote

 private:
  SimUsbEndpoints& endpoints_;
};

}  // namespace pixtrail::sim
