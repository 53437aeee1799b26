#include "coords/coordinate_text.hpp"

#include <cmath>
#include <cstdio>
#include <vector>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {
namespace {

constexpr double kSecondsPerMinute = 60.0;
constexpr double kGradsPerQuarter = 100.0;
constexpr int kMinuteDecimals = 3;
constexpr int kSecondDecimals = 1;
// Beyond this a value is no angle and would not fit the integer parts; it prints as nothing.
constexpr double kLargestPrintableDeg = 1e6;
constexpr char kNoQuadrantMessage[] = "NO quadrant leter found: (N,S,E,W)";
constexpr char kBadNumberMessage[] = "Invalid number in coordinate text";

std::string printf1(const char* format, auto... values) {
  char buffer[64];
  const int n = std::snprintf(buffer, sizeof buffer, format, values...);
  return std::string(buffer, n < 0 ? 0 : std::min<std::size_t>(n, sizeof buffer - 1));
}

// A minutes or seconds value rounded to `decimals`, with the carry into the next larger part
// when it reaches 60 (so 59.9996 minutes never prints as "60.000").
struct SexagesimalPart {
  int whole = 0;
  int decimals = 0;
  bool carry = false;
};

SexagesimalPart roundPart(double value, int decimals) {
  SexagesimalPart part;
  const double whole = std::floor(value);
  const double fraction = value - whole;
  const double scale = std::pow(10.0, decimals);
  part.whole = static_cast<int>(whole);
  if (fraction * scale + 0.5 >= scale) {
    part.whole += 1;
    if (part.whole == 60) {
      part.whole = 0;
      part.carry = true;
    }
  } else {
    part.decimals = static_cast<int>(fraction * scale + 0.5);
  }
  return part;
}

std::string partText(const SexagesimalPart& part, int decimals) {
  return printf1("%02d.%0*d", part.whole, decimals, part.decimals);
}

std::string degreesText(bool isLatitude, int degrees) {
  return printf1(isLatitude ? "%02d" : "%03d", degrees);
}

bool isQuadrantLetter(char c) { return c == 'W' || c == 'E' || c == 'N' || c == 'S'; }

bool isSexagesimalSeparator(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return c == ' ' || c == '\t' || c == '\'' || c == '"' || byte == 0xB0 || byte == 0xBA;
}

// Degrees + minutes/60 + seconds/3600 from at most three numbers; extra numbers are ignored.
bool readSexagesimal(std::string_view text, double& value) {
  std::vector<double> numbers;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= text.size() && numbers.size() < 3; ++i) {
    if (i < text.size() && !isSexagesimalSeparator(text[i])) continue;
    if (i > start) {
      const auto number = parseDouble(text.substr(start, i - start));
      if (!number || !std::isfinite(*number)) return false;
      numbers.push_back(*number);
    }
    start = i + 1;
  }
  if (numbers.empty()) return false;
  numbers.resize(3, 0.0);
  value = numbers[0] + numbers[1] / kMinutesPerDegree +
          numbers[2] / (kMinutesPerDegree * kSecondsPerMinute);
  return true;
}

}  // namespace

char hemisphereLetter(bool isLatitude, double valueDeg) {
  if (isLatitude) return valueDeg >= 0 ? 'N' : 'S';
  return valueDeg >= 0 ? 'E' : 'W';
}

AngleText angleToText(bool isLatitude, double valueDeg, int format, const CoordinateTextSettings& settings) {
  AngleText text;
  format = effectiveAngleFormat(format, settings.angleFormat);
  const double magnitude = std::fabs(valueDeg);
  if (!(magnitude <= kLargestPrintableDeg)) return text;  // NaN or no angle at all
  switch (format) {
    case kDecimalDegrees:
      text.degrees = printf1("%0.7f", magnitude);
      break;
    case kDegreesMinutes: {
      int degrees = static_cast<int>(magnitude);
      const SexagesimalPart minutes =
          roundPart((magnitude - degrees) * kMinutesPerDegree, kMinuteDecimals);
      if (minutes.carry) ++degrees;
      text.degrees = degreesText(isLatitude, degrees);
      text.minutes = partText(minutes, kMinuteDecimals);
      break;
    }
    case kDegreesMinutesSeconds: {
      int degrees = static_cast<int>(magnitude);
      const double totalMinutes = (magnitude - degrees) * kMinutesPerDegree;
      int minutes = static_cast<int>(totalMinutes);
      const SexagesimalPart seconds =
          roundPart((totalMinutes - minutes) * kSecondsPerMinute, kSecondDecimals);
      if (seconds.carry && ++minutes == 60) {
        minutes = 0;
        ++degrees;
      }
      text.degrees = degreesText(isLatitude, degrees);
      text.minutes = printf1("%02d", minutes);
      text.seconds = partText(seconds, kSecondDecimals);
      break;
    }
    case kParisGrads: {
      const double fromParis = isLatitude ? valueDeg : valueDeg - kParisMeridianDeg;
      text.degrees = printf1("%.7f", std::fabs(fromParis * kGradsPerQuarter * (1.0 / kQuarterTurnDeg)));
      break;
    }
    case kSignedDegrees:
      text.degrees = printf1("%.7f", valueDeg);
      break;
    default:
      break;
  }
  return text;
}

namespace {

std::string angleFullText(bool isLatitude, double valueDeg, int format, const CoordinateTextSettings& settings) {
  format = effectiveAngleFormat(format, settings.angleFormat);
  const AngleText parts = angleToText(isLatitude, valueDeg, format);
  const char letter = hemisphereLetter(isLatitude, valueDeg);
  switch (format) {
    case kDecimalDegrees:
      return parts.degrees + kDegreeMark + ' ' + letter;
    case kDegreesMinutes:
      return parts.degrees + kDegreeMark + parts.minutes + kMinuteMark + ' ' + letter;
    case kDegreesMinutesSeconds:
      return parts.degrees + kDegreeMark + parts.minutes + kMinuteMark + parts.seconds +
             kSecondMark + ' ' + letter;
    case kParisGrads: {
      // The letter follows the printed value, which for a longitude is counted from Paris, unless
      // the user asked for the first rule (see CoordinateTextSettings).
      const double fromParis = isLatitude ? valueDeg : valueDeg - kParisMeridianDeg;
      return parts.degrees + kGradSuffix +
             hemisphereLetter(isLatitude, settings.parisLetterFromLongitude ? valueDeg : fromParis);
    }
    case kSignedDegrees:
      return parts.degrees + kDegreeMark;  // the sign says the hemisphere
    default:
      return {};
  }
}

}  // namespace

std::string latitudeText(double lat, int format, const CoordinateTextSettings& settings) {
  return angleFullText(true, lat, format, settings);
}
std::string longitudeText(double lon, int format, const CoordinateTextSettings& settings) {
  return angleFullText(false, lon, format, settings);
}

bool textToAngle(std::string_view text, double& valueDeg, bool& isLatitude, std::string& message) {
  const std::string upper = toUpperAscii(trim(text));
  bool found = false, latitude = false, negative = false;
  std::string rest;
  for (const char c : upper) {
    if (!isQuadrantLetter(c)) {
      rest += c;
      continue;
    }
    found = true;
    latitude = latitude || c == 'N' || c == 'S';
    negative = negative || c == 'W' || c == 'S';
  }
  if (!found) {
    appendMessage(message, kNoQuadrantMessage);
    return false;
  }
  double value = 0.0;
  if (rest.find('\'') != std::string::npos) {
    if (!readSexagesimal(rest, value)) {
      appendMessage(message, kBadNumberMessage);
      return false;
    }
  } else {
    std::string number;
    for (const char c : rest)
      if (static_cast<unsigned char>(c) != 0xBA) number += c;
    const auto parsed = parseDouble(number);
    if (!parsed || !std::isfinite(*parsed)) {
      appendMessage(message, kBadNumberMessage);
      return false;
    }
    value = *parsed;
  }
  valueDeg = negative ? -value : value;
  isLatitude = latitude;
  return true;
}

bool formattedTextToAngle(std::string_view text, int format, double& valueDeg, bool& isLatitude,
                          std::string& message, const CoordinateTextSettings& settings) {
  format = effectiveAngleFormat(format, settings.angleFormat);
  if (format == kParisGrads) {
    std::string withoutSuffix;
    const std::string upper = toUpperAscii(text);
    for (std::size_t i = 0; i < upper.size(); ++i) {
      if (upper.compare(i, 2, "GR") == 0) ++i;
      else withoutSuffix += upper[i];
    }
    double grads = 0.0;
    bool latitude = false;
    if (!textToAngle(withoutSuffix, grads, latitude, message)) return false;
    const double degrees = grads * kQuarterTurnDeg * (1.0 / kGradsPerQuarter);
    valueDeg = latitude ? degrees : degrees + kParisMeridianDeg;
    isLatitude = latitude;
    return true;
  }
  if (format == kSignedDegrees) {
    std::string number;
    for (const char c : text)
      if (static_cast<unsigned char>(c) != 0xBA) number += c;
    const auto parsed = parseDouble(number);
    if (!parsed || !std::isfinite(*parsed)) {
      appendMessage(message, kBadNumberMessage);
      return false;
    }
    valueDeg = *parsed;
    return true;
  }
  return textToAngle(text, valueDeg, isLatitude, message);
}

std::string utmEastingText(int zone, double easting) {
  return printf1("%02d  %06d", zone, static_cast<int>(std::lround(easting)));
}

std::string utmNorthingText(double northing) {
  return printf1("%07d", static_cast<int>(std::lround(northing)));
}

std::string utmEastingText(int zone, double easting, const TCoord& geographic, const CoordinateTextSettings& settings) {
  return settings.utmAsGeographic ? latitudeText(geographic.lat, -1, settings) : utmEastingText(zone, easting);
}

std::string utmNorthingText(double northing, const TCoord& geographic, const CoordinateTextSettings& settings) {
  return settings.utmAsGeographic ? longitudeText(geographic.lon, -1, settings) : utmNorthingText(northing);
}

std::string compactPositionText(double lat, double lon) {
  if (!(std::fabs(lat) <= kLargestPrintableDeg && std::fabs(lon) <= kLargestPrintableDeg)) return {};
  auto split = [](double value, int& degrees, int& minutes, int& thousandths) {
    const double magnitude = std::fabs(value);
    degrees = static_cast<int>(magnitude);
    const SexagesimalPart part = roundPart((magnitude - degrees) * kMinutesPerDegree, kMinuteDecimals);
    if (part.carry) ++degrees;
    minutes = part.whole;
    thousandths = part.decimals;
  };
  int latDeg = 0, latMin = 0, latThousandths = 0, lonDeg = 0, lonMin = 0, lonThousandths = 0;
  split(lat, latDeg, latMin, latThousandths);
  split(lon, lonDeg, lonMin, lonThousandths);
  return printf1("%02d%02d%03d%c%03d%02d%03d%c", latDeg, latMin, latThousandths,
                 hemisphereLetter(true, lat), lonDeg, lonMin, lonThousandths,
                 hemisphereLetter(false, lon));
}

}  // namespace pixtrail
