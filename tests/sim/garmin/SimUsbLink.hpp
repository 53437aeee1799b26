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
    // The interrupt pipe hands out a packet in pieces of the pipe's packet size.
    // A packet that filled its last piece exactly is ended by an empty read.
    if (interruptLeft_.empty() && lastPieceFull_) {
      lastPieceFull_ = false;
      return 0;
    }
    if (interruptLeft_.empty()) interruptLeft_ = endpoints_.readInterrupt();
    const std::size_t n = std::min(interruptLeft_.size(), static_cast<std::size_t>(size));
    std::memcpy(buffer, interruptLeft_.data(), n);
    interruptLeft_.erase(0, n);
    lastPieceFull_ = n == static_cast<std::size_t>(size);
    return static_cast<int>(n);
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
  std::string interruptLeft_;
  bool lastPieceFull_ = false;
};

}  // namespace pixtrail::sim
