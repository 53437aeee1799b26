// The host's receive loop on a line that delivers arbitrary bytes: identification, then a waypoint
// and a track download. Every fault must end in a protocol error, never a hang or a crash.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "devices/TProtocoloGarmin.hpp"

using namespace pixtrail;

namespace {

// A port whose every read takes the next bytes of the input (a few at a time, as lines deliver).
class ReplayPort : public TPuertoCom {
 public:
  explicit ReplayPort(std::string_view bytes) : bytes_(bytes) {}
  bool open(int, bool) override { return true; }
  bool openPath(const std::string&, bool) override { return true; }
  void close() override {}
  bool isOpen() const override { return true; }
  bool isMailslot() const override { return false; }
  void setBuffers() override {}
  void setState(std::uint32_t) override {}
  void setTimeouts() override {}
  int read(int, char* buffer, int count, bool) override {
    if (count < 0) count = 0;
    const std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(count), bytes_.size() - at_);
    std::memcpy(buffer, bytes_.data() + at_, n);
    buffer[n] = 0;
    at_ += n;
    return static_cast<int>(n);
  }
  void purge() override {}
  void write(const void*, std::size_t) override {}
  std::uint32_t baud() const override { return 9600; }
  std::uint32_t readCalls() const override { return 0; }

 private:
  std::string_view bytes_;
  std::size_t at_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ReplayPort port(std::string_view(reinterpret_cast<const char*>(data), size));
  GarminSettings settings;
  settings.timeoutMs = 1;
  TProtocoloGarmin garmin(port, settings);
  try {
    garmin.identify();
  } catch (const TErrorPr&) {
    GarminProduct defaults;
    garmin.setProduct(defaults);
  }
  try {
    TBalizas w;
    garmin.receiveWaypoints(w);
  } catch (const TErrorPr&) {
  }
  try {
    std::vector<TVolGPS> tracks;
    garmin.receiveTracks(tracks);
  } catch (const TErrorPr&) {
  }
  return 0;
}
