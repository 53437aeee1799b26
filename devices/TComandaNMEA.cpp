#include "devices/TComandaNMEA.hpp"

#include <cmath>
#include <cstdio>

#include "core/angles.hpp"
#include "tracks/nmea_checksum.hpp"

namespace pixtrail {

namespace {

constexpr std::size_t kTxInitialFields = 20;

}  // namespace

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
  computedChecksum_ = splitBody();
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
