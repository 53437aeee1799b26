#include "tracks/track_format_txt.hpp"

#include <cmath>
#include <vector>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr int kHoursPerHalfDay = 12;

// Degrees from one hemisphere letter and the one to three numbers after it.
std::optional<double> angle(char hemisphere, const std::vector<double>& numbers) {
  if (numbers.empty() || numbers.size() > 3) return std::nullopt;
  double value = numbers[0];
  if (numbers.size() > 1) value += numbers[1] / kMinutesPerDegree;
  if (numbers.size() > 2) value += numbers[2] / kSecondsPerDegree;
  for (std::size_t i = 1; i < numbers.size(); ++i)
    if (numbers[i] < 0 || numbers[i] >= kMinutesPerDegree) return std::nullopt;
  return (hemisphere == 'S' || hemisphere == 'W') ? -value : value;
}

}  // namespace

std::optional<TCoord> parseMapSourcePosition(std::string_view text) {
  // Split into [letter, numbers...] groups; degree, minute and second signs are separators.
  std::vector<std::pair<char, std::vector<double>>> groups;
  std::string number;
  auto flush = [&]() -> bool {
    if (number.empty()) return true;
    const auto v = parseDouble(number);
    number.clear();
    if (!v || groups.empty()) return false;
    groups.back().second.push_back(*v);
    return true;
  };
  for (char c : text) {
    if (c == 'N' || c == 'S' || c == 'E' || c == 'W') {
      if (!flush()) return std::nullopt;
      groups.push_back({c, {}});
    } else if ((c >= '0' && c <= '9') || c == '.' || c == '-') {
      number += c;
    } else if (!flush()) {
      return std::nullopt;
    }
  }
  if (!flush() || groups.size() != 2) return std::nullopt;
  const auto& [latLetter, latNumbers] = groups[0];
  const auto& [lonLetter, lonNumbers] = groups[1];
  if ((latLetter != 'N' && latLetter != 'S') || (lonLetter != 'E' && lonLetter != 'W'))
    return std::nullopt;
  const auto lat = angle(latLetter, latNumbers), lon = angle(lonLetter, lonNumbers);
  if (!lat || !lon || !isPlausibleLatLon(*lat, *lon)) return std::nullopt;
  return TCoord{*lon, *lat, kUnknownAltitude};
}

std::optional<DateTimeRecord> parseMapSourceTime(std::string_view text) {
  const std::vector<std::string_view> words = splitOnBlanks(text);
  if (words.size() < 2) return std::nullopt;
  const std::vector<std::string_view> d = splitFields(words[0], '/');
  const std::vector<std::string_view> t = splitFields(words[1], ':');
  if (d.size() != 3 || t.size() != 3) return std::nullopt;
  const auto a = parseInteger(d[0]), b = parseInteger(d[1]), y = parseInteger(d[2]);
  const auto hh = parseInteger(t[0]), mm = parseInteger(t[1]);
  const auto ss = parseDouble(t[2]);
  if (!a || !b || !y || !hh || !mm || !ss) return std::nullopt;
  DateTimeRecord r;
  r.year = static_cast<int>(*y);
  r.hour = static_cast<int>(*hh);
  r.minute = static_cast<int>(*mm);
  r.seconds = *ss;
  const bool twelveHour = words.size() > 2 && (words[2] == "AM" || words[2] == "PM");
  // A 12-hour clock marks the US form, month first.
  r.day = static_cast<int>(twelveHour ? *b : *a);
  r.month = static_cast<int>(twelveHour ? *a : *b);
  if (twelveHour) {
    if (r.hour < 1 || r.hour > kHoursPerHalfDay) return std::nullopt;
    r.hour %= kHoursPerHalfDay;
    if (words[2] == "PM") r.hour += kHoursPerHalfDay;
  }
  if (!r.isValid()) return std::nullopt;
  return r;
}

bool readMapSourceTextTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                                std::string& message) {
  TVolGPS loaded;
  int datum = kDatumWgs84;
  bool ok = true, newSegment = true, sawGrid = false;
  std::size_t skipped = 0;
  forEachLine(text, [&](std::string_view line) {
    const std::vector<std::string_view> f = splitFields(line, '\t');
    const std::string_view kind = trim(f[0]);
    if (kind == "Grid") {
      sawGrid = true;
      if (f.size() > 1 && startsWithIgnoreCase(trim(f[1]), "UTM")) {
        appendMessage(message, fileName + ": positions on the UTM grid are not read; export with Lat/Lon");
        ok = false;
        return false;
      }
    } else if (kind == "Datum" && f.size() > 1) {
      if (!datumFromFileName(trim(f[1]), datum, message)) {
        ok = false;
        return false;
      }
    } else if (kind == "Track") {
      newSegment = true;
    } else if (kind == "Trackpoint") {
      const std::optional<TCoord> pos = f.size() > 1 ? parseMapSourcePosition(f[1]) : std::nullopt;
      if (!pos) {
        ++skipped;
        return true;
      }
      const std::optional<DateTimeRecord> when = f.size() > 2 ? parseMapSourceTime(f[2]) : std::nullopt;
      float alt = kUnknownAltitude;
      if (f.size() > 3) {
        const std::vector<std::string_view> a = splitOnBlanks(f[3]);
        if (!a.empty())
          if (const auto v = parseDouble(a[0]))
            alt = static_cast<float>(a.size() > 1 && a[1] == "ft" ? *v * kFeetToMetres : *v);
      }
      auto p = makePoint(pos->lat, pos->lon, alt, when.value_or(DateTimeRecord{}), datum);
      if (f.size() > 5)
        if (const auto temp = leadingNumber(f[5])) p->temperatureC = static_cast<float>(*temp);
      p->segmentStart = newSegment;
      newSegment = false;
      loaded.appendPoint(std::move(p));
    }
    return true;
  });
  if (!ok) return false;
  if (!sawGrid) {
    appendMessage(message, fileName + ": not a MapSource text file (no Grid line)");
    return false;
  }
  if (skipped > 0)
    appendMessage(message, fileName + ": " + std::to_string(skipped) + " track points without a readable position skipped");
  if (loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": no track points in this MapSource text file");
    return false;
  }
  track.points = std::move(loaded.points);
  return true;
}

}  // namespace pixtrail
