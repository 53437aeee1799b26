#include "tracks/TBalizas.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <cstdio>

#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_magellan.hpp"

namespace pixtrail {

namespace {
constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kVoidName = "VOID";
constexpr std::size_t kMinNameLength = 6;
constexpr std::size_t kMaxWaypointFields = 20;
constexpr std::size_t kSevenFieldLine = 7;  // a "W" line without altitude and description
constexpr std::size_t kFullLine = 8;
// Every waypoint line carries this date and time; readers skip them.
constexpr std::string_view kFixedDateTime = "27-MAR-62 00:00:00";
constexpr std::string_view kOziHeader = "OziExplorer Waypoint File Version ";
constexpr std::array<std::string_view, 2> kOziVersions = {"1.1", "1.0"};
constexpr std::size_t kOziHeaderLines = 4;  // version, datum, two reserved lines

// Blank- and tab-separated fields; the last one keeps the rest of the line.
// A stray carriage return counts as a blank: it cannot be written back inside a line.
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::vector<std::string_view> splitWaypointFields(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && isBlank(line[i])) ++i;
    if (i == line.size()) break;
    if (fields.size() + 1 == kMaxWaypointFields) {
      std::string_view rest = line.substr(i);
      while (!rest.empty() && isBlank(rest.back())) rest.remove_suffix(1);
      fields.push_back(rest);
      break;
    }
    const std::size_t start = i;
    while (i < line.size() && !isBlank(line[i])) ++i;
    fields.push_back(line.substr(start, i - start));
  }
  return fields;
}

std::string oneLine(std::string_view text) {
  std::string s(text);
  for (char& c : s)
    if (c == '\r' || c == '\n') c = ' ';
  return s;
}

}  // namespace

TBaliza& TBaliza::operator=(const TBaliza& other) {
  if (this == &other) return *this;
  name = other.name;
  position = other.position;
  description = other.description;
  symbol = other.symbol;
  displayType = other.displayType;
  displayValue1 = other.displayValue1;
  displayValue2 = other.displayValue2;
  displayValue3 = other.displayValue3;
  displayFlag1 = other.displayFlag1;
  displayFlag2 = other.displayFlag2;
  displayText = other.displayText;
  displayValue4 = other.displayValue4;
  font = other.font ? std::make_unique<TBalizaFont>(*other.font) : nullptr;
  return *this;
}

std::string waypointNameField(std::string_view name) {
  std::string field(trim(name));
  if (field.empty()) return std::string(kVoidName);
  if (field.size() < kMinNameLength) field.resize(kMinNameLength, ' ');
  for (char& c : field)
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') c = '_';
  return field;
}

bool appendWaypointLines(const TBaliza& w, const FileCoordinates& file, const WaypointDefaults& defaults,
                         std::string& out, std::string& message) {
  std::string coordinates;
  if (!appendPositionFields(w.position, file, coordinates, message)) return false;
  char altitude[64];
  std::snprintf(altitude, sizeof altitude, "%lf", static_cast<double>(w.position.alt));
  out += "W  " + waypointNameField(w.name) + ' ' + coordinates + ' ' + std::string(kFixedDateTime) + ' ' +
         altitude + ' ' + oneLine(w.description);
  out += kCrLf;
  if (w.displayType != defaults.displayType || w.displayValue1 != defaults.displayValue1 ||
      w.displayValue2 != defaults.displayValue2 || w.displayFlag1 != defaults.displayFlag1) {
    out += "w " + oneLine(w.symbol) + ',';
    appendInteger(w.displayType, out);
    out += ',';
    appendReal(w.displayValue1, out);
    for (const long long v : {static_cast<long long>(w.displayValue2), static_cast<long long>(w.displayValue3),
                              static_cast<long long>(w.displayFlag1), static_cast<long long>(w.displayFlag2)}) {
      out += ',';
      appendInteger(v, out);
    }
    out += ',' + oneLine(w.displayText) + ',';
    appendReal(w.displayValue4, out);
    out += kCrLf;
  }
  if (w.font) {
    const TBalizaFont& f = *w.font;
    char buffer[96];
    std::snprintf(buffer, sizeof buffer, ",%d,%d,%d,%d, %d", f.size, f.bold, f.italic, f.underline, f.charset);
    out += "t \"" + oneLine(f.name) + '"' + buffer;
    out += kCrLf;
  }
  return true;
}

bool readWaypointLine(std::string_view line, const FileCoordinates& file, TBaliza& out, std::string& message) {
  const std::vector<std::string_view> fields = splitWaypointFields(line);
  if (fields.size() < kSevenFieldLine || fields[0] != "W") {
    appendMessage(message, kWptErrorMessage);
    return false;
  }
  TBaliza w;
  w.name = fields[1];
  for (char& c : w.name)
    if (c == '_') c = ' ';
  w.name = std::string(trim(w.name));
  // Only the bare field stands for the empty name: a waypoint called "VOID" is written "VOID__".
  if (fields[1] == kVoidName) w.name.clear();
  std::string ignored;  // unreadable coordinates reject the line without a message of its own
  if (!readPositionFields(fields[2], fields[3], fields[4], file, w.position, ignored)) return false;
  if (fields.size() >= kFullLine) {
    double altitude = kUnknownAltitude;
    if (parseNumberInto(fields[7], altitude)) w.position.alt = static_cast<float>(altitude);
    for (std::size_t i = kFullLine; i < fields.size(); ++i) {
      if (i > kFullLine) w.description += ' ';
      w.description += fields[i];
    }
  }
  out = std::move(w);
  return true;
}

bool readWaypointDisplayLine(std::string_view line, TBaliza& w) {
  if (line.size() < 2 || line[0] != 'w') return false;
  const auto parts = splitFields(line.substr(2), ',');
  if (parts.size() < 9) return false;
  TBaliza d = w;
  d.symbol = parts[0];
  if (!parseNumberInto(trim(parts[1]), d.displayType) || !parseNumberInto(trim(parts[2]), d.displayValue1) ||
      !parseNumberInto(trim(parts[3]), d.displayValue2) || !parseNumberInto(trim(parts[4]), d.displayValue3) ||
      !parseNumberInto(trim(parts[5]), d.displayFlag1) || !parseNumberInto(trim(parts[6]), d.displayFlag2) ||
      !parseNumberInto(trim(parts.back()), d.displayValue4))
    return false;
  // The text may hold commas of its own: it is everything between the flags and the last value.
  const std::size_t from = static_cast<std::size_t>(parts[7].data() - line.data());
  const std::size_t to = static_cast<std::size_t>(parts.back().data() - line.data()) - 1;
  d.displayText = line.substr(from, to - from);
  w = std::move(d);
  return true;
}

bool readWaypointFontLine(std::string_view line, TBaliza& w) {
  if (line.size() < 4 || line[0] != 't' || line[2] != '"') return false;
  const std::size_t close = line.find('"', 3);
  if (close == std::string_view::npos) return false;
  auto f = std::make_unique<TBalizaFont>();
  f->name = line.substr(3, close - 3);
  const auto parts = splitFields(line.substr(close + 1), ',');
  std::int32_t* values[] = {&f->size, &f->bold, &f->italic, &f->underline, &f->charset};
  if (parts.size() < 6) return false;
  for (std::size_t i = 0; i < 5; ++i)
    if (!parseNumberInto(trim(parts[i + 1]), *values[i])) return false;
  w.font = std::move(f);
  return true;
}

bool formatWaypointFile(const TBalizas& file, const FileCoordinates& coordinates, const WaypointDefaults& defaults,
                        std::string& out, std::string& message) {
  std::string datumName;
  if (!datumNameForFile(coordinates.datum, datumName, message)) return false;
  out += "G  " + datumName;
  out += kCrLf;
  out += "U  " + std::to_string(coordinates.mode);
  out += kCrLf;
  for (const TBaliza& w : file.waypoints)
    if (!appendWaypointLines(w, coordinates, defaults, out, message)) return false;
  return true;
}

namespace {
bool parseOziWaypoints(std::string_view text, TBalizas& file, std::string& message) {
  std::size_t lineNumber = 0;
  int datum = kDatumWgs84;
  bool ok = true;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    ++lineNumber;
    if (lineNumber == 1) {
      const std::string_view version = trim(line.substr(kOziHeader.size()));
      if (std::find(kOziVersions.begin(), kOziVersions.end(), version) == kOziVersions.end()) {
        appendMessage(message, "Unknown OziExplorer waypoint format");
        return false;
      }
    } else if (lineNumber == 2) {
      if (!datumFromFileName(line, datum, message)) return false;
    } else if (lineNumber > kOziHeaderLines && !trim(line).empty()) {
      TBaliza w;
      std::string ignored;
      if (!readOziExplorerWaypointLine(line, w, ignored)) {
        ok = false;  // this waypoint is dropped, the others are kept
        continue;
      }
      const float alt = w.position.alt;
      w.position = fromFileDatum(w.position, datum);
      w.position.alt = alt;
      file.waypoints.emplace(std::move(w));
    }
  }
  file.file = {datum, kFileDegrees};
  if (!ok) appendMessage(message, "Error in OziExplorer waypoint format");
  return true;
}
}  // namespace

bool parseWaypointFile(std::string_view text, TBalizas& file, std::string& message,
                       const WaypointDefaults& defaults) {
  if (text.substr(0, kOziHeader.size()) == kOziHeader) return parseOziWaypoints(text, file, message);
  if (looksLikeMagellanText(text)) return parseMagellanWaypointText(text, file, message);
  FileCoordinates coordinates;
  TBaliza* last = nullptr;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty()) continue;
    switch (line[0]) {
      case 'G':
        if (!datumFromFileName(line.substr(1), coordinates.datum, message)) return false;
        break;
      case 'U': {
        int mode = 0;
        if (!parseNumberInto(trim(line.substr(1)), mode) || !isFileCoordinateMode(mode)) {
          appendMessage(message, "Unknown coordinate mode in file: " + std::string(trim(line.substr(1))));
          return false;
        }
        coordinates.mode = mode;
        break;
      }
      case 'W': {
        // A waypoint without a "w" line is one the writer found equal to the user's defaults.
        TBaliza w;
        if (readWaypointLine(line, coordinates, w, message)) {
          w.displayType = defaults.displayType;
          w.displayValue1 = defaults.displayValue1;
          w.displayValue2 = defaults.displayValue2;
          w.displayFlag1 = defaults.displayFlag1;
          last = &file.waypoints.emplace(std::move(w));
        } else {
          last = nullptr;  // its "w" and "t" lines go with it, not onto the waypoint before
        }
        break;
      }
      case 'w':
        if (last) readWaypointDisplayLine(line, *last);
        break;
      case 't':
        if (last) readWaypointFontLine(line, *last);
        break;
      default:
        break;
    }
  }
  file.file = coordinates;
  return true;
}

}  // namespace pixtrail
