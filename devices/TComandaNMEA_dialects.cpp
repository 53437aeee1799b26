// The waypoint, route and track sentences of the receiver dialects, read from a parsed sentence.
// Field layouts (after the identifier):
//   GGA as a track point  1 time, 2..5 position, 6 quality, 7 satellites, 8 HDOP, 9 altitude, 10 unit
//   PMGNTRK   1..4 position, 5 altitude, 6 unit "M"/"F", 7 time hhmmss.ss, 8 "A"/"V", 9 track name,
//             10 date ddmmyy
//   PMGNWPL   1..4 position, 5 altitude, 6 unit, 7 name, 8 comment, 9 icon
//   PMGNRTE   1 message count, 2 message number, 3 "c", 4 route number, then name, icon pairs
//   WPL       1..4 position, 5 name (the talker "WP" marks an MLR unit's own list)
//   RTE       1 message count, 2 message number, 3 "c"/"w", 4 route name, then waypoint names
//   PMLR      1..4 position, 5 name, 6 altitude in metres (MLR's own waypoint sentence)
//   WPR       1..4 position, 5 name (Talvio)

#include <algorithm>
#include <charconv>

#include "core/messages.hpp"
#include "devices/TComandaNMEA.hpp"

namespace pixtrail {

namespace {

constexpr double kFootM = 0.3048;
constexpr int kTwoDigitYearPivot = 80;  // yy below this is 20yy

void refuse(TErrorNMEA& error, std::int32_t code, std::string_view text, std::string_view body) {
  error.code = code;
  appendMessage(error.message, text);
  error.detail.assign(body);
}

bool twoDigits(std::string_view text, std::size_t at, int& out) {
  if (text.size() < at + 2 || text[at] < '0' || text[at] > '9' || text[at + 1] < '0' || text[at + 1] > '9')
    return false;
  out = (text[at] - '0') * 10 + (text[at + 1] - '0');
  return true;
}

}  // namespace

bool readNmeaTime(std::string_view text, DateTimeRecord& out) {
  int h = 0, m = 0, sec = 0;
  if (!twoDigits(text, 0, h) || !twoDigits(text, 2, m) || !twoDigits(text, 4, sec)) return false;
  double seconds = sec;
  if (text.size() > 6) {
    if (text[6] != '.') return false;
    const std::string_view rest = text.substr(4);
    const auto [end, ec] = std::from_chars(rest.data(), rest.data() + rest.size(), seconds);
    if (ec != std::errc() || end != rest.data() + rest.size()) return false;
  }
  if (h > 23 || m > 59 || seconds >= 61.0) return false;
  out.hour = h;
  out.minute = m;
  out.seconds = seconds;
  return true;
}

bool readNmeaDate(std::string_view text, DateTimeRecord& out) {
  int d = 0, mo = 0, y = 0;
  if (text.size() != 6 || !twoDigits(text, 0, d) || !twoDigits(text, 2, mo) || !twoDigits(text, 4, y)) return false;
  if (mo < 1 || mo > 12 || d < 1 || d > 31) return false;
  out.day = d;
  out.month = mo;
  out.year = y < kTwoDigitYearPivot ? 2000 + y : 1900 + y;
  return true;
}

namespace {

// Altitude and unit; an empty or unreadable altitude is "none".
float readAltitude(const TComandaNMEA_Rx& s, std::size_t index) {
  double alt = 0.0;
  if (!s.number(index, alt) || s.field(index) == "-9999") return kUnknownAltitude;
  if (s.field(index + 1) == "F") alt *= kFootM;
  return static_cast<float>(alt);
}

bool readRouteHeader(const TComandaNMEA_Rx& s, NmeaRouteMessage& out) {
  long long count = 0, number = 0;
  if (!s.integer(1, count) || !s.integer(2, number) || count < 1 || number < 1 || number > count) return false;
  out.messageCount = static_cast<int>(count);
  out.messageNumber = static_cast<int>(number);
  out.routeName.assign(s.field(4));
  return true;
}

bool readNamedPosition(const TComandaNMEA_Rx& s, NmeaDialect dialect, NmeaWaypoint& out, TErrorNMEA& error) {
  NmeaWaypoint w;
  if (!s.position(1, dialect, w.position, error)) return false;
  w.name.assign(s.field(5));
  out = std::move(w);
  return true;
}

}  // namespace

bool TComandaNMEA_Rx::ParseGGATrackPoint(NmeaTrackPoint& out, TErrorNMEA& error) const {
  NmeaTrackPoint p;
  if (fieldCount() < 7 || !readNmeaTime(field(1), p.time)) {
    refuse(error, TErrorNMEA::kSentence, nmea_text::kMagGga, body());
    return false;
  }
  if (!position(2, NmeaDialect::kMagellan, p.position, error)) return false;
  p.valid = !field(6).empty() && field(6) != "0";
  p.position.alt = readAltitude(*this, 9);
  out = p;
  return true;
}

bool TComandaNMEA_Rx::ParsePMGNTRK(NmeaTrackPoint& out, TErrorNMEA& error) const {
  NmeaTrackPoint p;
  if (fieldCount() < 8 || !readNmeaTime(field(7), p.time) ||
      (!field(10).empty() && !readNmeaDate(field(10), p.time))) {
    refuse(error, TErrorNMEA::kSentence, nmea_text::kMagTrk, body());
    return false;
  }
  if (!position(1, NmeaDialect::kMagellan, p.position, error)) return false;
  p.position.alt = readAltitude(*this, 5);
  p.valid = field(8) == "A";
  out = p;
  return true;
}

bool TComandaNMEA_Rx::ParsePMGNWPL(NmeaWaypoint& out, TErrorNMEA& error) const {
  if (fieldCount() < 8 || field(7).empty()) {
    refuse(error, TErrorNMEA::kSentence, nmea_text::kMagWpl, body());
    return false;
  }
  NmeaWaypoint w;
  if (!position(1, NmeaDialect::kMagellan, w.position, error)) return false;
  w.position.alt = readAltitude(*this, 5);
  w.name.assign(field(7));
  w.comment.assign(field(8));
  w.icon.assign(field(9));
  out = std::move(w);
  return true;
}

// A route message that cannot be read names waypoints that cannot be found: the dialect has no
// other message for it.
bool TComandaNMEA_Rx::ParsePMGNRTE(NmeaRouteMessage& out, TErrorNMEA& error) const {
  NmeaRouteMessage r;
  if (fieldCount() < 7 || !readRouteHeader(*this, r)) {
    refuse(error, TErrorNMEA::kSentence, nmea_text::kMagRouteWaypoint, body());
    return false;
  }
  for (std::size_t i = 5; i < fieldCount(); i += 2) {
    if (field(i).empty()) continue;
    r.waypointNames.emplace_back(field(i));
    r.icons.emplace_back(field(i + 1));
  }
  out = std::move(r);
  return true;
}

bool TComandaNMEA_Rx::ParseWPL(NmeaWaypoint& out, TErrorNMEA& error) const {
  const bool ownList = talker() == "WP";
  if (fieldCount() < 6) {
    refuse(error, TErrorNMEA::kSentence, ownList ? nmea_text::kMlrWpwpl : nmea_text::kMlrWpl, body());
    return false;
  }
  if (field(5).empty()) {
    refuse(error, TErrorNMEA::kSentence, nmea_text::kMlrWplShortName, body());
    return false;
  }
  return readNamedPosition(*this, NmeaDialect::kMlr, out, error);
}

bool TComandaNMEA_Rx::ParseRTE(NmeaRouteMessage& out, TErrorNMEA& error) const {
  NmeaRouteMessage r;
  if (fieldCount() < 6 || !readRouteHeader(*this, r)) {
    refuse(error, TErrorNMEA::kSentence, nmea_text::kMlrRte, body());
    return false;
  }
  for (std::size_t i = 5; i < fieldCount(); ++i)
    if (!field(i).empty()) r.waypointNames.emplace_back(field(i));
  out = std::move(r);
  return true;
}

bool TComandaNMEA_Rx::ParsePMLR(NmeaWaypoint& out, TErrorNMEA& error) const {
  if (fieldCount() < 6 || field(5).empty()) {
    refuse(error, TErrorNMEA::kSentence, nmea_text::kMlrWpl, body());
    return false;
  }
  NmeaWaypoint w;
  if (!readNamedPosition(*this, NmeaDialect::kMlrProprietary, w, error)) return false;
  double alt = 0.0;
  if (number(6, alt)) w.position.alt = static_cast<float>(alt);
  out = std::move(w);
  return true;
}

bool TComandaNMEA_Rx::ParseWPR(NmeaWaypoint& out, TErrorNMEA& error) const {
  if (fieldCount() < 6 || field(5).empty()) {
    refuse(error, TErrorNMEA::kSentence, nmea_text::kTalvioWpr, body());
    return false;
  }
  return readNamedPosition(*this, NmeaDialect::kTalvio, out, error);
}

bool resolveRouteWaypoints(const NmeaRouteMessage& route, const std::vector<NmeaWaypoint>& known,
                           NmeaDialect dialect, std::vector<NmeaWaypoint>& out, TErrorNMEA& error) {
  std::vector<NmeaWaypoint> found;
  for (const std::string& name : route.waypointNames) {
    const auto it = std::find_if(known.begin(), known.end(), [&](const NmeaWaypoint& w) { return w.name == name; });
    if (it == known.end()) {
      const bool mlr = dialect == NmeaDialect::kMlr || dialect == NmeaDialect::kMlrProprietary;
      refuse(error, TErrorNMEA::kRouteWaypoint, mlr ? nmea_text::kMlrRouteWaypoint : nmea_text::kMagRouteWaypoint,
             name);
      return false;
    }
    found.push_back(*it);
  }
  out = std::move(found);
  return true;
}

}  // namespace pixtrail
