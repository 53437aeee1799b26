#include "devices/TComandaNMEA.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "devices/nmea_checksum.hpp"

namespace pixtrail {

namespace {

constexpr std::size_t kTxInitialFields = 20;

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

void refuse(TErrorNMEA& error, std::int32_t code, std::string_view text, std::string_view line) {
  error.code = code;
  appendMessage(error.message, text);
  error.detail.assign(line);
}

// A whole-field decimal number; no receiver means "inf" or "nan".
bool readNumber(std::string_view text, double& out) {
  const auto value = readDecimal(text, NonFinite::kRefuse);
  if (!value) return false;
  out = *value;
  return true;
}

// ddmm.mmmm or dddmm.mmmm: only digits and one point, minutes below 60.
bool readDegreesMinutes(std::string_view text, double maxDegrees, double& out) {
  if (text.empty()) return false;
  for (const char c : text)
    if ((c < '0' || c > '9') && c != '.') return false;
  double packed = 0.0;
  if (!readNumber(text, packed)) return false;
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

}  // namespace

std::string_view TComandaNMEA::talker() const {
  const std::string_view id = identifier();
  if (id.size() < 4) return {};
  return id.substr(0, id.front() == 'P' ? 1 : 2);
}

void TComandaNMEA::splitBody() {
  fields_.clear();
  const auto size = static_cast<std::uint32_t>(body_.size());
  std::uint32_t start = 0;
  for (std::uint32_t i = 0; i < size; ++i) {
    if (body_[i] == ',') {
      fields_.push_back({start, i - start});
      start = i + 1;
    }
  }
  fields_.push_back({start, size - start});
  setType();
}

void TComandaNMEA::setType() {
  // Proprietary identifiers carry NMEA's one-letter talker "P" ("PMGNWPL" is "MGNWPL").
  const Span id = fields_.front();
  const std::uint32_t talkerLength = body_[id.begin] == 'P' ? 1 : 2;
  type_ = id.length >= 4 ? Span{id.begin + talkerLength, id.length - talkerLength} : id;
}

bool TComandaNMEA_Rx::Parse(std::string_view line, TErrorNMEA& error) {
  const std::size_t dollar = line.find('$');
  if (dollar == std::string_view::npos) {
    refuse(error, TErrorNMEA::kNoDollar, nmea_text::kNoDollar, line);
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
      refuse(error, TErrorNMEA::kChecksumSection, nmea_text::kChecksumSection, line);
      return false;
    }
  }

  // Checked, so the sentence can now be replaced. One pass finds the fields and the checksum.
  body_.assign(body);
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
  setType();
  checksumLength_ = static_cast<std::uint8_t>(check.size());
  for (std::size_t i = 0; i < check.size(); ++i) checksumText_[i] = check[i];
  computedChecksum_ = sum;
  checksumCorrect_ = false;
  if (checksumLength_ == 2) {
    const int high = hexDigit(check[0]);
    const int low = hexDigit(check[1]);
    checksumCorrect_ = high >= 0 && low >= 0 && high * 16 + low == computedChecksum_;
  }
  return true;
}

bool TComandaNMEA_Rx::number(std::size_t index, double& out) const { return readNumber(field(index), out); }

bool TComandaNMEA_Rx::integer(std::size_t index, long long& out) const {
  std::string_view text = field(index);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return false;
  long long value = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return false;
  out = value;
  return true;
}

bool TComandaNMEA_Rx::position(std::size_t index, TCoord& out) const {
  double lat = 0.0;
  double lon = 0.0;
  if (!readDegreesMinutes(field(index), kMaxLatDeg, lat)) return false;
  if (!readDegreesMinutes(field(index + 2), kMaxLonDeg, lon)) return false;
  const std::string_view ns = field(index + 1);
  const std::string_view ew = field(index + 3);
  if (ns != "N" && ns != "S") return false;
  if (ew != "E" && ew != "W") return false;
  out.lat = ns == "S" ? -lat : lat;
  out.lon = ew == "W" ? -lon : lon;
  return true;
}

bool TComandaNMEA_Rx::position(std::size_t index, NmeaDialect dialect, TCoord& out, TErrorNMEA& error) const {
  if (position(index, out)) return true;
  refuse(error, TErrorNMEA::kPosition, positionMessage(dialect), body());
  return false;
}

// ---- sending ----

TComandaNMEA_Tx::TComandaNMEA_Tx() : texts_(kTxInitialFields) {}

void TComandaNMEA_Tx::setField(std::size_t index, std::string_view text) {
  if (index >= texts_.size()) texts_.resize(index + 1);
  texts_[index].assign(text);
  if (index + 1 > used_) used_ = index + 1;
}

void TComandaNMEA_Tx::clearFields() {
  for (auto& t : texts_) t.clear();
  used_ = 0;
  firstField_ = 0;
}

std::string TComandaNMEA_Tx::Build() {
  body_.clear();
  for (std::size_t i = firstField_; i < used_; ++i) {
    if (i > firstField_) body_ += ',';
    body_ += texts_[i];
  }
  splitBody();
  computedChecksum_ = nmeaChecksum(std::string_view(body_));
  const auto hex = nmeaChecksumText(static_cast<std::uint8_t>(computedChecksum_));
  checksumText_[0] = hex[0];
  checksumText_[1] = hex[1];
  checksumLength_ = 2;
  checksumCorrect_ = true;
  std::string sentence;
  sentence.reserve(body_.size() + 6);
  sentence += '$';
  sentence += body_;
  sentence += '*';
  sentence.append(hex.data(), hex.size());
  sentence += "\r\n";
  return sentence;
}

std::string TComandaNMEA_Tx::timeText(const DateTimeRecord& time, bool hundredths) {
  char text[16];
  std::snprintf(text, sizeof text, hundredths ? "%02d%02d%02d.00" : "%02d%02d%02d", time.hour % 100,
                time.minute % 100, static_cast<int>(time.seconds) % 100);
  return text;
}

namespace {
// Rounded once in ten-thousandths of a minute, so 59.99999' carries into the degrees.
std::string degreesMinutesText(double value, int degreeDigits) {
  const long long units = std::llround(std::fabs(value) * kMinutesPerDegree * 10000.0);
  const long long unitsPerDegree = 600000;
  char text[32];
  std::snprintf(text, sizeof text, "%0*lld%02lld.%04lld", degreeDigits, units / unitsPerDegree,
                (units % unitsPerDegree) / 10000, units % 10000);
  return text;
}
}  // namespace

std::string TComandaNMEA_Tx::latitudeText(double lat) { return degreesMinutesText(lat, 2); }
std::string TComandaNMEA_Tx::longitudeText(double lon) { return degreesMinutesText(lon, 3); }

std::string TComandaNMEA_Tx::BuildGGA(const DateTimeRecord& time, const TCoord& position, bool hundredths) {
  clearFields();
  std::string id(talkerText());
  id += "GGA";
  char alt[32] = "";
  if (hasAltitude(position.alt)) std::snprintf(alt, sizeof alt, "%.1f", static_cast<double>(position.alt));
  const std::string fields[] = {id,
                                timeText(time, hundredths),
                                latitudeText(position.lat),
                                std::string(1, latitudeHemisphere(position.lat)),
                                longitudeText(position.lon),
                                std::string(1, longitudeHemisphere(position.lon)),
                                "1",
                                "5",
                                "0",
                                alt,
                                "M",
                                "0",
                                "M",
                                "",
                                ""};
  for (std::size_t i = 0; i < std::size(fields); ++i) setField(i, fields[i]);
  return Build();
}

std::string TComandaNMEA_Tx::BuildRMC(const DateTimeRecord& time, const TCoord& position) {
  clearFields();
  std::string id(talkerText());
  id += "RMC";
  char date[16] = "";
  if (time.month != 0)
    std::snprintf(date, sizeof date, "%02d%02d%02d", time.day % 100, time.month % 100, time.year % 100);
  const std::string fields[] = {id,
                                timeText(time, false),
                                "A",
                                latitudeText(position.lat),
                                std::string(1, latitudeHemisphere(position.lat)),
                                longitudeText(position.lon),
                                std::string(1, longitudeHemisphere(position.lon)),
                                "",
                                "",
                                date,
                                "",
                                ""};
  for (std::size_t i = 0; i < std::size(fields); ++i) setField(i, fields[i]);
  return Build();
}

}  // namespace pixtrail
