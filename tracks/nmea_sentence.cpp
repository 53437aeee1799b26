#include "tracks/nmea_sentence.hpp"

#include <charconv>
#include <cmath>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

namespace {

constexpr int kTwoDigitYearPivot = 80;  // yy below this is 20yy

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string_view withoutPlus(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  return text;
}

// No receiver means "inf" or "nan".
std::optional<double> readNumber(std::string_view text) { return readDecimal(text, NonFinite::kRefuse); }

// ddmm.mmmm or dddmm.mmmm: only digits and one point, minutes below 60.
bool readDegreesMinutes(std::string_view text, double maxDegrees, double& out) {
  if (text.empty()) return false;
  for (const char c : text)
    if ((c < '0' || c > '9') && c != '.') return false;
  const double packed = readNumber(text).value_or(-1.0);
  if (packed < 0.0) return false;
  const double degrees = std::floor(packed / 100.0);
  const double minutes = packed - degrees * 100.0;
  if (minutes >= kMinutesPerDegree) return false;
  const double value = degrees + minutes / kMinutesPerDegree;
  if (value > maxDegrees) return false;
  out = value;
  return true;
}

std::string_view positionMessage(NmeaDialect dialect) {
  switch (dialect) {
    case NmeaDialect::kMagellan: return nmea_text::kMagPosition;
    case NmeaDialect::kMlr: return nmea_text::kMlrPosition;
    case NmeaDialect::kMlrProprietary: return nmea_text::kMlrPositionPmlr;
    case NmeaDialect::kTalvio: return nmea_text::kTalvioPosition;
  }
  return nmea_text::kMagPosition;
}

bool twoDigits(std::string_view text, std::size_t at, int& out) {
  if (text.size() < at + 2 || text[at] < '0' || text[at] > '9' || text[at + 1] < '0' || text[at + 1] > '9')
    return false;
  out = (text[at] - '0') * 10 + (text[at + 1] - '0');
  return true;
}

// "ss.fff". A receiver's plain digits are read as one integer over a power of ten: both exact in a
// double, so the one rounding of the division gives the same value as from_chars, at a fraction
// of its cost (every position sentence carries a time). Anything else goes through from_chars.
bool readSeconds(std::string_view text, double& out) {
  constexpr std::size_t kMaxExactDigits = 15;
  std::uint64_t digits = 0;
  double scale = 1.0;
  bool plain = text.size() - 1 <= kMaxExactDigits;
  for (std::size_t i = 0; plain && i < text.size(); ++i) {
    if (i == 2) continue;  // the point
    plain = text[i] >= '0' && text[i] <= '9';
    digits = digits * 10 + static_cast<std::uint64_t>(text[i] - '0');
    if (i > 2) scale *= 10.0;
  }
  if (plain) {
    out = static_cast<double>(digits) / scale;
    return true;
  }
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), out);
  return ec == std::errc() && end == text.data() + text.size();
}

}  // namespace

void TErrorNMEA::refuse(std::int32_t errorCode, std::string_view text, std::string_view offending) {
  code = errorCode;
  appendMessage(message, text);
  detail.assign(offending);
}

bool readNmeaTime(std::string_view text, DateTimeRecord& out) {
  int h = 0, m = 0, sec = 0;
  if (!twoDigits(text, 0, h) || !twoDigits(text, 2, m) || !twoDigits(text, 4, sec)) return false;
  double seconds = sec;
  if (text.size() > 6) {
    if (text[6] != '.') return false;
    if (!readSeconds(text.substr(4), seconds)) return false;
  }
  if (h > 23 || m > 59 || seconds >= 61.0) return false;
  out.hour = h;
  out.minute = m;
  out.seconds = seconds;
  return true;
}

bool readNmeaDate(std::string_view text, DateTimeRecord& out) {
  int d = 0, mo = 0, y = 0;
  if (text.size() != 6 || !twoDigits(text, 0, d) || !twoDigits(text, 2, mo) || !twoDigits(text, 4, y)) return false;
  if (mo < 1 || mo > 12 || d < 1 || d > 31) return false;
  out.day = d;
  out.month = mo;
  out.year = y < kTwoDigitYearPivot ? 2000 + y : 1900 + y;
  return true;
}

std::string_view NmeaSentence::talker() const {
  const std::string_view id = identifier();
  if (id.size() < 4) return {};
  return id.substr(0, id.front() == 'P' ? 1 : 2);
}

std::uint8_t NmeaSentence::splitBody() {
  fields_.clear();
  std::uint8_t sum = 0;
  std::uint32_t start = 0;
  const auto size = static_cast<std::uint32_t>(body_.size());
  const char* text = body_.data();
  for (std::uint32_t i = 0; i < size; ++i) {
    sum ^= static_cast<std::uint8_t>(text[i]);
    if (text[i] == ',') {
      fields_.push_back({start, i - start});
      start = i + 1;
    }
  }
  fields_.push_back({start, size - start});
  // Proprietary identifiers carry NMEA's one-letter talker "P" ("PMGNWPL" is "MGNWPL").
  const Span id = fields_.front();
  const std::uint32_t talkerLength = id.length > 0 && body_[id.begin] == 'P' ? 1 : 2;
  type_ = id.length >= 4 ? Span{id.begin + talkerLength, id.length - talkerLength} : id;
  return sum;
}

bool NmeaSentence::Parse(std::string_view line, TErrorNMEA& error) {
  const std::size_t dollar = line.find('$');
  if (dollar == std::string_view::npos) {
    error.refuse(TErrorNMEA::kNoDollar, nmea_text::kNoDollar, line);
    return false;
  }
  std::string_view rest = line.substr(dollar + 1);
  if (const std::size_t cr = rest.find('\r'); cr != std::string_view::npos) rest = rest.substr(0, cr);
  if (const std::size_t lf = rest.find('\n'); lf != std::string_view::npos) rest = rest.substr(0, lf);

  std::string_view body = rest;
  std::string_view check;
  const std::size_t star = rest.find('*');
  if (star != std::string_view::npos) {
    // A "*" with nothing before it leaves no checksum text, which the next test refuses.
    if (star > 0) {
      check = rest.substr(star + 1, 2);
      body = rest.substr(0, star);
    }
    if (check.size() != 2) {
      error.refuse(TErrorNMEA::kChecksumSection, nmea_text::kChecksumSection, line);
      return false;
    }
  }

  // Checked, so the sentence can now be replaced.
  body_.assign(body);
  computedChecksum_ = splitBody();
  checksumLength_ = static_cast<std::uint8_t>(check.size());
  for (std::size_t i = 0; i < check.size(); ++i) checksumText_[i] = check[i];
  checksumCorrect_ = false;
  if (checksumLength_ == 2) {
    const int high = hexDigit(check[0]);
    const int low = hexDigit(check[1]);
    checksumCorrect_ = high >= 0 && low >= 0 && high * 16 + low == computedChecksum_;
  }
  return true;
}

std::optional<double> NmeaSentence::number(std::size_t index) const { return readNumber(field(index)); }

std::optional<long long> NmeaSentence::integer(std::size_t index) const {
  const std::string_view text = withoutPlus(field(index));
  if (text.empty()) return std::nullopt;
  long long value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<TCoord> NmeaSentence::position(std::size_t index) const {
  double lat = 0.0;
  double lon = 0.0;
  const std::string_view ns = field(index + 1);
  const std::string_view ew = field(index + 3);
  if (!readDegreesMinutes(field(index), kMaxLatDeg, lat) || !readDegreesMinutes(field(index + 2), kMaxLonDeg, lon) ||
      (ns != "N" && ns != "S") || (ew != "E" && ew != "W"))
    return std::nullopt;
  TCoord out;
  out.lat = ns == "S" ? -lat : lat;
  out.lon = ew == "W" ? -lon : lon;
  return out;
}

std::optional<TCoord> NmeaSentence::position(std::size_t index, NmeaDialect dialect, TErrorNMEA& error) const {
  std::optional<TCoord> p = position(index);
  if (!p) error.refuse(TErrorNMEA::kPosition, positionMessage(dialect), body());
  return p;
}

std::optional<DateTimeRecord> NmeaSentence::time(std::size_t index) const {
  DateTimeRecord t;
  if (!readNmeaTime(field(index), t)) return std::nullopt;
  return t;
}

std::optional<DateTimeRecord> NmeaSentence::date(std::size_t index) const {
  DateTimeRecord d;
  if (!readNmeaDate(field(index), d)) return std::nullopt;
  return d;
}

}  // namespace pixtrail
