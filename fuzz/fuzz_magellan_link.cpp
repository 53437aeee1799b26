// The serial Magellan link fed arbitrary bytes as the unit's side of the line, for each download.
// Only TErrorPr may leave a transfer, and what a download returns is whole (routes resolved,
// waypoints on the globe).

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "core/angles.hpp"
#include "devices/Protocolo_magellan.hpp"
#include "fuzz/replay_port.hpp"

using namespace pixtrail;

namespace {

bool onGlobe(const TCoord& c) { return isPlausibleLatLon(c.lat, c.lon); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  ReplayPort port(std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1));
  MagellanLinkSettings settings;
  settings.sentenceTimeoutMs = 1;  // the script has no more to say once it is read
  settings.ackTimeoutMs = 1;
  settings.retries = 1;
  settings.handshake = (data[0] & 4) != 0;
  Protocolo_magellan link(port, settings);
  try {
    switch (data[0] % 3) {
      case 0: {
        TBalizas w;
        link.downloadWaypoints(w);
        for (const TBaliza& b : w.waypoints)
          if (!onGlobe(b.position)) __builtin_trap();
        break;
      }
      case 1: {
        TRutas r;
        link.downloadRoutes(r);
        for (const TRuta& route : r.routes)
          for (const TBaliza& b : route.waypoints)
            if (!onGlobe(b.position)) __builtin_trap();
        break;
      }
      default: {
        TVolGPS t;
        link.downloadTracks(t);
        break;
      }
    }
  } catch (const TErrorPr&) {
    // The link's own failures are expected answers to bad input.
  }
  if (link.handshaking()) __builtin_trap();  // every transfer ends with HANDOFF
  return 0;
}
