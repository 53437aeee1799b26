#include "tracks/track_format_common.hpp"

#include <charconv>
#include <cstdint>
#include <cmath>
#include <cstdio>

#include "core/text.hpp"
#include "tracks/track_datum.hpp"

namespace pixtrail {

void forEachLine(std::string_view text, const std::function<bool(std::string_view)>& line) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = text.find_first_of("\r\n", start);
    if (end == std::string_view::npos) {
      line(text.substr(start));
      return;
    }
    if (!line(text.substr(start, end - start))) return;
    start = end + 1;
    if (text[end] == '\r' && start < text.size() && text[start] == '\n') ++start;
  }
}

std::optional<double> leadingNumber(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  const auto number = readDecimalPrefix(text, NonFinite::kRefuse);
  if (!number) return std::nullopt;
  return number->value;
}

const char* parseDecimal(const char* begin, const char* end, double& out) {
  static constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const char* p = begin;
  while (p < end && (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')) ++p;
  const char* const numberStart = p;
  if (p < end && *p == '+') ++p;
  const bool negative = p < end && *p == '-';
  if (negative) ++p;
  std::uint64_t mantissa = 0;
  int digitCount = 0, fractionDigits = 0;
  for (; p < end && *p >= '0' && *p <= '9'; ++p, ++digitCount) mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
  if (p < end && *p == '.') {
    for (++p; p < end && *p >= '0' && *p <= '9'; ++p, ++digitCount, ++fractionDigits)
      mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
  }
  const bool exponent = p < end && (*p == 'e' || *p == 'E');
  if (digitCount > 0 && digitCount <= 15 && !exponent) {
    const double value = static_cast<double>(mantissa) / kPowersOfTen[fractionDigits];
    out = negative ? -value : value;
    return p;
  }
  const auto number = readDecimalPrefix(std::string_view(numberStart, static_cast<std::size_t>(end - numberStart)),
                                        NonFinite::kRefuse);
  if (!number) return nullptr;
  out = number->value;
  return numberStart + number->length;
}

DateTimeRecord shiftedBySeconds(const DateTimeRecord& record, double seconds) {
  DateTimeValue value = 0.0;
  if (!record.toValue(value)) return record;
  return DateTimeRecord::fromValue(value + seconds / kSecondsPerDay);
}

std::unique_ptr<TPuntVol> makePoint(double lat, double lon, float altM, const DateTimeRecord& time,
                                    int fileDatum) {
  auto p = std::make_unique<TPuntVol>();
  p->position = fromFileDatum({lon, lat, kUnknownAltitude}, fileDatum);
  if (hasAltitude(altM)) p->setAltitude(altM);
  if (!time.isEmpty()) p->time = TPuntTiempo::fromRecord(time);
  p->stateFlags |= TPuntVol::kValidData;
  return p;
}

namespace {

bool digits(std::string_view text, std::size_t at, std::size_t count, int& out) {
  if (at + count > text.size()) return false;
  int value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    const char c = text[i];
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  out = value;
  return true;
}

}  // namespace

bool parseXmlDateTime(std::string_view text, DateTimeRecord& utc) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\n' || text.front() == '\r' ||
                           text.front() == '\t'))
    text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\n' || text.back() == '\r' ||
                           text.back() == '\t'))
    text.remove_suffix(1);
  DateTimeRecord r;
  int wholeSeconds = 0;
  if (text.size() < 19 || text[4] != '-' || text[7] != '-' || (text[10] != 'T' && text[10] != ' ') ||
      text[13] != ':' || text[16] != ':' || !digits(text, 0, 4, r.year) ||
      !digits(text, 5, 2, r.month) || !digits(text, 8, 2, r.day) || !digits(text, 11, 2, r.hour) ||
      !digits(text, 14, 2, r.minute) || !digits(text, 17, 2, wholeSeconds))
    return false;
  std::size_t i = 19;
  double fraction = 0.0;
  if (i < text.size() && (text[i] == '.' || text[i] == ',')) {
    double scale = 0.1;
    ++i;
    const std::size_t first = i;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, scale /= 10)
      fraction += (text[i] - '0') * scale;
    if (i == first) return false;
  }
  r.seconds = wholeSeconds + fraction;
  int offsetMinutes = 0;
  if (i < text.size()) {
    const std::string_view zone = text.substr(i);
    int hh = 0, mm = 0;
    if (zone == "Z" || zone == "z") {
      // UTC
    } else if ((zone[0] == '+' || zone[0] == '-') && digits(zone, 1, 2, hh) &&
               ((zone.size() == 6 && zone[3] == ':' && digits(zone, 4, 2, mm)) ||
                (zone.size() == 5 && digits(zone, 3, 2, mm)) || zone.size() == 3)) {
      offsetMinutes = (zone[0] == '-' ? -1 : 1) * (hh * 60 + mm);
    } else {
      return false;
    }
  }
  if (!r.isValid()) return false;
  utc = offsetMinutes == 0 ? r : shiftedBySeconds(r, -offsetMinutes * kSecondsPerMinute);
  return true;
}

std::string formatXmlDateTime(const DateTimeRecord& utc) {
  // Rounding to the millisecond first keeps 59.9996 s from printing as "60.000".
  DateTimeValue value = 0.0;
  const DateTimeRecord r = utc.toValue(value) ? DateTimeRecord::fromValue(value) : utc;
  char buffer[48];
  const int ms = static_cast<int>(std::lround(r.seconds * 1000.0)) % 1000;
  const int whole = static_cast<int>(std::floor(r.seconds + 0.0005));
  if (ms == 0)
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02dZ", r.year, r.month, r.day,
                  r.hour, r.minute, whole);
  else
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", r.year, r.month,
                  r.day, r.hour, r.minute, whole, ms);
  return buffer;
}

}  // namespace pixtrail
