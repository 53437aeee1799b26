#include "tracks/TRuta.hpp"

#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/TVolGPS.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_magellan.hpp"

namespace pixtrail {

namespace {
constexpr std::string_view kCrLf = "\r\n";
}

double TRuta::lengthM() const {
  double total = 0.0;
  for (std::size_t i = 1; i < waypoints.size(); ++i)
    total += stepDistanceM(waypoints[i - 1].position, waypoints[i].position);
  return total;
}

bool formatRouteFile(const TRutas& routes, const FileCoordinates& coordinates, const WaypointDefaults& defaults,
                     std::string& out, std::string& message) {
  std::string datumName;
  if (!datumNameForFile(coordinates.datum, datumName, message)) return false;
  out += "G  " + datumName;
  out += kCrLf;
  out += "U  " + std::to_string(coordinates.mode);
  out += kCrLf;
  for (const TRuta& r : routes.routes) {
    std::string name = r.name;
    for (char& c : name)
      if (c == '\r' || c == '\n') c = ' ';
    out += "R  " + name;
    out += kCrLf;
    for (const TBaliza& w : r.waypoints)
      if (!appendWaypointLines(w, coordinates, defaults, out, message)) return false;
  }
  return true;
}

bool parseRouteFile(std::string_view text, TRutas& routes, std::string& message,
                    const WaypointDefaults& defaults) {
  if (looksLikeMagellanText(text)) {
    routes.magellanText = true;
    return parseMagellanRouteText(text, routes, message);
  }
  // A route file is a waypoint file cut into routes at its "R" lines: each piece is read by the
  // waypoint reader with the file's header in front.
  std::string header;
  std::string piece;
  bool ok = true;
  TRuta* current = nullptr;
  auto flush = [&]() {
    if (piece.empty()) return;
    if (!current) current = &routes.routes.emplace();
    TBalizas part;
    if (!parseWaypointFile(header + piece, part, message, defaults)) ok = false;
    routes.file = part.file;
    while (!part.waypoints.empty()) current->waypoints.add(part.waypoints.release(0));
    piece.clear();
  };
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end == std::string_view::npos ? text.size() : end + 1);
    text.remove_prefix(line.size());
    if (line.empty()) continue;
    if (line[0] == 'G' || line[0] == 'U') {
      header += line;
      if (header.back() != '\n') header += kCrLf;
    } else if (line[0] == 'R') {
      flush();
      current = &routes.routes.emplace();
      std::string_view name = line.substr(1);
      while (!name.empty() && (name.back() == '\n' || name.back() == '\r')) name.remove_suffix(1);
      for (int k = 0; k < 2 && !name.empty() && name[0] == ' '; ++k) name.remove_prefix(1);  // "R  "
      current->name = name;
    } else {
      piece += line;
      if (piece.back() != '\n') piece += kCrLf;
    }
  }
  flush();
  if (routes.routes.empty() && !header.empty()) {
    TBalizas part;
    if (!parseWaypointFile(header, part, message)) return false;
    routes.file = part.file;
  }
  return ok;
}

}  // namespace pixtrail
