#pragma once
// The USB stand-in: a small library loaded with LD_PRELOAD into a client (gpsbabel, pixtrail) that
// answers its libusb calls with one Garmin unit whose pipes are forwarded over a Unix socket to
// the simulator. Messages on the socket (little-endian):
//   request:  u8 op (1 interrupt read, 2 bulk read, 3 bulk write), u32 length, u32 time-out ms,
//             then `length` bytes for a write
//   answer:   i32 result (bytes moved, or -7 for a time-out), then the bytes read
#include <atomic>
#include <cstdint>
#include <string>

namespace pixtrail::sim {

inline constexpr const char* kUsbShimSocketVariable = "PIXTRAIL_GARMIN_SIM_USB";
inline constexpr std::uint8_t kShimInterruptRead = 1, kShimBulkRead = 2, kShimBulkWrite = 3;
inline constexpr std::int32_t kShimTimeout = -7;  // LIBUSB_ERROR_TIMEOUT

class GarminUnitSim;
// Serves the socket at `path` for the unit until `stop` is set.
void serveUsbShim(GarminUnitSim& unit, const std::string& path, const std::atomic<bool>& stop);

}  // namespace pixtrail::sim
