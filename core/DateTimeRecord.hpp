#pragma once
// The date-time record of the system and its conversion to the system's date-time value
// (days since 30 December 1899, time of day as the fraction), which orders and subtracts times.

#include <string>

namespace pixtrail {

// Days since 1899-12-30 00:00; the fraction is the time of day. Dates before the epoch are plain
// negative numbers (floor semantics), not the sign-magnitude form some older systems used.
using DateTimeValue = double;

inline constexpr double kSecondsPerDay = 86400.0;
inline constexpr double kSecondsPerMinute = 60.0;
inline constexpr double kSecondsPerHour = 3600.0;

struct DateTimeRecord {
  int day = 0;
  int month = 0;  // 0 = undefined, 1 to 12
  int year = 0;   // four digits
  int hour = 0;
  int minute = 0;
  double seconds = 0.0;

  // All fields zero (seconds below a millisecond) is the empty record.
  bool isEmpty() const;
  // Day, month and time fields inside their calendar ranges (leap years counted).
  bool isValid() const;

  // Fails (output untouched) on an invalid record.
  bool toValue(DateTimeValue& out) const;
  // Rounds to the millisecond so that 12:00:00 never comes back as 11:59:59.999.
  static DateTimeRecord fromValue(DateTimeValue value);

  friend bool operator==(const DateTimeRecord&, const DateTimeRecord&) = default;
};

// Days from 1899-12-30 to the given civil date (proleptic Gregorian calendar).
long long daysSinceEpoch(int year, int month, int day);
bool isLeapYear(int year);
int daysInMonth(int year, int month);

// "YYYY-MM-DDTHH:MM:SS[.sss]" for output and command lines; fraction only when not whole.
std::string formatIsoDateTime(const DateTimeRecord& record);
// Reads "YYYY-MM-DDTHH:MM:SS[.fff]" (a blank may replace the T); false on anything else.
bool parseIsoDateTime(const std::string& text, DateTimeRecord& out);

}  // namespace pixtrail
