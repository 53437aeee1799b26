#include "tracks/nmea_sentences.hpp"

#include "coords/units.hpp"

namespace pixtrail {

namespace {
constexpr std::string_view kNoAltitudeMark = "-9999";
}  // namespace

std::optional<double> nmeaAltitudeM(const NmeaSentence& s, std::size_t index) {
  if (s.field(index) == kNoAltitudeMark) return std::nullopt;
  std::optional<double> alt = s.number(index);
  if (alt && s.field(index + 1) == "F") *alt *= kFootM;
  return alt;
}

std::optional<DateTimeRecord> NmeaZda::date() const {
  const auto day = s_.integer(2), month = s_.integer(3), year = s_.integer(4);
  if (!day || !month || !year) return std::nullopt;
  return DateTimeRecord{static_cast<int>(*day), static_cast<int>(*month), static_cast<int>(*year), 0, 0, 0};
}

bool decodePmgntrk(const NmeaSentence& s, NmeaTrackPoint& out, TErrorNMEA& error) {
  NmeaTrackPoint p;
  if (s.fieldCount() < 8 || !readNmeaTime(s.field(7), p.time) ||
      (!s.field(10).empty() && !readNmeaDate(s.field(10), p.time))) {
    error.refuse(TErrorNMEA::kSentence, nmea_text::kMagTrk, s.body());
    return false;
  }
  const std::optional<TCoord> position = s.position(1, NmeaDialect::kMagellan, error);
  if (!position) return false;
  p.position = *position;
  p.position.alt = static_cast<float>(nmeaAltitudeM(s, 5).value_or(kUnknownAltitude));
  p.valid = s.field(8) == "A";
  out = p;
  return true;
}

}  // namespace pixtrail
