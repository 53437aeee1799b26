#pragma once
// The units of Garmin records on the wire: angles as semicircles (2^31 of them make 180 degrees),
// times as seconds since 1989-12-31 00:00:00 UTC, and the two kinds of text field.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/DateTimeRecord.hpp"

namespace pixtrail {

inline constexpr double kSemicirclesPerDegree = 11930464.711111112;  // 2^31 / 180
// 180 / 2^31 = 8.381903e-8 written out in full: with the seven-digit value a position sent back to a
// unit would move by up to 43 semicircles (0.4 m) on every round trip.
inline constexpr double kDegreesPerSemicircle = 180.0 / 2147483648.0;
// Unix time of the Garmin epoch, 1989-12-31 00:00:00 UTC.
inline constexpr std::int64_t kGarminEpochUnix = 631065600;
// 0xFFFFFFFF stands for "no time" in the records that carry one.
inline constexpr std::uint32_t kGarminNoTime = 0xFFFFFFFF;

// Rounded to the nearest semicircle (so that degrees read from a unit go back to the same
// number), then wrapped to 32 bits: 180 degrees (2^31) becomes -2147483648, the meridian of -180.
std::int32_t degreesToSemicircles(double degrees);
double semicirclesToDegrees(std::int32_t semicircles);

// Seconds since the Garmin epoch <-> a UTC date-time record. An empty or invalid record gives
// kGarminNoTime; times before the epoch cannot travel and give 0.
std::uint32_t garminTimeFromRecord(const DateTimeRecord& utc);
DateTimeRecord recordFromGarminTime(std::uint32_t seconds);

// A fixed-length field: the text up to its first ".", cut or padded with blanks to `length`.
std::string garminFixedText(std::string_view text, std::size_t length);
// The text of a fixed-length field read back: up to the first zero, trailing blanks removed.
std::string textFromGarminFixed(std::string_view field);

// The variable-length text block of the newer records: text, zero, second text, zero, then the two
// constant bytes that end the block. Raises "Error 1 in Str_a_GarminVarios" when the whole would
// not stay below `room`, "Error 2 in Str_a_GarminVarios" when the two texts plus 6 exceed it.
std::string Str_a_GarminVarios(std::string_view text1, std::string_view text2, std::size_t room);
// One zero-terminated text from `bytes` at `offset`; the offset moves past the zero (or to the end
// when there is none).
std::string readGarminString(std::string_view bytes, std::size_t& offset);

}  // namespace pixtrail
