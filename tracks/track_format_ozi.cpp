#include "tracks/track_format_ozi.hpp"

#include <cmath>
#include <cstdio>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr std::string_view kTitle = "OziExplorer Track Point File Version";
constexpr int kHeaderLines = 6;
constexpr int kTrackLine = 4;  // 0-based: "0,width,colour,name,..."

std::optional<double> field(const std::vector<std::string_view>& fields, std::size_t i) {
  if (i >= fields.size() || trim(fields[i]).empty()) return std::nullopt;
  return parseDouble(fields[i]);
}

void readTrackLine(std::string_view line, TVolGPS& track) {
  const std::vector<std::string_view> f = splitFields(line, ',');
  if (auto width = field(f, 1); width && *width > 0 && *width < 100) track.width = static_cast<int>(*width);
  if (auto colour = field(f, 2); colour && *colour >= 0 && *colour <= 0xFFFFFF)
    track.colour = static_cast<std::uint32_t>(*colour);
  if (f.size() > 3) track.headerText('P') = std::string(trim(f[3]));
}

}  // namespace

std::optional<OziTrackPoint> decodeOziTrackPoint(std::string_view line) {
  const std::vector<std::string_view> f = splitFields(line, ',');
  OziTrackPoint p;
  const auto lat = field(f, 0), lon = field(f, 1);
  if (!lat || !lon || !isPlausibleLatLon(*lat, *lon, kMaxEastLonDeg)) return std::nullopt;
  p.lat = *lat;
  p.lon = *lon;
  p.startsSegment = field(f, 2).value_or(0) == 1;
  if (auto alt = field(f, 3); alt && *alt != kOziNoAltitudeFeet) p.altFeet = alt;
  if (auto days = field(f, 4); days && *days > 0) p.days = days;
  return p;
}

bool readOziTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                      std::string& message) {
  TVolGPS loaded;
  int lineNumber = 0;
  int datum = kDatumWgs84;
  bool ok = true;
  std::size_t badLines = 0;
  forEachLine(text, [&](std::string_view line) {
    const int n = lineNumber++;
    if (n == 0 && !trim(line).starts_with(kTitle)) {
      appendMessage(message, fileName + ": not an OziExplorer track file");
      ok = false;
      return false;
    }
    if (n == 1 && !datumFromFileName(trim(line), datum, message)) {
      ok = false;
      return false;
    }
    if (n == kTrackLine) readTrackLine(line, loaded);
    if (n < kHeaderLines || trim(line).empty()) return true;
    const std::optional<OziTrackPoint> p = decodeOziTrackPoint(line);
    if (!p) {
      ++badLines;
      return true;
    }
    DateTimeRecord time;
    if (p->days) time = DateTimeRecord::fromValue(*p->days);
    const float alt = p->altFeet ? static_cast<float>(*p->altFeet * kFeetToMetres) : kUnknownAltitude;
    auto point = makePoint(p->lat, p->lon, alt, time, datum);
    point->segmentStart = p->startsSegment;
    loaded.appendPoint(std::move(point));
    return true;
  });
  if (!ok) return false;
  if (badLines > 0)
    appendMessage(message, fileName + ": " + std::to_string(badLines) + " unreadable point lines skipped");
  if (loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": no points in this OziExplorer track file");
    return false;
  }
  track.points = std::move(loaded.points);
  track.headerText('P') = loaded.headerText('P');
  track.colour = loaded.colour;
  track.width = loaded.width;
  return true;
}

std::string oziTrackText(const TVolGPS& track, const TrackSettings& settings) {
  std::string name = track.headerText('P');
  for (char& c : name)
    if (c == ',' || c == '\r' || c == '\n') c = ' ';
  char line[160];
  std::string out = std::string(kTitle) + " 2.1\r\nWGS 84\r\nAltitude is in Feet\r\nReserved 3\r\n";
  std::snprintf(line, sizeof line, "0,%d,%u,", track.width, track.colour & 0xFFFFFF);
  out += line + name + ",0,0,2,8421376,0\r\n" + std::to_string(track.pointCount()) + "\r\n";
  for (std::size_t i = 0; i < track.pointCount(); ++i) {
    const TPuntVol& p = track.point(i);
    const TCoord wgs84 = toFileDatum(p.position, kDatumWgs84);
    const float alt = p.altitude(settings.preferGpsAltitude);
    const double feet = hasAltitude(alt) ? alt / kFeetToMetres : kOziNoAltitudeFeet;
    DateTimeValue days = 0.0;
    std::string when = ",,";
    if (p.time.toValue(days)) {
      const DateTimeRecord r = p.time.toRecord();
      std::snprintf(line, sizeof line, "%.7f,%02d-%02d-%04d,%02d:%02d:%02d", days, r.day, r.month,
                    r.year, r.hour, r.minute, static_cast<int>(r.seconds));
      when = line;
    }
    std::snprintf(line, sizeof line, "%.7f,%.7f,%d,%.1f,", wgs84.lat, wgs84.lon,
                  i == 0 || p.segmentStart ? 1 : 0, feet);
    out += line + when + "\r\n";
  }
  return out;
}

}  // namespace pixtrail
