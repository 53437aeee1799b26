#pragma once
// Pieces every foreign track format shares: lines whatever their ends, numbers read without
// locale or exceptions, times shifted by an offset, a point made from a position and a time.
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/DateTimeRecord.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

inline constexpr double kFeetToMetres = 0.3048;
inline constexpr double kKnotsToMs = 1852.0 / 3600.0;  // the international nautical mile
inline constexpr double kKmhToMs = 1000.0 / 3600.0;

// Calls `line` for every line of `text`: CR LF, LF or a lone CR end a line; a leading UTF-8 byte
// order mark is skipped; the line handed over carries no line end. Stops early when `line`
// returns false.
void forEachLine(std::string_view text, const std::function<bool(std::string_view)>& line);

// The number at the start of `text` (after blanks); nothing when none is there.
std::optional<double> leadingNumber(std::string_view text);

// Reads a decimal number from the start of [begin, end) (blanks and '+' allowed before it) and
// returns where it stopped, or nullptr when no number is there. Plain decimals up to 15 digits
// take an exact fast path (mantissa and power of ten are both exact doubles, so one division
// rounds correctly); anything else goes to std::from_chars.
const char* parseDecimal(const char* begin, const char* end, double& out);

// The record moved by `seconds` (negative for earlier), rounded to the millisecond.
DateTimeRecord shiftedBySeconds(const DateTimeRecord& record, double seconds);

// A point holding valid data at lat/lon (given in `fileDatum`, held in the working datum), with
// altitude and time when given.
std::unique_ptr<TPuntVol> makePoint(double lat, double lon, float altM, const DateTimeRecord& time,
                                    int fileDatum = kDatumWgs84);

// "YYYY-MM-DDTHH:MM:SS[.fff][Z|+hh:mm|-hh:mm|+hhmm]" as XML formats write it, given as UTC.
// A time without a zone is taken as UTC.
bool parseXmlDateTime(std::string_view text, DateTimeRecord& utc);
// "YYYY-MM-DDTHH:MM:SS[.sss]Z".
std::string formatXmlDateTime(const DateTimeRecord& utc);

}  // namespace pixtrail
