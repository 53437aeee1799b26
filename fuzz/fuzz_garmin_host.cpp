// The host's receive loop on a line that delivers arbitrary bytes: identification, then a waypoint
// and a track download. Every fault must end in a protocol error, never a hang or a crash.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "devices/TProtocoloGarmin.hpp"
#include "fuzz/replay_port.hpp"

using namespace pixtrail;

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
