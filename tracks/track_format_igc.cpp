#include "tracks/track_format_igc.hpp"

#include <cmath>
#include <cstdio>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr double kThousandthsPerMinute = 1000.0;

bool number(std::string_view text, std::size_t at, std::size_t count, int& out) {
  if (at + count > text.size()) return false;
  int value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    value = value * 10 + (text[i] - '0');
  }
  out = value;
  return true;
}

// Altitude fields are five characters and may carry a minus sign ("-0012").
bool altitude(std::string_view text, std::size_t at, int& out) {
  if (at + 5 > text.size()) return false;
  if (text[at] == '-') {
    int v = 0;
    if (!number(text, at + 1, 4, v)) return false;
    out = -v;
    return true;
  }
  return number(text, at, 5, out);
}

// DDMMmmm or DDDMMmmm plus the hemisphere letter.
bool angle(std::string_view text, std::size_t at, std::size_t degreeDigits, char positive,
           char negative, double& out) {
  int deg = 0, thousandths = 0;
  if (!number(text, at, degreeDigits, deg) || !number(text, at + degreeDigits, 5, thousandths))
    return false;
  const char hemisphere = at + degreeDigits + 5 < text.size() ? text[at + degreeDigits + 5] : 0;
  if (hemisphere != positive && hemisphere != negative) return false;
  const double minutes = thousandths / kThousandthsPerMinute;
  if (minutes >= kMinutesPerDegree) return false;
  out = (deg + minutes / kMinutesPerDegree) * (hemisphere == negative ? -1 : 1);
  return true;
}

}  // namespace

std::optional<IgcFix> decodeIgcFix(std::string_view line) {
  // Example: B1602405407121N00249342WA0028000421020509950
  IgcFix f;
  if (line.size() < 35 || line[0] != 'B' || !number(line, 1, 2, f.hour) ||
      !number(line, 3, 2, f.minute) || !number(line, 5, 2, f.second) ||
      !angle(line, 7, 2, 'N', 'S', f.lat) || !angle(line, 15, 3, 'E', 'W', f.lon) ||
      (line[24] != 'A' && line[24] != 'V') || !altitude(line, 25, f.pressureAltM) ||
      !altitude(line, 30, f.gnssAltM) || f.hour > 23 || f.minute > 59 || f.second > 59 ||
      !isPlausibleLatLon(f.lat, f.lon))
    return std::nullopt;
  f.valid3d = line[24] == 'A';
  return f;
}

std::optional<DateTimeRecord> decodeIgcDate(std::string_view line) {
  if (!line.starts_with("HFDTE") && !line.starts_with("HPDTE") && !line.starts_with("HODTE"))
    return std::nullopt;
  std::string_view rest = line.substr(5);
  if (rest.starts_with("DATE:")) rest.remove_prefix(5);
  DateTimeRecord r;
  int yy = 0;
  if (!number(rest, 0, 2, r.day) || !number(rest, 2, 2, r.month) || !number(rest, 4, 2, yy))
    return std::nullopt;
  // Loggers exist since the 1990s; two-digit years from 80 on are taken as 19YY.
  r.year = yy >= 80 ? 1900 + yy : 2000 + yy;
  if (!r.isValid()) return std::nullopt;
  return r;
}

std::string igcFixRecord(const TPuntVol& p) {
  const TPuntTiempo& t = p.time;
  const double alat = std::fabs(p.position.lat), alon = std::fabs(p.position.lon);
  long latThousandths = std::lround(alat * kMinutesPerDegree * kThousandthsPerMinute);
  long lonThousandths = std::lround(alon * kMinutesPerDegree * kThousandthsPerMinute);
  const long perDegree = static_cast<long>(kMinutesPerDegree * kThousandthsPerMinute);
  const int pressure = hasAltitude(p.barometricAltitudeM) ? static_cast<int>(std::lround(p.barometricAltitudeM)) : 0;
  const float gnssSource = hasAltitude(p.gpsAltitudeM) ? p.gpsAltitudeM : p.position.alt;
  const int gnss = hasAltitude(gnssSource) ? static_cast<int>(std::lround(gnssSource)) : 0;
  auto alt5 = [](int v) {
    char b[8];
    v = std::clamp(v, -9999, 99999);
    std::snprintf(b, sizeof b, v < 0 ? "-%04d" : "%05d", v < 0 ? -v : v);
    return std::string(b);
  };
  char line[64];
  std::snprintf(line, sizeof line, "B%02d%02d%02d%02ld%05ld%c%03ld%05ld%cA", t.hour, t.minute,
                static_cast<int>(t.seconds), latThousandths / perDegree,
                latThousandths % perDegree, p.position.lat < 0 ? 'S' : 'N',
                lonThousandths / perDegree, lonThousandths % perDegree,
                p.position.lon < 0 ? 'W' : 'E');
  return line + alt5(pressure) + alt5(gnss);
}

bool readIgcTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                      std::string& message) {
  TVolGPS loaded;
  std::optional<DateTimeRecord> date;
  int previousSecondOfDay = -1;
  int dayOffset = 0;
  bool sawA = false;
  forEachLine(text, [&](std::string_view line) {
    if (line.starts_with("A")) sawA = true;
    if (auto d = decodeIgcDate(line)) date = d;
    const std::optional<IgcFix> fix = decodeIgcFix(line);
    if (!fix) return true;
    const int secondOfDay = fix->hour * 3600 + fix->minute * 60 + fix->second;
    if (previousSecondOfDay >= 0 && secondOfDay < previousSecondOfDay) ++dayOffset;
    previousSecondOfDay = secondOfDay;
    DateTimeRecord time;
    if (date) {
      time = *date;
      time.hour = fix->hour;
      time.minute = fix->minute;
      time.seconds = fix->second;
      if (dayOffset > 0) time = shiftedBySeconds(time, dayOffset * kSecondsPerDay);
    }
    auto p = makePoint(fix->lat, fix->lon, kUnknownAltitude, time);  // IGC is WGS 84 by rule
    // 00000 is how loggers (and our writer) say "none": a logger without a pressure sensor, a fix
    // without a GPS altitude, a track that had no altitudes at all.
    if (fix->pressureAltM != 0) p->barometricAltitudeM = static_cast<float>(fix->pressureAltM);
    if (fix->gnssAltM != 0) p->gpsAltitudeM = static_cast<float>(fix->gnssAltM);
    p->fixType = fix->valid3d ? 3 : 2;
    loaded.appendPoint(std::move(p));
    return true;
  });
  if (!sawA && loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": not an IGC file");
    return false;
  }
  if (loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": no fix records in this IGC file");
    return false;
  }
  if (!date) appendMessage(message, fileName + ": no HFDTE date record; times have no date");
  track.points = std::move(loaded.points);
  return true;
}

std::string igcTrackText(const TVolGPS& track) {
  std::string out = "AXXXPIXTRAIL\r\n";
  for (std::size_t i = 0; i < track.pointCount(); ++i) {
    DateTimeValue v = 0;
    if (!track.point(i).time.toValue(v)) continue;
    const TPuntTiempo& t = track.point(i).time;
    char line[32];
    std::snprintf(line, sizeof line, "HFDTE%02d%02d%02d\r\n", t.day, t.month, t.year % 100);
    out += line;
    break;
  }
  out += "HFDTM100GPSDATUM:WGS-1984\r\n";
  for (std::size_t i = 0; i < track.pointCount(); ++i) out += igcFixRecord(track.point(i)) + "\r\n";
  return out;
}

}  // namespace pixtrail
