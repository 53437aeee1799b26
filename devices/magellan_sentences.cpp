#include "devices/magellan_sentences.hpp"

#include <cmath>
#include <cstdio>

#include "core/TCoord.hpp"

namespace pixtrail {

namespace {

constexpr std::size_t kWaypointsPerRouteMessage = 2;  // keeps a message inside NMEA's 82 characters
constexpr std::size_t kRouteHeaderFields = 5;         // identifier, count, number, "c", route number
constexpr long long kMaxRouteMessages = 9999;

std::string altitudeText(float alt, int digits) {
  if (!hasAltitude(alt)) return {};
  char text[32];
  std::snprintf(text, sizeof text, "%0*ld", digits, std::lround(alt));
  return text;
}

// Route messages number their parts in at most four digits.
std::optional<int> readCount(const TComandaNMEA_Rx& s, std::size_t index) {
  const std::optional<long long> v = s.integer(index);
  if (!v || *v < 0 || *v > kMaxRouteMessages) return std::nullopt;
  return static_cast<int>(*v);
}

}  // namespace

std::string magellanFieldText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) out += (c == ',' || c == '*' || c == '$' || c == '\r' || c == '\n') ? ' ' : c;
  return out;
}

std::string magellanSentence(const std::vector<std::string>& fields) {
  TComandaNMEA_Tx tx;
  for (std::size_t i = 0; i < fields.size(); ++i) tx.setField(i, fields[i]);
  return tx.Build();
}

std::string magellanCommand(std::string_view word, std::string_view argument) {
  std::vector<std::string> fields{"PMGNCMD", std::string(word)};
  if (!argument.empty()) fields.emplace_back(argument);
  return magellanSentence(fields);
}

std::string magellanAcknowledgement(const TComandaNMEA& received) {
  return magellanSentence({"PMGNCSM", std::string(received.checksumText())});
}

std::vector<std::string> magellanWaypointFields(const NmeaWaypoint& w) {
  return {"PMGNWPL",
          TComandaNMEA_Tx::latitudeText(w.position.lat),
          std::string(1, TComandaNMEA_Tx::latitudeHemisphere(w.position.lat)),
          TComandaNMEA_Tx::longitudeText(w.position.lon),
          std::string(1, TComandaNMEA_Tx::longitudeHemisphere(w.position.lon)),
          altitudeText(w.position.alt, 7),
          "M",
          magellanFieldText(w.name),
          magellanFieldText(w.comment),
          magellanFieldText(w.icon)};
}

std::vector<std::string> magellanTrackFields(const NmeaTrackPoint& p, std::string_view trackName) {
  char time[16];
  std::snprintf(time, sizeof time, "%02d%02d%05.2f", p.time.hour % 100, p.time.minute % 100,
                std::floor(p.time.seconds * 100.0) / 100.0);
  char date[16] = "";
  if (p.time.month != 0)
    std::snprintf(date, sizeof date, "%02d%02d%02d", p.time.day % 100, p.time.month % 100, p.time.year % 100);
  return {"PMGNTRK",
          TComandaNMEA_Tx::latitudeText(p.position.lat),
          std::string(1, TComandaNMEA_Tx::latitudeHemisphere(p.position.lat)),
          TComandaNMEA_Tx::longitudeText(p.position.lon),
          std::string(1, TComandaNMEA_Tx::longitudeHemisphere(p.position.lon)),
          altitudeText(p.position.alt, 5),
          "M",
          time,
          p.valid ? "A" : "V",
          magellanFieldText(trackName),
          date};
}

std::vector<std::vector<std::string>> magellanRouteFields(
    std::string_view routeNumber, std::string_view routeName,
    const std::vector<std::pair<std::string, std::string>>& waypoints, MagellanRouteLayout layout) {
  const std::size_t count =
      waypoints.empty() ? 1 : (waypoints.size() + kWaypointsPerRouteMessage - 1) / kWaypointsPerRouteMessage;
  std::vector<std::vector<std::string>> messages;
  for (std::size_t m = 0; m < count; ++m) {
    std::vector<std::string> f{"PMGNRTE", std::to_string(count), std::to_string(m + 1), "c",
                               std::string(routeNumber)};
    if (layout == MagellanRouteLayout::kNamed) f.push_back(magellanFieldText(routeName));
    for (std::size_t i = m * kWaypointsPerRouteMessage;
         i < waypoints.size() && i < (m + 1) * kWaypointsPerRouteMessage; ++i) {
      f.push_back(magellanFieldText(waypoints[i].first));
      f.push_back(waypoints[i].second.empty() ? std::string(kMagellanDefaultIcon)
                                              : magellanFieldText(waypoints[i].second));
    }
    messages.push_back(std::move(f));
  }
  return messages;
}

MagellanRouteLayout magellanRouteLayoutOf(const TComandaNMEA_Rx& s) {
  std::size_t n = s.fieldCount() > kRouteHeaderFields ? s.fieldCount() - kRouteHeaderFields : 0;
  if (n % 2 == 1 && s.field(s.fieldCount() - 1).empty()) --n;
  return n % 2 == 1 ? MagellanRouteLayout::kNamed : MagellanRouteLayout::kSerial;
}

bool readMagellanRouteMessage(const TComandaNMEA_Rx& s, MagellanRouteLayout layout, MagellanRouteMessage& out,
                              TErrorNMEA& error) {
  MagellanRouteMessage r;
  const std::optional<int> count = readCount(s, 1), number = readCount(s, 2);
  // A route message that cannot be read names waypoints that cannot be found: the dialect has no
  // other message for it.
  if (s.identifier() != "PMGNRTE" || s.fieldCount() < kRouteHeaderFields || !count || !number || *number < 1 ||
      *number > *count || s.field(4).empty()) {
    error.refuse(TErrorNMEA::kRouteWaypoint, nmea_text::kMagRouteWaypoint, s.body());
    return false;
  }
  r.messageCount = *count;
  r.messageNumber = *number;
  r.routeNumber.assign(s.field(4));
  std::size_t i = kRouteHeaderFields;
  if (layout == MagellanRouteLayout::kNamed) r.routeName.assign(s.field(i++));
  for (; i < s.fieldCount(); i += 2) {
    if (s.field(i).empty()) continue;
    r.waypointNames.emplace_back(s.field(i));
    r.icons.emplace_back(s.field(i + 1));
  }
  out = std::move(r);
  return true;
}

bool readMagellanRouteMessages(const std::vector<std::string>& lines, std::vector<MagellanRouteMessage>& out,
                               TErrorNMEA& error) {
  TComandaNMEA_Rx s;
  MagellanRouteLayout layout = MagellanRouteLayout::kSerial;
  for (const std::string& line : lines)
    if (s.Parse(line, error) && s.identifier() == "PMGNRTE" && magellanRouteLayoutOf(s) == MagellanRouteLayout::kNamed)
      layout = MagellanRouteLayout::kNamed;
  std::vector<MagellanRouteMessage> read;
  for (const std::string& line : lines) {
    MagellanRouteMessage m;
    if (!s.Parse(line, error) || !readMagellanRouteMessage(s, layout, m, error)) return false;
    read.push_back(std::move(m));
  }
  out.insert(out.end(), std::make_move_iterator(read.begin()), std::make_move_iterator(read.end()));
  return true;
}

}  // namespace pixtrail
