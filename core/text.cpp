#include "core/text.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <charconv>
#include <cstdlib>

namespace pixtrail {

namespace {
bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }
char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }
char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
}  // namespace

std::string_view trim(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string toUpperAscii(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), upper);
  return out;
}

std::string toLowerAscii(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), lower);
  return out;
}

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return upper(x) == upper(y); });
}

bool startsWithIgnoreCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && equalsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

std::vector<std::string_view> splitFields(std::string_view text, char separator) {
  std::vector<std::string_view> fields;
  std::size_t start = 0;
  for (;;) {
    const std::size_t pos = text.find(separator, start);
    if (pos == std::string_view::npos) {
      fields.push_back(text.substr(start));
      return fields;
    }
    fields.push_back(text.substr(start, pos - start));
    start = pos + 1;
  }
}

std::vector<std::string_view> splitOnBlanks(std::string_view text) {
  std::vector<std::string_view> fields;
  std::size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && isBlank(text[i])) ++i;
    const std::size_t start = i;
    while (i < text.size() && !isBlank(text[i])) ++i;
    if (i > start) fields.push_back(text.substr(start, i - start));
  }
  return fields;
}

std::optional<DecimalPrefix> readDecimalPrefix(std::string_view text, NonFinite nonFinite) {
  // from_chars refuses a '+' of its own; one is allowed here, a second one is not.
  const std::size_t sign = !text.empty() && text.front() == '+' ? 1 : 0;
  const char* const begin = text.data() + sign;
  double value = 0.0;
  const auto [end, ec] = std::from_chars(begin, text.data() + text.size(), value);
  if (ec != std::errc() || (nonFinite == NonFinite::kRefuse && !std::isfinite(value))) return std::nullopt;
  return DecimalPrefix{value, static_cast<std::size_t>(end - text.data())};
}

std::optional<double> readDecimal(std::string_view text, NonFinite nonFinite) {
  const auto number = readDecimalPrefix(text, nonFinite);
  if (!number || number->length != text.size()) return std::nullopt;
  return number->value;
}

std::optional<double> parseDouble(std::string_view text) { return readDecimal(trim(text), NonFinite::kAccept); }

std::optional<long long> parseInteger(std::string_view text) {
  text = trim(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  long long value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::string latin1ToUtf8(std::string_view latin1) {
  std::string out;
  out.reserve(latin1.size());
  for (const char ch : latin1) {
    const auto c = static_cast<unsigned char>(ch);
    if (c < 0x80) {
      out += ch;
    } else {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

std::string utf8ToLatin1(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80) {
      out += static_cast<char>(c);
      continue;
    }
    std::size_t length = (c & 0xE0) == 0xC0 ? 2 : (c & 0xF0) == 0xE0 ? 3 : (c & 0xF8) == 0xF0 ? 4 : 0;
    bool wellFormed = length != 0 && i + length <= utf8.size();
    for (std::size_t k = 1; wellFormed && k < length; ++k)
      wellFormed = (static_cast<unsigned char>(utf8[i + k]) & 0xC0) == 0x80;
    if (!wellFormed) {
      out += static_cast<char>(c);
      continue;
    }
    unsigned codePoint = c & (0xFF >> (length + 1));
    for (std::size_t k = 1; k < length; ++k)
      codePoint = (codePoint << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
    out += codePoint <= 0xFF ? static_cast<char>(codePoint) : '?';
    i += length - 1;
  }
  return out;
}

}  // namespace pixtrail
