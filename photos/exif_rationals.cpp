#include "photos/exif_rationals.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

#include "core/angles.hpp"
#include "core/byte_order.hpp"

namespace pixtrail {

namespace {

constexpr double kRationalFractionLimit = 0.000001;
constexpr double kRationalDenominator = 1000.0;

std::uint32_t le32(const std::string& data, std::size_t offset) {
  return data.size() >= offset + 4 ? readU32(reinterpret_cast<const unsigned char*>(data.data()) + offset, ByteOrder::little)
                                   : 0;
}

std::int32_t clampToInt32(double x) {
  constexpr double kMax = std::numeric_limits<std::int32_t>::max();
  constexpr double kMin = std::numeric_limits<std::int32_t>::min();
  if (!(x == x)) return 0;
  return static_cast<std::int32_t>(std::clamp(std::trunc(x), kMin, kMax));
}

}  // namespace

// The system's rule: a numerator of 1 or less is the value itself.
double rationalValue(const std::string& data, std::size_t index) {
  const auto numerator = static_cast<std::int32_t>(le32(data, index * 8));
  const std::uint32_t denominator = le32(data, index * 8 + 4);
  if (numerator >= 2) return static_cast<double>(numerator) / static_cast<double>(denominator);
  return numerator;
}

void appendRational(std::string& out, double x, bool decimal) {
  std::int32_t numerator = 0;
  std::uint32_t denominator = 1;
  auto scaled = [decimal](double v) {
    constexpr double kBinarySlack = 1e-6;
    const double nearest = std::round(v);
    return decimal && std::fabs(v - nearest) < kBinarySlack ? nearest : v;
  };
  if (std::fabs(x - std::trunc(x)) >= kRationalFractionLimit) {
    numerator = clampToInt32(scaled(x * kRationalDenominator));
    denominator = static_cast<std::uint32_t>(kRationalDenominator);
  } else {
    numerator = clampToInt32(scaled(x));
  }
  appendI32(out, numerator, ByteOrder::little);
  appendU32(out, denominator, ByteOrder::little);
}

double decimalOf(float x) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, x).ptr;
  return std::strtod(std::string(text, end).c_str(), nullptr);
}

std::string degreesMinutesSeconds(double v, bool decimal) {
  std::string out;
  if (decimal) {
    constexpr double kMilliPerDegree = kSecondsPerDegree * kRationalDenominator;
    constexpr double kBinarySlack = 1e-4;
    const double scaled = v * kMilliPerDegree;
    const double nearest = std::round(scaled);
    const auto total = static_cast<std::int64_t>(std::fabs(scaled - nearest) < kBinarySlack ? nearest : std::floor(scaled));
    const auto milliPerMinute = static_cast<std::int64_t>(kMilliPerDegree / kMinutesPerDegree);
    const std::int64_t degrees = total / static_cast<std::int64_t>(kMilliPerDegree);
    const std::int64_t rest = total % static_cast<std::int64_t>(kMilliPerDegree);
    appendRational(out, static_cast<double>(degrees), false);
    appendRational(out, static_cast<double>(rest / milliPerMinute), false);
    appendRational(out, static_cast<double>(rest % milliPerMinute) / kRationalDenominator, true);
    return out;
  }
  const double degrees = std::trunc(v);
  const double m = (v - degrees) * kMinutesPerDegree;
  const double minutes = std::trunc(m);
  const double seconds = (m - minutes) * kMinutesPerDegree;
  appendRational(out, degrees, decimal);
  appendRational(out, minutes, decimal);
  appendRational(out, seconds, decimal);
  return out;
}

}  // namespace pixtrail
