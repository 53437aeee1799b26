#include "tracks/track_text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cctype>
#include <cstdio>

#include "coords/TProyeccionUTM.hpp"
#include "coords/coordinate_text.hpp"
#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"

namespace pixtrail {

namespace {
constexpr std::array<std::string_view, 13> kMonths = {"NUL", "JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                                      "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
constexpr int kCenturyPivot = 51;  // two-digit years below it are 20YY
constexpr std::string_view kNoZone = "-";

void appendTwoDigits(int value, std::string& out) {
  const int v = ((value % 100) + 100) % 100;
  out += static_cast<char>('0' + v / 10);
  out += static_cast<char>('0' + v % 10);
}

std::string angleField(bool isLatitude, double valueDeg, int mode);
constexpr int kDecimalDegreeDigits = 7;

// Seven decimals by the shortest exact route; the same digits as the coordinate text's "%.7f".
void appendFixed7(double value, std::string& out) {
  char buffer[64];
  const auto r = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, kDecimalDegreeDigits);
  out.append(buffer, r.ptr);
}

// One angle as a field: the parts with their marks and the hemisphere letter, no blanks.
void appendAngleField(bool isLatitude, double valueDeg, int mode, std::string& out) {
  if (mode == kFileSignedDegrees) return appendFixed7(valueDeg, out);
  if (mode == kFileDegrees) {
    appendFixed7(std::abs(valueDeg), out);
    out += kDegreeMark;
    out += hemisphereLetter(isLatitude, valueDeg);
    return;
  }
  out += angleField(isLatitude, valueDeg, mode);
}

std::string angleField(bool isLatitude, double valueDeg, int mode) {
  const AngleText parts = angleToText(isLatitude, valueDeg, mode);
  if (mode == kFileSignedDegrees) return parts.degrees;
  std::string field = parts.degrees;
  field += mode == kFileParisGrads ? "gr" : kDegreeMark;
  if (!parts.minutes.empty()) field += parts.minutes + kMinuteMark;
  if (!parts.seconds.empty()) field += parts.seconds + kSecondMark;
  // Grads count longitudes from Paris, so the letter goes by the side of Paris.
  const bool fromParis = mode == kFileParisGrads && !isLatitude;
  field += hemisphereLetter(isLatitude, fromParis ? valueDeg - kParisMeridianDeg : valueDeg);
  return field;
}

// The common decimal forms ("40.4250000ºN", "-3.5000000") without the general typed-text reader,
// which allocates; anything else goes to it.
bool fastDecimal(std::string_view text, bool isLatitude, int mode, double& value) {
  if (mode != kFileDegrees && mode != kFileSignedDegrees) return false;
  double sign = 1.0;
  if (mode == kFileDegrees) {
    if (text.size() < 3 || text[text.size() - 2] != kDegreeMark[0]) return false;
    const char h = text.back();
    if (isLatitude ? (h != 'N' && h != 'S') : (h != 'E' && h != 'W')) return false;
    sign = (h == 'S' || h == 'W') ? -1.0 : 1.0;
    text.remove_suffix(2);
    if (!text.empty() && text[0] == '-') return false;
  }
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return false;
  value *= sign;
  return true;
}

bool readAngle(std::string_view text, bool isLatitude, int mode, double& value) {
  double v = 0.0;
  if (!fastDecimal(text, isLatitude, mode, v)) {
    bool latitude = isLatitude;
    std::string ignored;  // a bad field rejects the line; its own wording is not the file's message
    if (!formattedTextToAngle(text, mode, v, latitude, ignored) || latitude != isLatitude) return false;
  }
  if (!(isLatitude ? isPlausibleLat(v) : isPlausibleLon(v))) return false;
  value = v;
  return true;
}
}  // namespace

bool isFileCoordinateMode(int mode) { return mode >= kFileDegrees && mode <= kFileUtm; }

namespace {
constexpr int kUtmZones = 60;
constexpr double kUtmMaxEastingM = 1000000.0;

// UTM: "30T 440298 4474257", zone and band in one field, whole metres. The projection needs the
// datum table, so without one the mode is refused.
bool appendUtmFields(const TCoord& position, const FileCoordinates& file, std::string& out, std::string& message) {
  if (!datumTableLoaded()) {
    appendMessage(message, "UTM coordinates need the datum table");
    return false;
  }
  if (!isPlausibleLatLon(position.lat, position.lon)) {
    appendMessage(message, "Position outside the UTM zones");
    return false;
  }
  GridCoord grid;
  if (!geographicToUtm(position, kWorkingDatum, file.datum, grid, message)) return false;
  // What the reader would refuse is not written: polar caps and the zone past the antimeridian.
  if (grid.zone < 1 || grid.zone > kUtmZones || grid.band < 'C' || grid.band > 'X') {
    appendMessage(message, "Position outside the UTM zones");
    return false;
  }
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%02d%c %.0f %.0f", grid.zone, grid.band, std::round(grid.x), std::round(grid.y));
  out += buffer;
  return true;
}

bool readUtmFields(std::string_view zone, std::string_view easting, std::string_view northing,
                   const FileCoordinates& file, TCoord& position) {
  if (!datumTableLoaded() || zone.size() < 2) return false;
  const auto number = parseInteger(zone.substr(0, zone.size() - 1));
  const char band = static_cast<char>(std::toupper(static_cast<unsigned char>(zone.back())));
  const auto x = parseDouble(easting), y = parseDouble(northing);
  if (!number || *number < 1 || *number > kUtmZones || band < 'C' || band > 'X' || !x || !y) return false;
  if (!(*x > 0.0 && *x < kUtmMaxEastingM) || !(*y >= 0.0 && *y <= kUtmSouthFalseNorthing)) return false;
  GridCoord grid;
  grid.x = *x;
  grid.y = *y;
  grid.zone = static_cast<int>(*number);
  grid.band = band;
  TCoord geo;
  std::string ignored;
  if (!utmToGeographic(grid, file.datum, kWorkingDatum, geo, ignored) || !isPlausibleLatLon(geo.lat, geo.lon))
    return false;
  // Northing 0 of a northern band is the equator, which the band rule puts in the south (M): keep
  // such a point a tenth of a millimetre north so that it is written back as it was read.
  constexpr double kNorthOfEquatorDeg = 1e-9;
  position.lat = band >= 'N' ? std::max(geo.lat, kNorthOfEquatorDeg) : geo.lat;
  position.lon = geo.lon;
  return true;
}
}  // namespace

bool appendPositionFields(const TCoord& position, const FileCoordinates& file, std::string& out,
                          std::string& message) {
  if (!isFileCoordinateMode(file.mode)) {
    appendMessage(message, "Unknown coordinate mode in file: " + std::to_string(file.mode));
    return false;
  }
  if (file.mode == kFileUtm) return appendUtmFields(position, file, out, message);
  const TCoord inFile = toFileDatum(position, file.datum);
  out += kNoZone;
  out += ' ';
  appendAngleField(true, inFile.lat, file.mode, out);
  out += ' ';
  appendAngleField(false, inFile.lon, file.mode, out);
  return true;
}

bool readPositionFields(std::string_view zone, std::string_view first, std::string_view second,
                        const FileCoordinates& file, TCoord& position, std::string& message) {
  (void)message;  // a position that does not read rejects its line without a message of its own
  if (!isFileCoordinateMode(file.mode) || zone.empty()) return false;
  if (file.mode == kFileUtm) return readUtmFields(zone, first, second, file, position);
  double lat = 0.0, lon = 0.0;
  if (!readAngle(first, true, file.mode, lat) || !readAngle(second, false, file.mode, lon))
    return false;
  const TCoord working = fromFileDatum(TCoord{lon, lat, position.alt}, file.datum);
  position.lat = working.lat;
  position.lon = working.lon;
  return true;
}

void appendPointDate(const TPuntTiempo& time, std::string& out) {
  appendTwoDigits(time.day, out);
  out += '-';
  out += kMonths[time.month >= 0 && time.month <= 12 ? static_cast<std::size_t>(time.month) : 0];
  out += '-';
  appendTwoDigits(time.year, out);
}

void appendPointTime(const TPuntTiempo& time, std::string& out) {
  if (time.hour < 0) out += '-';  // the reader's negated hours
  appendTwoDigits(time.hour < 0 ? -time.hour : time.hour, out);
  out += ':';
  appendTwoDigits(time.minute, out);
  out += ':';
  appendTwoDigits(static_cast<int>(time.seconds), out);
}

bool pointDateFits(const TPuntTiempo& time) {
  if (time.day < 1 || time.month < 1) return true;
  return time.year >= kFirstTwoDigitYear && time.year <= kLastTwoDigitYear;
}

bool parsePointDate(std::string_view text, TPuntTiempo& time) {
  if (text.size() < 8) return false;
  const auto day = parseInteger(text.substr(0, 2));
  const auto year = parseInteger(text.substr(7));
  if (!day || !year || *day < 0 || *year < 0 || *year > 9999) return false;
  const std::string monthName = toUpperAscii(text.substr(3, 3));
  const auto found = std::find(kMonths.begin(), kMonths.end(), monthName);
  if (found == kMonths.end()) return false;
  const int month = static_cast<int>(found - kMonths.begin());
  int fullYear = static_cast<int>(*year);
  if (*day >= 1 && month >= 1 && fullYear < 100) fullYear += fullYear < kCenturyPivot ? 2000 : 1900;
  time.day = static_cast<int>(*day);
  time.month = month;
  time.year = fullYear;
  return true;
}

bool parsePointTime(std::string_view text, TPuntTiempo& time) {
  bool negative = false;
  if (!text.empty() && text[0] == '-') {
    negative = true;
    text.remove_prefix(1);
  }
  const std::size_t c1 = text.find(':');
  const std::size_t c2 = c1 == std::string_view::npos ? c1 : text.find(':', c1 + 1);
  if (c2 == std::string_view::npos) return false;
  const std::size_t c3 = text.find(':', c2 + 1);  // parts after the third are ignored
  const auto h = parseInteger(text.substr(0, c1));
  const auto m = parseInteger(text.substr(c1 + 1, c2 - c1 - 1));
  const auto s = parseDouble(text.substr(c2 + 1, c3 == std::string_view::npos ? c3 : c3 - c2 - 1));
  if (!h || !m || !s || *h >= 24 || *h < 0 || *m >= 60 || *m < 0 || !(*s < 60.0) || *s < 0.0) return false;
  time.hour = static_cast<int>(negative ? -*h : *h);
  time.minute = static_cast<int>(*m);
  time.seconds = static_cast<float>(*s);
  return true;
}

std::string formatTimeOffset(double seconds) {
  const long long total = std::llround(std::abs(seconds));
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%s%02lld:%02lld:%02lld", seconds < 0 ? "-" : "", total / 3600,
                total / 60 % 60, total % 60);
  return buffer;
}

bool parseTimeOffset(std::string_view text, double& seconds) {
  double sign = 1.0;
  if (!text.empty() && text[0] == '-') {
    sign = -1.0;
    text.remove_prefix(1);
  }
  std::string_view h, m, s;
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) {
    // Without separators the parts have two characters each: "013000".
    h = text.substr(0, 2);
    m = text.size() > 2 ? text.substr(2, 2) : std::string_view("0");
    s = text.size() > 4 ? text.substr(4) : std::string_view("0");
  } else {
    h = text.substr(0, colon);
    const auto rest = splitFields(text.substr(colon + 1), ':');
    m = rest[0];
    s = rest.size() > 1 ? rest[1] : std::string_view("0");
  }
  const auto hv = parseInteger(h), mv = parseInteger(m);
  const auto sv = parseDouble(s);
  // Bounds keep the offset a whole number of seconds that prints back the same way.
  constexpr long long kMaxPart = 1000000;
  if (!hv || !mv || !sv || *hv < 0 || *mv < 0 || !(*sv >= 0) || *hv > kMaxPart || *mv > kMaxPart || *sv > kMaxPart)
    return false;
  seconds = sign * (static_cast<double>(*hv) * kSecondsPerHour + static_cast<double>(*mv) * kSecondsPerMinute + *sv);
  return true;
}

void appendReal(float value, std::string& out) {
  char buffer[32];
  const auto r = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, r.ptr);
}

void appendDouble(double value, std::string& out) {
  char buffer[40];
  const auto r = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, r.ptr);
}

void appendInteger(long long value, std::string& out) {
  char buffer[24];
  const auto r = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, r.ptr);
}

}  // namespace pixtrail
