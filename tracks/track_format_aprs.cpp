#include "tracks/track_format_aprs.hpp"

#include <cctype>
#include <cmath>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr double kUnixEpochDays = 25569.0;  // 1970-01-01 in days since 1899-12-30
// Compressed positions (APRS 1.0.1, ch. 9): base-91 values scaled by these.
constexpr double kCompressedLatScale = 380926.0;
constexpr double kCompressedLonScale = 190463.0;
constexpr int kBase91Offset = 33;
constexpr double kCompressedSpeedBase = 1.08;
constexpr int kCompressedCourseStep = 4;
constexpr int kUncompressedLength = 19;  // DDMM.hhN + table + DDDMM.hhW + code
constexpr int kCompressedLength = 13;

bool digitsAt(std::string_view s, std::size_t at, std::size_t n, int& out) {
  if (at + n > s.size()) return false;
  int v = 0;
  for (std::size_t i = at; i < at + n; ++i) {
    if (!std::isdigit(static_cast<unsigned char>(s[i]))) return false;
    v = v * 10 + (s[i] - '0');
  }
  out = v;
  return true;
}

// "DDMM.hh" + N/S (degreeDigits 2) or "DDDMM.hh" + E/W (3); blanks of position ambiguity as 0.
std::optional<double> uncompressedAngle(std::string_view s, std::size_t degreeDigits, char pos, char neg) {
  std::string t(s.substr(0, degreeDigits + 5));
  for (char& c : t)
    if (c == ' ') c = '0';
  int deg = 0, minutes = 0, hundredths = 0;
  if (t.size() != degreeDigits + 5 || t[degreeDigits + 2] != '.' || !digitsAt(t, 0, degreeDigits, deg) ||
      !digitsAt(t, degreeDigits, 2, minutes) || !digitsAt(t, degreeDigits + 3, 2, hundredths))
    return std::nullopt;
  const char h = s[degreeDigits + 5];
  if ((h != pos && h != neg) || minutes >= kMinutesPerDegree) return std::nullopt;
  const double v = deg + (minutes + hundredths / 100.0) / kMinutesPerDegree;
  return h == neg ? -v : v;
}

double base91(std::string_view s) {
  double v = 0;
  for (char c : s) v = v * 91 + (static_cast<unsigned char>(c) - kBase91Offset);
  return v;
}

bool readPosition(std::string_view s, AprsPosition& out) {
  if (s.size() >= kUncompressedLength && std::isdigit(static_cast<unsigned char>(s[0]))) {
    const auto lat = uncompressedAngle(s, 2, 'N', 'S');
    const auto lon = uncompressedAngle(s.substr(9), 3, 'E', 'W');
    if (!lat || !lon || !isPlausibleLatLon(*lat, *lon)) return false;
    out.lat = *lat;
    out.lon = *lon;
    const std::string_view ext = s.substr(kUncompressedLength);
    int course = 0, speed = 0;
    if (ext.size() >= 7 && ext[3] == '/' && digitsAt(ext, 0, 3, course) && digitsAt(ext, 4, 3, speed)) {
      out.courseDeg = course;
      out.speedKnots = speed;
    }
    return true;
  }
  if (s.size() < kCompressedLength) return false;
  for (std::size_t i = 1; i < 9; ++i)
    if (s[i] < '!' || s[i] > '{') return false;
  out.lat = kMaxLatDeg - base91(s.substr(1, 4)) / kCompressedLatScale;
  out.lon = -kMaxLonDeg + base91(s.substr(5, 4)) / kCompressedLonScale;
  if (!isPlausibleLatLon(out.lat, out.lon)) return false;
  const char c = s[10], sp = s[11];
  if (c >= '!' && c <= 'z' && sp >= '!' && sp <= '{' && c != ' ') {
    out.courseDeg = (c - kBase91Offset) * kCompressedCourseStep;
    out.speedKnots = std::pow(kCompressedSpeedBase, sp - kBase91Offset) - 1.0;
  }
  return true;
}

// "DDHHMMz", "DDHHMM/" or "HHMMSSh".
std::optional<DateTimeRecord> packetStamp(std::string_view s) {
  int a = 0, b = 0, c = 0;
  if (s.size() < 7 || !digitsAt(s, 0, 2, a) || !digitsAt(s, 2, 2, b) || !digitsAt(s, 4, 2, c))
    return std::nullopt;
  DateTimeRecord r;
  if (s[6] == 'h') {
    r.hour = a;
    r.minute = b;
    r.seconds = c;
  } else if (s[6] == 'z' || s[6] == '/') {
    r.day = a;
    r.hour = b;
    r.minute = c;
  } else {
    return std::nullopt;
  }
  return r;
}

std::optional<DateTimeRecord> heardTime(std::string_view prefix) {
  while (!prefix.empty() && (prefix.back() == ':' || prefix.back() == ',' || prefix.back() == ' '))
    prefix.remove_suffix(1);
  prefix = trim(prefix);
  DateTimeRecord r;
  if (parseXmlDateTime(prefix, r)) return r;
  int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
  if (prefix.size() == 14 && digitsAt(prefix, 0, 4, y) && digitsAt(prefix, 4, 2, mo) &&
      digitsAt(prefix, 6, 2, d) && digitsAt(prefix, 8, 2, h) && digitsAt(prefix, 10, 2, mi) &&
      digitsAt(prefix, 12, 2, s)) {
    r = DateTimeRecord{d, mo, y, h, mi, static_cast<double>(s)};
    if (r.isValid()) return r;
  }
  if (const auto unix = parseDouble(prefix); unix && *unix > 0 && *unix < 1e11)
    return DateTimeRecord::fromValue(kUnixEpochDays + *unix / kSecondsPerDay);
  return std::nullopt;
}

bool isCallsignChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '-'; }

}  // namespace

std::optional<AprsPosition> decodeAprsLine(std::string_view line) {
  const std::size_t gt = line.find('>');
  if (gt == std::string_view::npos || gt == 0) return std::nullopt;
  std::size_t start = gt;
  while (start > 0 && isCallsignChar(line[start - 1])) --start;
  if (start == gt) return std::nullopt;
  const std::size_t colon = line.find(':', gt);
  if (colon == std::string_view::npos) return std::nullopt;
  AprsPosition p;
  p.source = std::string(line.substr(start, gt - start));
  if (start > 0) p.heard = heardTime(line.substr(0, start));
  std::string_view payload = line.substr(colon + 1);
  if (payload.empty()) return std::nullopt;
  const char type = payload[0];
  std::size_t at = 1;
  if (type == '/' || type == '@') {
    p.stamp = packetStamp(payload.substr(1));
    if (!p.stamp) return std::nullopt;
    at = 8;
  } else if (type != '!' && type != '=') {
    return std::nullopt;
  }
  if (at > payload.size() || !readPosition(payload.substr(at), p)) return std::nullopt;
  if (const std::size_t a = payload.find("/A=", at); a != std::string_view::npos)
    if (const auto feet = parseDouble(payload.substr(a + 3, 6))) p.altFeet = feet;
  return p;
}

bool readAprsTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                       std::string& message) {
  TVolGPS loaded;
  std::string station;
  std::size_t others = 0;
  forEachLine(text, [&](std::string_view line) {
    const std::optional<AprsPosition> p = decodeAprsLine(line);
    if (!p) return true;
    if (station.empty()) station = p->source;
    if (p->source != station) {
      ++others;
      return true;
    }
    DateTimeRecord when;
    if (p->heard) when = *p->heard;
    const float alt = p->altFeet ? static_cast<float>(*p->altFeet * kFeetToMetres) : kUnknownAltitude;
    auto point = makePoint(p->lat, p->lon, alt, when);
    if (!p->heard && p->stamp) point->time = TPuntTiempo::fromRecord(*p->stamp);  // no full date
    if (p->courseDeg && *p->courseDeg > 0) point->courseDeg = static_cast<float>(*p->courseDeg);
    if (p->speedKnots) point->speedMs = static_cast<float>(*p->speedKnots * kKnotsToMs);
    loaded.appendPoint(std::move(point));
    return true;
  });
  if (loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": no APRS position reports in this file");
    return false;
  }
  if (others > 0)
    appendMessage(message, fileName + ": track of " + station + "; " + std::to_string(others) +
                               " reports of other stations left out");
  track.headerText('P') = station;
  track.points = std::move(loaded.points);
  return true;
}

}  // namespace pixtrail
