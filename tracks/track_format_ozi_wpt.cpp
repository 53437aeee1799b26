#include "tracks/track_format_ozi_wpt.hpp"

#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr char kOziComma = static_cast<char>(209);
constexpr double kOziNoAltitudeFeet = -777.0;
constexpr std::size_t kMinimumFields = 4;  // number, name, latitude, longitude

// Ozi's "map display format" against our display type (1 symbol & name, 2 symbol, 3 symbol &
// description, 4 name alone).
struct DisplayFormat {
  int ozi;
  int ours;
};
constexpr std::array kDisplayFormats = {DisplayFormat{4, 1}, DisplayFormat{5, 2}, DisplayFormat{6, 3},
                                        DisplayFormat{1, 4}};

enum Field { kName = 1, kLat, kLon, kDate, kSymbol, kStatus, kDisplay, kForeground, kBackground,
             kDescription, kPointer, kGarminDisplay, kProximity, kAltitude, kFontSize, kFontStyle,
             kSymbolSize };

std::string fromOzi(std::string_view text) {
  std::string s(trim(text));
  for (char& c : s)
    if (c == kOziComma) c = ',';
  return s;
}

std::string toOzi(std::string_view text) {
  std::string s(text);
  for (char& c : s)
    if (c == ',') c = kOziComma;
    else if (c == '\r' || c == '\n') c = ' ';
  return s;
}

}  // namespace

bool readOziExplorerWaypointLine(std::string_view line, TBaliza& out, std::string& message) {
  const std::vector<std::string_view> f = splitFields(line, ',');
  auto number = [&](Field i) { return static_cast<std::size_t>(i) < f.size() ? parseDouble(f[i]) : std::nullopt; };
  const auto lat = number(kLat), lon = number(kLon);
  if (f.size() < kMinimumFields || !lat || !lon || !isPlausibleLatLon(*lat, *lon, kMaxEastLonDeg)) {
    appendMessage(message, "Error in OziExplorer waypoint format");
    return false;
  }
  TBaliza w;
  w.name = fromOzi(f[kName]);
  w.position = {*lon, *lat, kUnknownAltitude};
  if (const auto feet = number(kAltitude); feet && *feet != kOziNoAltitudeFeet)
    w.position.alt = static_cast<float>(*feet * kFeetToMetres);
  if (static_cast<std::size_t>(kDescription) < f.size()) w.description = fromOzi(f[kDescription]);
  if (static_cast<std::size_t>(kSymbol) < f.size()) w.symbol = std::string(trim(f[kSymbol]));
  if (const auto display = number(kDisplay))
    for (const DisplayFormat& d : kDisplayFormats)
      if (d.ozi == static_cast<int>(*display)) w.displayType = d.ours;
  if (const auto colour = number(kForeground)) w.displayValue2 = static_cast<std::int32_t>(*colour);
  if (const auto proximity = number(kProximity); proximity && *proximity > 0)
    w.displayValue4 = static_cast<float>(*proximity);
  if (const auto size = number(kSymbolSize)) w.displayValue3 = static_cast<std::int32_t>(*size);
  out = std::move(w);
  return true;
}

std::string oziWaypointFileText(const TBalizas& file) {
  std::string out = "OziExplorer Waypoint File Version 1.1\r\nWGS 84\r\nReserved 2\r\nReserved 3\r\n";
  int n = 0;
  for (const TBaliza& w : file.waypoints) {
    const TCoord wgs84 = toFileDatum(w.position, kDatumWgs84);
    int display = 4;
    for (const DisplayFormat& d : kDisplayFormats)
      if (d.ours == w.displayType) display = d.ozi;
    const double feet = hasAltitude(w.position.alt) ? w.position.alt / kFeetToMetres : kOziNoAltitudeFeet;
    char line[256];
    std::snprintf(line, sizeof line, "%d,%s,%.7f,%.7f,,%s,1,%d,%d,65535,", ++n, toOzi(w.name).c_str(),
                  wgs84.lat, wgs84.lon, toOzi(w.symbol.empty() ? "0" : w.symbol).c_str(), display,
                  w.displayValue2);
    out += line + toOzi(w.description);
    std::snprintf(line, sizeof line, ",0,0,%.0f,%.1f,6,0,%d\r\n", w.displayValue4, feet,
                  w.displayValue3 > 0 ? w.displayValue3 : 17);
    out += line;
  }
  return out;
}

}  // namespace pixtrail
