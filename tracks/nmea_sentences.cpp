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

NmeaGga decodeGga(const NmeaSentence& s) {
  return {.timeText = s.field(1),
          .time = s.time(1),
          .position = s.position(2),
          .qualityText = s.field(6),
          .quality = s.integer(6),
          .satellites = s.integer(7),
          .hdop = s.number(8),
          .altitudeM = nmeaAltitudeM(s, 9),
          .geoidSeparationM = s.number(11)};
}

NmeaRmc decodeRmc(const NmeaSentence& s) {
  return {.timeText = s.field(1),
          .time = s.time(1),
          .status = s.field(2),
          .position = s.position(3),
          .speedKnots = s.number(7),
          .courseDeg = s.number(8),
          .dateText = s.field(9),
          .date = s.date(9)};
}

NmeaGll decodeGll(const NmeaSentence& s) {
  return {.position = s.position(1), .timeText = s.field(5), .time = s.time(5), .status = s.field(6)};
}

NmeaVtg decodeVtg(const NmeaSentence& s) {
  return {.courseTrueDeg = s.number(1), .speedKnots = s.number(5), .speedKmh = s.number(7)};
}

NmeaZda decodeZda(const NmeaSentence& s) {
  NmeaZda z{.timeText = s.field(1), .time = s.time(1), .date = std::nullopt};
  const auto day = s.integer(2), month = s.integer(3), year = s.integer(4);
  if (day && month && year)
    z.date = DateTimeRecord{static_cast<int>(*day), static_cast<int>(*month), static_cast<int>(*year), 0, 0, 0};
  return z;
}

NmeaGsa decodeGsa(const NmeaSentence& s) { return {.fixType = s.integer(2)}; }

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
