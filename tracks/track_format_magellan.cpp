#include "tracks/track_format_magellan.hpp"

#include <algorithm>
#include <map>

#include "core/messages.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kChecksumMismatch = "Error in NMEA message in checksum section";

// Every well-formed sentence of the text with its checksum verified, in order. Lines that are no
// sentence at all (blank, text around the file) are passed over silently.
template <typename Take>
bool forEachSentence(std::string_view text, std::string& message, Take take) {
  bool ok = true;
  TComandaNMEA_Rx s;
  forEachLine(text, [&](std::string_view line) {
    if (line.find('$') == std::string_view::npos) return true;
    TErrorNMEA error;
    if (!s.Parse(line, error)) {
      appendMessage(message, error.message);
      ok = false;
      return true;
    }
    if (!s.checksumText().empty() && !s.checksumCorrect()) {
      appendMessage(message, std::string(kChecksumMismatch) + ": " + std::string(s.body()));
      ok = false;
      return true;
    }
    if (!take(s, error)) {
      appendMessage(message, error.message);
      ok = false;
    }
    return true;
  });
  return ok;
}

void appendSentence(std::string& out, const std::vector<std::string>& fields) {
  std::string s = magellanSentence(fields);
  while (!s.empty() && (s.back() == '\n' || s.back() == '\r')) s.pop_back();
  out += s;
  out += kCrLf;
}

}  // namespace

bool looksLikeMagellanText(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && text.substr(first, 5) == "$PMGN";
}

NmeaWaypoint toMagellanWaypoint(const TBaliza& w) {
  NmeaWaypoint out;
  out.name = w.name;
  out.position = toFileDatum(w.position, kDatumWgs84);
  out.position.alt = w.position.alt;  // altitudes stay as they are: heights, not a datum matter here
  out.comment = w.description;
  out.icon = w.symbol;
  return out;
}

TBaliza fromMagellanWaypoint(const NmeaWaypoint& w) {
  TBaliza out;
  out.name = w.name;
  out.position = fromFileDatum(w.position, kDatumWgs84);
  out.position.alt = w.position.alt;
  out.description = w.comment;
  out.symbol = w.icon;
  return out;
}

MagellanRouteStops magellanRouteStops(const TRuta& route) {
  MagellanRouteStops stops;
  for (const TBaliza& w : route.waypoints) stops.emplace_back(w.name, w.symbol);
  return stops;
}

std::vector<std::vector<std::string>> magellanTrackPointFields(const TVolGPS& track) {
  std::vector<std::vector<std::string>> out;
  out.reserve(track.pointCount());
  for (std::size_t i = 0; i < track.pointCount(); ++i) {
    const TPuntVol& p = track.point(i);
    NmeaTrackPoint tp;
    tp.position = toFileDatum(p.position, kDatumWgs84);
    tp.position.alt = p.altitude(TrackSettings{}.preferGpsAltitude);
    tp.time = p.time.toRecord();
    tp.valid = true;
    out.push_back(magellanTrackFields(tp));
  }
  return out;
}

bool assembleMagellanRoutes(const std::vector<MagellanRouteMessage>& messages, const std::vector<NmeaWaypoint>& known,
                            TRutas& out, std::string& message) {
  // Routes in the order their first message came; their messages by number.
  std::vector<std::string> order;
  std::map<std::string, std::vector<const MagellanRouteMessage*>> byRoute;
  for (const MagellanRouteMessage& m : messages) {
    auto& list = byRoute[m.routeNumber];
    if (list.empty()) order.push_back(m.routeNumber);
    list.push_back(&m);
  }
  TRutas built;
  for (const std::string& number : order) {
    auto list = byRoute[number];
    std::stable_sort(list.begin(), list.end(),
                     [](const auto* a, const auto* b) { return a->messageNumber < b->messageNumber; });
    // Each of 1..count exactly once, or a waypoint of the route is missing.
    bool whole = !list.empty() && static_cast<int>(list.size()) == list.front()->messageCount;
    for (std::size_t k = 0; whole && k < list.size(); ++k)
      whole = list[k]->messageNumber == static_cast<int>(k + 1) && list[k]->messageCount == list.front()->messageCount;
    TRuta& route = built.routes.emplace();
    route.name = list.front()->routeName.empty() ? number : list.front()->routeName;
    for (const MagellanRouteMessage* m : list) {
      for (const std::string& name : m->waypointNames) {
        const auto found = std::find_if(known.begin(), known.end(), [&](const NmeaWaypoint& w) { return w.name == name; });
        if (found == known.end()) {
          whole = false;
          break;
        }
        route.waypoints.emplace(fromMagellanWaypoint(*found));
      }
    }
    if (!whole) {
      appendMessage(message, std::string(nmea_text::kMagRouteWaypoint) + " (route " + number + ")");
      return false;
    }
  }
  while (!built.routes.empty()) out.routes.add(built.routes.release(0));
  return true;
}

bool parseMagellanWaypointText(std::string_view text, TBalizas& out, std::string& message) {
  TBalizas read;
  const bool ok = forEachSentence(text, message, [&](const TComandaNMEA_Rx& s, TErrorNMEA& error) {
    if (s.identifier() != "PMGNWPL") return true;
    NmeaWaypoint w;
    if (!s.ParsePMGNWPL(w, error)) return false;
    read.waypoints.emplace(fromMagellanWaypoint(w));
    return true;
  });
  while (!read.waypoints.empty()) out.waypoints.add(read.waypoints.release(0));
  out.file = {kDatumWgs84, kFileDegrees};
  return ok;
}

std::string magellanWaypointText(const TBalizas& waypoints) {
  std::string out(magellan_text::kWaypointLayout);
  out += kCrLf;
  for (const TBaliza& w : waypoints.waypoints) appendSentence(out, magellanWaypointFields(toMagellanWaypoint(w)));
  out += magellan_text::kEnd;
  out += kCrLf;
  return out;
}

bool parseMagellanRouteText(std::string_view text, TRutas& out, std::string& message) {
  std::vector<NmeaWaypoint> known;
  std::vector<std::string> routeLines;
  bool ok = forEachSentence(text, message, [&](const TComandaNMEA_Rx& s, TErrorNMEA& error) {
    if (s.identifier() == "PMGNWPL") {
      NmeaWaypoint w;
      if (!s.ParsePMGNWPL(w, error)) return false;
      known.push_back(std::move(w));
    } else if (s.identifier() == "PMGNRTE") {
      routeLines.push_back("$" + std::string(s.body()) + "*" + std::string(s.checksumText()));
    }
    return true;
  });
  std::vector<MagellanRouteMessage> messages;
  TErrorNMEA error;
  if (!readMagellanRouteMessages(routeLines, messages, error)) {
    appendMessage(message, error.message);
    return false;
  }
  if (!assembleMagellanRoutes(messages, known, out, message)) ok = false;
  out.file = {kDatumWgs84, kFileDegrees};
  return ok;
}

std::string magellanRouteText(const TRutas& routes) {
  std::string out(magellan_text::kRouteLayout);
  out += kCrLf;
  // Each waypoint once, before the routes that name it: a unit resolves route names against them.
  std::vector<std::string> written;
  for (const TRuta& route : routes.routes)
    for (const TBaliza& w : route.waypoints) {
      if (std::find(written.begin(), written.end(), w.name) != written.end()) continue;
      written.push_back(w.name);
      appendSentence(out, magellanWaypointFields(toMagellanWaypoint(w)));
    }
  int number = 1;
  for (const TRuta& route : routes.routes)
    for (const auto& fields : magellanRouteFields(std::to_string(number++), route.name, magellanRouteStops(route),
                                                  MagellanRouteLayout::kNamed))
      appendSentence(out, fields);
  out += magellan_text::kEnd;
  out += kCrLf;
  return out;
}

}  // namespace pixtrail
