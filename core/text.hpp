#pragma once
// Small text helpers shared by the parsers: blanks, case-insensitive comparison, splitting, number
// reading that reports failure instead of throwing, and the 8-bit (Latin-1) / UTF-8 edge.

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace pixtrail {

std::string_view trim(std::string_view text);
std::string toUpperAscii(std::string_view text);
std::string toLowerAscii(std::string_view text);
bool equalsIgnoreCase(std::string_view a, std::string_view b);
bool startsWithIgnoreCase(std::string_view text, std::string_view prefix);

// Splits at every `separator`; empty fields are kept ("a,,b" gives three fields).
std::vector<std::string_view> splitFields(std::string_view text, char separator);
// Splits at runs of blanks and tabs; no empty fields.
std::vector<std::string_view> splitOnBlanks(std::string_view text);

// What a number reader does with "inf", "infinity" and "nan" (any case, either sign), which
// std::from_chars takes as numbers. Every reader says which it wants.
enum class NonFinite { kAccept, kRefuse };

// The one decimal reader, over std::from_chars: an optional '+' or '-', digits, point, exponent.
// Blanks are the caller's business. readDecimal wants the whole text to be the number;
// readDecimalPrefix stops where the number does and says how many characters it took.
struct DecimalPrefix {
  double value = 0.0;
  std::size_t length = 0;
};
std::optional<DecimalPrefix> readDecimalPrefix(std::string_view text, NonFinite nonFinite);
std::optional<double> readDecimal(std::string_view text, NonFinite nonFinite);

// Whole-field numbers: leading/trailing blanks allowed, anything else left over fails. The general
// field reader accepts infinities and NaN: the range checks after it (isPlausibleLatLon, a
// parameter's bounds) refuse them, and some fields keep what they are given.
std::optional<double> parseDouble(std::string_view text);
std::optional<long long> parseInteger(std::string_view text);
// Either of the above into a field of any arithmetic type; an integer out of the type's range
// fails. `out` is untouched on failure.
template <typename T>
bool parseNumberInto(std::string_view text, T& out) {
  if constexpr (std::is_floating_point_v<T>) {
    const auto v = parseDouble(text);
    if (!v) return false;
    out = static_cast<T>(*v);
  } else {
    const auto v = parseInteger(text);
    if (!v || *v < std::numeric_limits<T>::min() || *v > std::numeric_limits<T>::max()) return false;
    out = static_cast<T>(*v);
  }
  return true;
}

// The system keeps 8-bit text (Latin-1); terminals and JSON want UTF-8.
std::string latin1ToUtf8(std::string_view latin1);
// Characters outside Latin-1 become '?'; malformed UTF-8 bytes are taken as Latin-1.
std::string utf8ToLatin1(std::string_view utf8);

}  // namespace pixtrail
