#pragma once
// Routes: a named, ordered list of waypoints, and the native route file (RTE). The file follows the
// waypoint file's conventions: "G" (datum) and "U" (coordinate mode) first, then for each route an
// "R" line with its name followed by the route's waypoints as "W" lines (with their "w" and "t"
// lines). Device transfers fill and read these objects.

#include <filesystem>
#include <string>
#include <string_view>

#include "core/VectorP.hpp"
#include "tracks/TBalizas.hpp"

namespace pixtrail {

class TRuta {
 public:
  std::string name;
  VectorP<TBaliza> waypoints;  // in the order they are visited

  // Sum of the legs in metres (see stepDistanceM in TVolGPS.hpp).
  double lengthM() const;
};

class TRutas {
 public:
  std::string fileName;
  VectorP<TRuta> routes;
  FileCoordinates file;  // datum and coordinate mode the file was read with
  bool magellanText = false;  // read from a Magellan route text, so a .rte is written back as one
};

bool formatRouteFile(const TRutas& routes, const FileCoordinates& coordinates, const WaypointDefaults& defaults,
                     std::string& out, std::string& message);
// "W" lines before any "R" line start a route without a name. Bad "W" lines are reported with the
// waypoint file's message and skipped.
bool parseRouteFile(std::string_view text, TRutas& routes, std::string& message,
                    const WaypointDefaults& defaults = {});

}  // namespace pixtrail
