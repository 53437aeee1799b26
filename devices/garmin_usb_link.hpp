#pragma once
// The three pipes of a Garmin unit on USB: interrupt-IN (small packets and "data available"),
// bulk-IN and bulk-OUT. The protocol frames and sequences packets over this interface only; each
// platform opens the pipes its own way (libusb-1.0 on Linux, the vendor's driver on Windows), and
// tests can put a stand-in behind it.

#include <memory>
#include <string>
#include <string_view>

#include "devices/TErrorPr.hpp"

namespace pixtrail {

inline constexpr int kGarminUsbVendor = 0x091e;
inline constexpr int kGarminInterruptPacketSize = 64;
inline constexpr int kGarminBulkReadSize = 4096;

class GarminUsbLink {
 public:
  virtual ~GarminUsbLink() = default;
  // One read of up to `size` bytes; 0 when nothing came within `timeoutMs`. Raises on a failure.
  virtual int readInterrupt(char* buffer, int size, int timeoutMs) = 0;
  virtual int readBulk(char* buffer, int size, int timeoutMs) = 0;
  virtual void writeBulk(std::string_view bytes) = 0;
  // A short description of the unit's place on the bus, for messages.
  virtual std::string where() const = 0;
};

// Opens the first Garmin unit on USB. Raises TErrorPr with the platform's reason, and on Linux says
// so when the kernel's garmin_gps driver holds the unit.
std::unique_ptr<GarminUsbLink> openGarminUsb();

}  // namespace pixtrail
