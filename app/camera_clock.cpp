#include "app/camera_clock.hpp"

#include <date/tz.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <vector>

#include "app/time_zone_database.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "photos/TJpegExif.hpp"

namespace pixtrail {

namespace {

struct ScaleRow {
  std::string_view extension;
  TrackTimeScale scale;
};
// What each readable format holds. Receivers log UTC (GPX, NMEA, IGC, APRS, Magellan logs, the
// native files, whose own time-offset field is only for display); a heart-rate monitor's HRM file
// and a MapSource text export carry the wall clock of the watch or the computer that wrote them.
constexpr std::array kScales = {
    ScaleRow{"TRK", TrackTimeScale::Utc},    ScaleRow{"PLE", TrackTimeScale::Utc},
    ScaleRow{"GPX", TrackTimeScale::Utc},    ScaleRow{"NMEA", TrackTimeScale::Utc},
    ScaleRow{"IGC", TrackTimeScale::Utc},    ScaleRow{"IGZ", TrackTimeScale::Utc},
    ScaleRow{"APRS", TrackTimeScale::Utc},   ScaleRow{"LOG", TrackTimeScale::Utc},
    ScaleRow{"PLT", TrackTimeScale::Utc},    ScaleRow{"CSV", TrackTimeScale::Utc},
    ScaleRow{"FPT", TrackTimeScale::Utc},    ScaleRow{"CMP", TrackTimeScale::Utc},
    ScaleRow{"HRM", TrackTimeScale::Local},  ScaleRow{"TXT", TrackTimeScale::Local},
};

// The system's date-time value counts days from 1899-12-30; the Unix epoch is 25569 days later.
constexpr double kUnixEpochDays = 25569.0;
using Millis = std::chrono::milliseconds;

std::chrono::sys_time<Millis> toSys(DateTimeValue v) {
  return std::chrono::sys_time<Millis>(Millis(std::llround((v - kUnixEpochDays) * kSecondsPerDay * 1000.0)));
}
DateTimeValue fromMillis(long long ms) { return kUnixEpochDays + static_cast<double>(ms) / 1000.0 / kSecondsPerDay; }

bool allDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Tag numbers 0x9010 and 0x9011 as the EXIF directory holds them (bytes swapped).
constexpr std::uint16_t kKeyOffsetTime = 0x1090;
constexpr std::uint16_t kKeyOffsetTimeOriginal = 0x1190;

}  // namespace

TrackTimeScale trackTimeScaleOf(std::string_view extension) {
  for (const ScaleRow& row : kScales)
    if (equalsIgnoreCase(extension, row.extension)) return row.scale;
  return TrackTimeScale::Utc;
}

std::string_view trackTimeScaleName(TrackTimeScale scale) { return scale == TrackTimeScale::Utc ? "UTC" : "local"; }

bool TimeZone::set(std::string_view name, std::string& message) {
  if (name.empty()) {
    zone_ = nullptr;
    name_.clear();
    return true;
  }
  // The library reports an unknown zone or a missing database by throwing; nothing else here does.
  try {
    locateTimeZoneDatabase();
    const date::time_zone* zone = equalsIgnoreCase(name, "local") ? date::current_zone()
                                                                  : date::locate_zone(std::string(name));
    zone_ = zone;
    name_ = std::string(zone->name());
    return true;
  } catch (const std::exception&) {
    appendMessage(message, "Unknown time zone: " + std::string(name));
    return false;
  }
}

DateTimeValue TimeZone::toUtc(DateTimeValue local) const {
  if (zone_ == nullptr) return local;
  const date::local_time<Millis> wall(toSys(local).time_since_epoch());
  // Unique: the offset in force. Skipped (spring forward): read with the offset from before the
  // change, so the time lands after it by the gap. Shown twice (fall back): the first moment.
  // The library's first offset is each of these.
  const std::chrono::seconds offset = zone_->get_info(wall).first.offset;
  return fromMillis((wall.time_since_epoch() - offset).count());
}

DateTimeValue TimeZone::toLocal(DateTimeValue utc) const {
  if (zone_ == nullptr) return utc;
  return utc + utcOffsetSecondsAt(utc) / kSecondsPerDay;
}

double TimeZone::utcOffsetSecondsAt(DateTimeValue utc) const {
  if (zone_ == nullptr) return 0.0;
  return static_cast<double>(zone_->get_info(toSys(utc)).offset.count());
}

bool parseUtcOffset(std::string_view text, double& secondsEast) {
  text = trim(text);
  if (text == "Z") {
    secondsEast = 0.0;
    return true;
  }
  if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') return false;
  const std::string_view hh = text.substr(1, 2), mm = text.substr(4, 2);
  if (!allDigits(hh) || !allDigits(mm)) return false;
  const int hours = (hh[0] - '0') * 10 + (hh[1] - '0');
  const int minutes = (mm[0] - '0') * 10 + (mm[1] - '0');
  if (hours > 14 || minutes >= 60) return false;  // real zones run from -12:00 to +14:00
  const double s = hours * kSecondsPerHour + minutes * kSecondsPerMinute;
  secondsEast = text[0] == '-' ? -s : s;
  return true;
}

bool readPhotoUtcOffset(const TJpegExif& exif, double& secondsEast) {
  for (std::uint16_t key : {kKeyOffsetTimeOriginal, kKeyOffsetTime}) {
    const int i = exif.FindTag(kExifIfd, key);
    if (i < 0) continue;
    const TTifTag& tag = exif.tags()[static_cast<std::size_t>(i)];
    if (tag.directory != kExifIfd || tag.type != kTypeAscii) continue;
    const std::string_view text(tag.data.data(), tag.data.find('\0') == std::string::npos ? tag.data.size()
                                                                                          : tag.data.find('\0'));
    if (parseUtcOffset(text, secondsEast)) return true;
  }
  return false;
}

bool parseClockReading(std::string_view text, double& secondsOfDay, bool& utc) {
  text = trim(text);
  bool isUtc = false;
  if (!text.empty() && (text.back() == 'Z' || text.back() == 'z')) {
    isUtc = true;
    text.remove_suffix(1);
  }
  const std::vector<std::string_view> fields = splitFields(text, ':');
  if (fields.size() != 3) return false;
  if (!allDigits(fields[0]) || !allDigits(fields[1]) || fields[0].size() > 2 || fields[1].size() != 2) return false;
  const std::string_view whole = fields[2].substr(0, fields[2].find('.'));
  if (whole.size() != 2 || !allDigits(whole)) return false;
  if (whole.size() < fields[2].size() && !allDigits(fields[2].substr(3))) return false;
  const auto h = parseInteger(fields[0]), m = parseInteger(fields[1]);
  const auto s = parseDouble(fields[2]);
  if (!h || !m || !s || *h > 23 || *m > 59 || *s >= kSecondsPerMinute) return false;
  secondsOfDay = static_cast<double>(*h) * kSecondsPerHour + static_cast<double>(*m) * kSecondsPerMinute + *s;
  utc = isUtc;
  return true;
}

DateTimeValue ClockCorrection::apply(DateTimeValue clock) const { return clock + offsetAt(clock) / kSecondsPerDay; }

double ClockCorrection::offsetAt(DateTimeValue clock) const {
  return offsetS + driftSPerHour * (clock - reference) * kSecondsPerDay / kSecondsPerHour;
}

std::string formatSignedClock(double seconds) {
  const char sign = seconds < 0 ? '-' : '+';
  const long long ms = std::llround(std::fabs(seconds) * 1000.0);
  const long long whole = ms / 1000, fraction = ms % 1000;
  char text[48];
  if (fraction == 0)
    std::snprintf(text, sizeof text, "%c%02lld:%02lld:%02lld", sign, whole / 3600, whole / 60 % 60, whole % 60);
  else
    std::snprintf(text, sizeof text, "%c%02lld:%02lld:%02lld.%03lld", sign, whole / 3600, whole / 60 % 60, whole % 60,
                  fraction);
  return text;
}

}  // namespace pixtrail
