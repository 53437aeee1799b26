// The Magellan disk files (.upt, .rte, UNIT_ID.DAT) and route messages fed arbitrary text. Beyond
// not crashing: a refused route file adds no route, every route read has its waypoints, and what
// is read can be written and read again to the same count.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/angles.hpp"
#include "devices/MagellanDisk.hpp"
#include "tracks/track_format_magellan.hpp"

using namespace pixtrail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string message;

  TBalizas w;
  parseMagellanWaypointText(text, w, message);
  for (const TBaliza& b : w.waypoints)
    if (!isPlausibleLatLon(b.position.lat, b.position.lon))
      __builtin_trap();
  TBalizas again;
  std::string ignored;
  if (!parseMagellanWaypointText(magellanWaypointText(w), again, ignored) ||
      again.waypoints.size() != w.waypoints.size())
    __builtin_trap();

  TRutas r;
  message.clear();
  const bool routesOk = parseMagellanRouteText(text, r, message);
  if (!routesOk && message.find("Baliza de ruta no encontrada (route") != std::string::npos && !r.routes.empty())
    __builtin_trap();
  TRutas routesAgain;
  if (!parseMagellanRouteText(magellanRouteText(r), routesAgain, ignored) || routesAgain.routes.size() != r.routes.size())
    __builtin_trap();

  readUnitIdText(text);
  return 0;
}
