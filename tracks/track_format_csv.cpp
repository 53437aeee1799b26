#include "tracks/track_format_csv.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

enum class Column { None, Lat, Lon, Alt, Date, Time, DateTime, Speed, SpeedKmh, Course, Heart, Cadence, Temp, Sats, Hdop, Power };

struct ColumnName {
  std::string_view name;
  Column column;
};
// Names as loggers and unicsv write them (lower case; compared without regard to case).
constexpr std::array kColumnNames = {
    ColumnName{"lat", Column::Lat},          ColumnName{"latitude", Column::Lat},
    ColumnName{"lon", Column::Lon},          ColumnName{"lng", Column::Lon},
    ColumnName{"long", Column::Lon},         ColumnName{"longitude", Column::Lon},
    ColumnName{"alt", Column::Alt},          ColumnName{"altitude", Column::Alt},
    ColumnName{"ele", Column::Alt},          ColumnName{"elevation", Column::Alt},
    ColumnName{"height", Column::Alt},       ColumnName{"date", Column::Date},
    ColumnName{"utc_d", Column::Date},       ColumnName{"time", Column::Time},
    ColumnName{"utc_t", Column::Time},       ColumnName{"datetime", Column::DateTime},
    ColumnName{"timestamp", Column::DateTime}, ColumnName{"iso_time", Column::DateTime},
    ColumnName{"utc", Column::DateTime},     ColumnName{"speed", Column::Speed},
    ColumnName{"spd", Column::Speed},        ColumnName{"speed_kmh", Column::SpeedKmh},
    ColumnName{"course", Column::Course},    ColumnName{"cour", Column::Course},
    ColumnName{"heading", Column::Course},   ColumnName{"heart", Column::Heart},
    ColumnName{"heartrate", Column::Heart},  ColumnName{"hr", Column::Heart},
    ColumnName{"cadence", Column::Cadence},  ColumnName{"cad", Column::Cadence},
    ColumnName{"temp", Column::Temp},        ColumnName{"temperature", Column::Temp},
    ColumnName{"sat", Column::Sats},         ColumnName{"sats", Column::Sats},
    ColumnName{"satellites", Column::Sats},  ColumnName{"hdop", Column::Hdop},
    ColumnName{"power", Column::Power},
};

struct HeaderColumn {
  Column column = Column::None;
  double scale = 1.0;  // to metres for altitudes given in feet
};

HeaderColumn headerColumn(std::string_view header) {
  std::vector<std::string_view> words = splitOnBlanks(trim(header));
  HeaderColumn h;
  if (words.empty()) return h;
  for (const ColumnName& n : kColumnNames)
    if (equalsIgnoreCase(words[0], n.name)) h.column = n.column;
  if (words.size() > 1 && (equalsIgnoreCase(words[1], "ft") || equalsIgnoreCase(words[1], "feet")))
    h.scale = kFeetToMetres;
  return h;
}

char separatorOf(std::string_view header) {
  char best = ',';
  std::ptrdiff_t most = 0;
  for (char c : {',', ';', '\t', '|'}) {
    const std::ptrdiff_t n = std::count(header.begin(), header.end(), c);
    if (n > most) {
      most = n;
      best = c;
    }
  }
  return best;
}

// "2020/01/02", "2020-01-02" or "02.01.2020" into the date fields.
bool readDate(std::string_view text, DateTimeRecord& r) {
  text = trim(text);
  const char sep = text.size() == 10 ? text[4] : 0;
  std::vector<std::string_view> parts;
  if (sep == '/' || sep == '-') parts = splitFields(text, sep);
  else if (text.size() == 10 && text[2] == '.') parts = splitFields(text, '.');
  if (parts.size() != 3) return false;
  const auto a = parseInteger(parts[0]), b = parseInteger(parts[1]), c = parseInteger(parts[2]);
  if (!a || !b || !c) return false;
  const bool dayFirst = text[2] == '.';
  r.year = static_cast<int>(dayFirst ? *c : *a);
  r.month = static_cast<int>(*b);
  r.day = static_cast<int>(dayFirst ? *a : *c);
  return true;
}

// "hh:mm:ss[.fff]" into the time fields.
bool readTime(std::string_view text, DateTimeRecord& r) {
  const std::vector<std::string_view> parts = splitFields(trim(text), ':');
  if (parts.size() != 3) return false;
  const auto h = parseInteger(parts[0]), m = parseInteger(parts[1]);
  const auto s = parseDouble(parts[2]);
  if (!h || !m || !s) return false;
  r.hour = static_cast<int>(*h);
  r.minute = static_cast<int>(*m);
  r.seconds = *s;
  return true;
}

// Loggers and phone apps often write Unix time: seconds, or milliseconds, since 1970. The ranges
// keep smaller numbers (seconds of the day, say) from passing for dates in the 1970s.
constexpr double kUnixEpochDays = 25569.0;  // 1970-01-01 in the system's day count from 1899-12-30
constexpr double kLowestEpochSeconds = 1e8;  // March 1973
constexpr double kLowestEpochMilliseconds = 1e11;
constexpr double kHighestEpochMilliseconds = 1e14;
constexpr double kMillisecondsPerSecond = 1000.0;

bool readEpochTime(std::string_view text, DateTimeRecord& r) {
  const auto v = parseDouble(text);
  if (!v || !(*v >= kLowestEpochSeconds) || !(*v < kHighestEpochMilliseconds)) return false;
  const double seconds = *v >= kLowestEpochMilliseconds ? *v / kMillisecondsPerSecond : *v;
  r = DateTimeRecord::fromValue(kUnixEpochDays + seconds / kSecondsPerDay);
  return r.isValid();
}

}  // namespace

std::vector<std::string> splitCsvLine(std::string_view line, char separator) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted) {
      if (c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
        fields.back() += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        fields.back() += c;
      }
    } else if (c == '"' && trim(fields.back()).empty()) {
      fields.back().clear();
      quoted = true;
    } else if (c == separator) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

bool readCsvTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                      std::string& message) {
  std::vector<HeaderColumn> columns;
  char separator = ',';
  TVolGPS loaded;
  std::size_t skipped = 0, untimed = 0;
  bool haveHeader = false;
  forEachLine(text, [&](std::string_view line) {
    if (trim(line).empty()) return true;
    if (!haveHeader) {
      separator = separatorOf(line);
      for (const std::string& h : splitCsvLine(line, separator)) columns.push_back(headerColumn(h));
      haveHeader = true;
      return true;
    }
    const std::vector<std::string> fields = splitCsvLine(line, separator);
    std::optional<double> lat, lon;
    DateTimeRecord when;
    bool hasDate = false, hasTime = false, timeGiven = false;
    auto p = std::make_unique<TPuntVol>();
    float alt = kUnknownAltitude;
    for (std::size_t i = 0; i < fields.size() && i < columns.size(); ++i) {
      const std::string_view f = trim(fields[i]);
      if (f.empty()) continue;  // unknown, not zero
      const std::optional<double> v = parseDouble(f);
      switch (columns[i].column) {
        case Column::Lat: lat = v; break;
        case Column::Lon: lon = v; break;
        case Column::Alt: if (v) alt = static_cast<float>(*v * columns[i].scale); break;
        case Column::Date: hasDate = readDate(f, when); break;
        case Column::Time:
          timeGiven = true;
          hasTime = readTime(f, when);
          if (!hasTime) hasDate = hasTime = readEpochTime(f, when);
          break;
        case Column::DateTime:
          timeGiven = true;
          hasDate = hasTime = parseXmlDateTime(f, when) || readEpochTime(f, when);
          break;
        case Column::Speed: if (v && *v >= 0) p->speedMs = static_cast<float>(*v); break;
        case Column::SpeedKmh: if (v && *v >= 0) p->speedMs = static_cast<float>(*v * kKmhToMs); break;
        case Column::Course: if (v && *v >= 0) p->courseDeg = static_cast<float>(*v); break;
        case Column::Heart: if (v && *v > 0 && *v < 32768) p->heartRate = static_cast<std::int16_t>(*v); break;
        case Column::Cadence: if (v && *v >= 0) p->cadenceRpm = static_cast<float>(*v); break;
        case Column::Temp: if (v) p->temperatureC = static_cast<float>(*v); break;
        case Column::Sats: if (v && *v >= 0 && *v < 1000) p->satellites = static_cast<int>(*v); break;
        case Column::Hdop: if (v) p->hdop = static_cast<float>(*v); break;
        case Column::Power: if (v) p->powerW = static_cast<float>(*v); break;
        case Column::None: break;
      }
    }
    if (!lat || !lon || !isPlausibleLatLon(*lat, *lon, kMaxEastLonDeg)) {
      ++skipped;
      return true;
    }
    const bool timed = hasDate && hasTime && when.isValid();
    if (timeGiven && !timed) ++untimed;
    auto point = makePoint(*lat, *lon, alt, timed ? when : DateTimeRecord{});
    point->speedMs = p->speedMs;
    point->courseDeg = p->courseDeg;
    point->heartRate = p->heartRate;
    point->cadenceRpm = p->cadenceRpm;
    point->temperatureC = p->temperatureC;
    point->satellites = p->satellites;
    point->hdop = p->hdop;
    point->powerW = p->powerW;
    loaded.appendPoint(std::move(point));
    return true;
  });
  const bool hasPosition =
      std::any_of(columns.begin(), columns.end(), [](const HeaderColumn& h) { return h.column == Column::Lat; }) &&
      std::any_of(columns.begin(), columns.end(), [](const HeaderColumn& h) { return h.column == Column::Lon; });
  if (!hasPosition) {
    appendMessage(message, fileName + ": the header row names no latitude and longitude columns");
    return false;
  }
  if (skipped > 0)
    appendMessage(message, fileName + ": " + std::to_string(skipped) + " rows without a readable position skipped");
  if (untimed > 0)
    appendMessage(message, fileName + ": " + std::to_string(untimed) + " rows without a readable date and time; their points have no time");
  if (loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": no points in this CSV file");
    return false;
  }
  track.points = std::move(loaded.points);
  return true;
}

}  // namespace pixtrail
