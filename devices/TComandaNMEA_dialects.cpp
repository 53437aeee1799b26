// The waypoint, route and track sentences of the receiver dialects, read from a parsed sentence.
// Field layouts (after the identifier):
//   GGA as a track point  as NmeaGga reads it; a time and a position are required
//   PMGNWPL   1..4 position, 5 altitude, 6 unit, 7 name, 8 comment, 9 icon
//   WPL       1..4 position, 5 name (the talker "WP" marks an MLR unit's own list)
//   RTE       1 message count, 2 message number, 3 "c"/"w", 4 route name, then waypoint names
//   PMLR      1..4 position, 5 name, 6 altitude in metres (MLR's own waypoint sentence)
//   WPR       1..4 position, 5 name (Talvio)
// PMGNTRK and PMGNRTE have their readers beside the other Magellan sentences (decodePmgntrk,
// readMagellanRouteMessage).

#include <algorithm>

#include "devices/TComandaNMEA.hpp"

namespace pixtrail {

namespace {

bool readRouteHeader(const TComandaNMEA_Rx& s, NmeaRouteMessage& out) {
  const auto count = s.integer(1), number = s.integer(2);
  if (!count || !number || *count < 1 || *number < 1 || *number > *count) return false;
  out.messageCount = static_cast<int>(*count);
  out.messageNumber = static_cast<int>(*number);
  out.routeName.assign(s.field(4));
  return true;
}

bool readNamedPosition(const TComandaNMEA_Rx& s, NmeaDialect dialect, NmeaWaypoint& out, TErrorNMEA& error) {
  const std::optional<TCoord> position = s.position(1, dialect, error);
  if (!position) return false;
  NmeaWaypoint w;
  w.position = *position;
  w.name.assign(s.field(5));
  out = std::move(w);
  return true;
}

}  // namespace

bool TComandaNMEA_Rx::ParseGGATrackPoint(NmeaTrackPoint& out, TErrorNMEA& error) const {
  const NmeaGga gga(*this);
  const std::optional<DateTimeRecord> time = gga.time();
  if (fieldCount() < 7 || !time) {
    error.refuse(TErrorNMEA::kSentence, nmea_text::kMagGga, body());
    return false;
  }
  const std::optional<TCoord> position = this->position(2, NmeaDialect::kMagellan, error);
  if (!position) return false;
  NmeaTrackPoint p;
  p.time = *time;
  p.position = *position;
  p.position.alt = static_cast<float>(gga.altitudeM().value_or(kUnknownAltitude));
  p.valid = !gga.qualityText().empty() && gga.qualityText() != "0";
  out = p;
  return true;
}

bool TComandaNMEA_Rx::ParsePMGNWPL(NmeaWaypoint& out, TErrorNMEA& error) const {
  if (fieldCount() < 8 || field(7).empty()) {
    error.refuse(TErrorNMEA::kSentence, nmea_text::kMagWpl, body());
    return false;
  }
  const std::optional<TCoord> position = this->position(1, NmeaDialect::kMagellan, error);
  if (!position) return false;
  NmeaWaypoint w;
  w.position = *position;
  w.position.alt = static_cast<float>(nmeaAltitudeM(*this, 5).value_or(kUnknownAltitude));
  w.name.assign(field(7));
  w.comment.assign(field(8));
  w.icon.assign(field(9));
  out = std::move(w);
  return true;
}

bool TComandaNMEA_Rx::ParseWPL(NmeaWaypoint& out, TErrorNMEA& error) const {
  const bool ownList = talker() == "WP";
  if (fieldCount() < 6) {
    error.refuse(TErrorNMEA::kSentence, ownList ? nmea_text::kMlrWpwpl : nmea_text::kMlrWpl, body());
    return false;
  }
  if (field(5).empty()) {
    error.refuse(TErrorNMEA::kSentence, nmea_text::kMlrWplShortName, body());
    return false;
  }
  return readNamedPosition(*this, NmeaDialect::kMlr, out, error);
}

bool TComandaNMEA_Rx::ParseRTE(NmeaRouteMessage& out, TErrorNMEA& error) const {
  NmeaRouteMessage r;
  if (fieldCount() < 6 || !readRouteHeader(*this, r)) {
    error.refuse(TErrorNMEA::kSentence, nmea_text::kMlrRte, body());
    return false;
  }
  for (std::size_t i = 5; i < fieldCount(); ++i)
    if (!field(i).empty()) r.waypointNames.emplace_back(field(i));
  out = std::move(r);
  return true;
}

bool TComandaNMEA_Rx::ParsePMLR(NmeaWaypoint& out, TErrorNMEA& error) const {
  if (fieldCount() < 6 || field(5).empty()) {
    error.refuse(TErrorNMEA::kSentence, nmea_text::kMlrWpl, body());
    return false;
  }
  NmeaWaypoint w;
  if (!readNamedPosition(*this, NmeaDialect::kMlrProprietary, w, error)) return false;
  if (const auto alt = number(6)) w.position.alt = static_cast<float>(*alt);
  out = std::move(w);
  return true;
}

bool TComandaNMEA_Rx::ParseWPR(NmeaWaypoint& out, TErrorNMEA& error) const {
  if (fieldCount() < 6 || field(5).empty()) {
    error.refuse(TErrorNMEA::kSentence, nmea_text::kTalvioWpr, body());
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
      error.refuse(TErrorNMEA::kRouteWaypoint, mlr ? nmea_text::kMlrRouteWaypoint : nmea_text::kMagRouteWaypoint,
                   name);
      return false;
    }
    found.push_back(*it);
  }
  out = std::move(found);
  return true;
}

}  // namespace pixtrail
