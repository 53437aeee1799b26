#include "core/DateTimeRecord.hpp"

#include <cmath>
#include <cstdio>
#include <regex>

namespace pixtrail {

namespace {
constexpr long long kDaysFromCivilEpochTo18991230 = -25569;  // 1899-12-30 relative to 1970-01-01
constexpr double kMillisecondsPerDay = kSecondsPerDay * 1000.0;

// Howard Hinnant's days_from_civil: days since 1970-01-01.
long long daysFromCivil(long long y, unsigned m, unsigned d) {
  y -= m <= 2;
  const long long era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<long long>(doe) - 719468;
}

void civilFromDays(long long z, int& year, int& month, int& day) {
  z += 719468;
  const long long era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const long long y = static_cast<long long>(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  year = static_cast<int>(y + (month <= 2));
}
}  // namespace

bool isLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int daysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

long long daysSinceEpoch(int year, int month, int day) {
  return daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) -
         kDaysFromCivilEpochTo18991230;
}

bool DateTimeRecord::isEmpty() const {
  return day == 0 && month == 0 && year == 0 && hour == 0 && minute == 0 && seconds < 0.001;
}

bool DateTimeRecord::isValid() const {
  return month >= 1 && month <= 12 && day >= 1 && day <= daysInMonth(year, month) && hour >= 0 &&
         hour < 24 && minute >= 0 && minute < 60 && seconds >= 0.0 && seconds < kSecondsPerMinute;
}

bool DateTimeRecord::toValue(DateTimeValue& out) const {
  if (!isValid()) return false;
  const double secondsOfDay = hour * kSecondsPerHour + minute * kSecondsPerMinute + seconds;
  out = static_cast<double>(daysSinceEpoch(year, month, day)) + secondsOfDay / kSecondsPerDay;
  return true;
}

DateTimeRecord DateTimeRecord::fromValue(DateTimeValue value) {
  const long long totalMs = std::llround(value * kMillisecondsPerDay);
  const long long msPerDay = static_cast<long long>(kMillisecondsPerDay);
  long long days = totalMs / msPerDay;
  long long msOfDay = totalMs % msPerDay;
  if (msOfDay < 0) {
    msOfDay += msPerDay;
    --days;
  }
  DateTimeRecord r;
  civilFromDays(days + kDaysFromCivilEpochTo18991230, r.year, r.month, r.day);
  r.hour = static_cast<int>(msOfDay / 3600000);
  r.minute = static_cast<int>(msOfDay / 60000 % 60);
  r.seconds = static_cast<double>(msOfDay % 60000) / 1000.0;
  return r;
}

std::string formatIsoDateTime(const DateTimeRecord& r) {
  char buffer[64];
  const double whole = std::floor(r.seconds);
  if (r.seconds - whole < 0.0005) {
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d", r.year, r.month, r.day,
                  r.hour, r.minute, static_cast<int>(whole));
  } else {
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%06.3f", r.year, r.month, r.day,
                  r.hour, r.minute, r.seconds);
  }
  return buffer;
}

bool parseIsoDateTime(const std::string& text, DateTimeRecord& out) {
  static const std::regex kIso(R"((\d{4})-(\d{2})-(\d{2})[T ](\d{2}):(\d{2}):(\d{2}(?:\.\d+)?)Z?)");
  std::smatch m;
  if (!std::regex_match(text, m, kIso)) return false;
  DateTimeRecord r;
  r.year = std::stoi(m[1]);
  r.month = std::stoi(m[2]);
  r.day = std::stoi(m[3]);
  r.hour = std::stoi(m[4]);
  r.minute = std::stoi(m[5]);
  r.seconds = std::stod(m[6]);
  if (!r.isValid()) return false;
  out = r;
  return true;
}

}  // namespace pixtrail
