#include "devices/garmin_units.hpp"

#include <cmath>

#include "devices/TErrorPr.hpp"

namespace pixtrail {

namespace {
constexpr double kTwoTo32 = 4294967296.0;
}

std::int32_t degreesToSemicircles(double degrees) {
  if (!std::isfinite(degrees)) return 0;
  // Through a wider integer and a 32-bit wrap: a plain cast of 2^31 would be undefined.
  const double wrapped = std::fmod(std::round(degrees * kSemicirclesPerDegree), kTwoTo32);
  const auto wide = static_cast<std::int64_t>(wrapped);
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(wide));
}

double semicirclesToDegrees(std::int32_t semicircles) { return semicircles * kDegreesPerSemicircle; }

std::uint32_t garminTimeFromRecord(const DateTimeRecord& utc) {
  DateTimeValue value = 0;
  if (utc.isEmpty() || !utc.toValue(value)) return kGarminNoTime;
  const long long epochDays = daysSinceEpoch(1989, 12, 31);
  const double seconds = std::round((value - static_cast<double>(epochDays)) * kSecondsPerDay);
  if (seconds < 0 || seconds >= static_cast<double>(kGarminNoTime)) return 0;
  return static_cast<std::uint32_t>(seconds);
}

DateTimeRecord recordFromGarminTime(std::uint32_t seconds) {
  if (seconds == kGarminNoTime) return {};
  const long long epochDays = daysSinceEpoch(1989, 12, 31);
  return DateTimeRecord::fromValue(static_cast<double>(epochDays) + seconds / kSecondsPerDay);
}

std::string garminFixedText(std::string_view text, std::size_t length) {
  std::string field(text.substr(0, text.find('.')));
  field.resize(length, ' ');
  return field;
}

std::string textFromGarminFixed(std::string_view field) {
  std::string text(field.substr(0, field.find('\0')));
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

std::string Str_a_GarminVarios(std::string_view text1, std::string_view text2, std::size_t room) {
  const std::size_t total = text1.size() + 1 + text2.size() + 1 + 2;
  if (total >= room) throw TErrorPr("Error 1 in Str_a_GarminVarios");
  if (text1.size() + text2.size() + 6 > room) throw TErrorPr("Error 2 in Str_a_GarminVarios");
  std::string block;
  block.reserve(total);
  block.append(text1);
  block += '\0';
  block.append(text2);
  block += '\0';
  block += '\0';  // the two constant bytes: empty facility and city texts
  block += '\0';
  return block;
}

std::string readGarminString(std::string_view bytes, std::size_t& offset) {
  if (offset >= bytes.size()) return {};
  const std::size_t zero = bytes.find('\0', offset);
  const std::size_t end = zero == std::string_view::npos ? bytes.size() : zero;
  std::string text(bytes.substr(offset, end - offset));
  offset = zero == std::string_view::npos ? bytes.size() : zero + 1;
  return text;
}

}  // namespace pixtrail
