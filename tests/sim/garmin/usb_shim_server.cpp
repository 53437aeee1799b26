// The simulator side of the USB stand-in (see usb_shim_protocol.hpp).
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "core/byte_order.hpp"
#include "tests/sim/garmin/GarminUnitSim.hpp"
#include "tests/sim/garmin/usb_shim_protocol.hpp"

namespace pixtrail::sim {

namespace {

// One client connection at a time, until it goes or `stop` is set.
void serveClient(int fd, SimUsbEndpoints& endpoints, const std::atomic<bool>& stop) {
  while (!stop) {
    char header[9];
    if (!readAll(fd, header, sizeof header)) return;
    const auto* h = reinterpret_cast<const unsigned char*>(header);
    const std::uint8_t op = h[0];
    const std::uint32_t length = readU32(h + 1, ByteOrder::little);
    const std::uint32_t timeoutMs = readU32(h + 5, ByteOrder::little);
    std::string answer;
    std::int32_t result = 0;
    if (op == kShimBulkWrite) {
      std::string data(length, '\0');
      if (!readAll(fd, data.data(), length)) return;
      endpoints.write(data);
      result = static_cast<std::int32_t>(length);
    } else {
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs ? timeoutMs : 1);
      for (;;) {
        if (op == kShimInterruptRead) {
          if (endpoints.readInterruptPiece(length, answer)) break;
        } else {
          answer = endpoints.readBulk();
          if (answer.size() > length) answer.resize(length);
          if (!answer.empty() || op == kShimBulkRead) break;  // an empty bulk read is an answer too
        }
        if (std::chrono::steady_clock::now() >= deadline || stop) {
          result = kShimTimeout;
          break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
      if (result == 0) result = static_cast<std::int32_t>(answer.size());
    }
    std::string out;
    appendI32(out, result, ByteOrder::little);
    out += answer;
    if (!writeAll(fd, out)) return;
  }
}

}  // namespace

void serveUsbShim(GarminUnitSim& unit, const std::string& path, const std::atomic<bool>& stop) {
  const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  ::unlink(path.c_str());
  if (listener < 0 || ::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener, 4) != 0) {
    if (listener >= 0) ::close(listener);
    return;
  }
  SimUsbEndpoints endpoints(unit);
  while (!stop) {
    pollfd p{listener, POLLIN, 0};
    if (::poll(&p, 1, 50) <= 0) continue;
    const int client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    serveClient(client, endpoints, stop);
    ::close(client);
  }
  ::close(listener);
  ::unlink(path.c_str());
}

}  // namespace pixtrail::sim
