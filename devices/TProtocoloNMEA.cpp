#include "devices/TProtocoloNMEA.hpp"

#include <algorithm>
#include <chrono>
#include <initializer_list>

#include "coords/units.hpp"
#include "core/angles.hpp"
#include "core/text.hpp"
#include "tracks/nmea_sentences.hpp"

namespace pixtrail {

namespace {

constexpr double kPascalPerHpa = 100.0;
constexpr double kDmsPerMs = 10.0;
constexpr int kMaxSatellites = 999;
// More sentences than this without a position: the receiver sends only satellite data.
constexpr int kLostFixSentences = 10;
// Speeds and courses of GGAM below this mean "unknown".
constexpr double kGgamUnknownBelow = -0.5;
constexpr std::string_view kNoPositionMark = "-9999";
// Days from 1899-12-30 to 1970-01-01.
constexpr double kUnixEpochDays = 25569.0;

// A course in degrees as the fix holds it: radians, -1 when unknown or negative.
double degreesToRad(std::optional<double> deg) { return deg && *deg >= 0.0 ? *deg * kRadPerDeg : -1.0; }

// The first reading present, times its factor to the fix's unit; instruments send one of several.
std::optional<double> firstOf(std::initializer_list<std::pair<std::optional<double>, double>> readings) {
  for (const auto& [value, factor] : readings)
    if (value) return *value * factor;
  return std::nullopt;
}

DateTimeValue systemClock() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return kUnixEpochDays + std::chrono::duration<double>(now).count() / kSecondsPerDay;
}

}  // namespace

double pressureAltitudeM(double pressureHpa) {
  const double t = (pressureHpa - 260.0) / 791.0;
  double alt = 10107.0 + t * (-19661.0 + t * (21997.0 + t * (-28086.0 + t * (26848.0 + t * (-15261.0 + t * 3746.0)))));
  if (!(alt < 9999.0)) alt = 9999.0;  // also catches NaN from a NaN pressure
  if (alt < -300.0) alt = -300.0;
  return alt;
}

// First match wins. GGA, RMC, GLL and GGAM are position sentences: GLL only counts while neither
// GGA nor RMC gave this cycle's position, so the order is part of the behaviour.
const TProtocoloNMEA::Route TProtocoloNMEA::kRoutes[] = {
    {"GGA", &TProtocoloNMEA::takeGga, true, 7},
    {"RMC", &TProtocoloNMEA::takeRmc, true, 3},
    {"GLL", &TProtocoloNMEA::takeGll, true, 5},
    {"GGAM", &TProtocoloNMEA::takeGgam, true, 13},
    {"VTG", &TProtocoloNMEA::takeVtg, false, 7},
    {"VWR", &TProtocoloNMEA::takeVwr, false, 0},
    {"VWT", &TProtocoloNMEA::takeVwt, false, 0},
    {"MTW", &TProtocoloNMEA::takeMtw, false, 0},
    {"VHW", &TProtocoloNMEA::takeVhw, false, 0},
    {"DBT", &TProtocoloNMEA::takeDbt, false, 0},
    {"HDT", &TProtocoloNMEA::takeHdt, false, 0},
    {"WPL", &TProtocoloNMEA::takeWpl, false, 0},
    {"GSV", &TProtocoloNMEA::takeGsv, false, 0},
    {"GSA", &TProtocoloNMEA::takeGsa, false, 0},
    {"D", &TProtocoloNMEA::takeVarioD, false, 0},
    {"d", &TProtocoloNMEA::takeVarioCompact, false, 0},
    {"VABD", &TProtocoloNMEA::takeVabd, false, 0},
};

TProtocoloNMEA::TProtocoloNMEA(NmeaSettings settings)
    : settings_(std::move(settings)),
      preferred_(toUpperAscii(trim(settings_.preferredPositionSentence))),
      clock_(systemClock),
      knotMs_(unitFactor(kUnitKnot)),
      kmhMs_(unitFactor(kUnitKmPerHour)),
      fathomM_(unitFactor(kUnitFathom)) {}

bool TProtocoloNMEA::prefers(std::string_view type) const { return preferred_.empty() || preferred_ == type; }

bool TProtocoloNMEA::processLine(std::string_view line, TDatosGPSActual& fix, int& sinceLastPosition,
                                 std::string& previousType, const NmeaReceiveState& state) {
  ++counters_.lines;
  error_.code = TErrorNMEA::kNone;
  error_.message.clear();
  error_.detail.clear();
  lastParsed_ = sentence_.Parse(line, error_);
  if (!lastParsed_) {
    ++counters_.parseErrors;
    if (log_) log_(line);
    return false;
  }
  const TComandaNMEA_Rx& s = sentence_;
  if (log_) {
    if (s.checksumCorrect()) {
      log_(line);
    } else {
      // The marker goes at the end of the line it belongs to, before the line end it came with.
      std::size_t end = line.size();
      while (end > 0 && (line[end - 1] == '\r' || line[end - 1] == '\n')) --end;
      std::string marked(line.substr(0, end));
      marked += " ChecksumError!";
      marked += line.substr(end);
      log_(marked);
    }
  }
  if (!s.checksumCorrect() && settings_.useChecksum) {
    ++counters_.checksumDropped;
    return false;
  }

  const std::string_view type = s.type();
  Context c{fix, sinceLastPosition, previousType, state};
  for (const Route& route : kRoutes) {
    if (type != route.type) continue;
    const bool changed = s.fieldCount() >= route.minFields && (this->*route.handle)(c);
    if (changed && route.givesPosition) {
      if (heldDepthM_ >= 0.0) {
        fix.depthM.value = heldDepthM_;
        fix.depthTime = heldDepthTime_;
      }
      fix.changed = 1;
      gllShutOut_ = type != "GLL";
      sinceLastPosition = 0;
      previousType.assign(type);
      return true;
    }
    sinceLastPosition += 1;
    previousType.assign(type);
    return changed;
  }
  sinceLastPosition += 1;
  previousType.assign(type);
  return false;
}

bool TProtocoloNMEA::takeGga(Context& c) {
  if (!prefers("GGA")) return false;
  const NmeaGga gga(sentence_);
  const std::optional<TCoord> position = gga.position();
  const std::string_view quality = gga.qualityText();
  TDatosGPSActual& fix = c.fix;
  fix.time.assign(gga.timeText());
  // The quality decides (a receiver that says 1 with "00" satellites still has a fix); a position
  // that does not read is no fix, and the position held stays. RMC and GLL do the same.
  fix.fixValid = position && !quality.empty() && quality != "0";
  fix.differential = quality == "2";
  if (position) {
    fix.position.lat = position->lat;
    fix.position.lon = position->lon;
    fix.position.alt = static_cast<float>(gga.altitudeM().value_or(kUnknownAltitude));
  }
  const long long sats = gga.satellites().value_or(-1);
  fix.satellites = sats >= 0 && sats <= kMaxSatellites ? static_cast<std::int32_t>(sats) : -1;
  fix.hdop = std::max(gga.hdop().value_or(0.0), 0.0);
  fix.geoidSeparationM = gga.geoidSeparationM().value_or(0.0);
  return true;
}

bool TProtocoloNMEA::takeRmc(Context& c) {
  if (!prefers("RMC")) return false;
  const NmeaRmc rmc(sentence_);
  const std::optional<TCoord> position = rmc.position();
  TDatosGPSActual& fix = c.fix;
  fix.time.assign(rmc.timeText());
  fix.fixValid = position && rmc.status() == "A";
  if (position) {
    fix.position.lat = position->lat;
    fix.position.lon = position->lon;
  }
  fix.speedMs = knotsToMs(rmc.speedKnots());
  fix.courseRad = degreesToRad(rmc.courseDeg());
  if (!rmc.dateText().empty()) fix.date.assign(rmc.dateText());
  return true;
}

bool TProtocoloNMEA::takeGll(Context& c) {
  if (!prefers("GLL")) return false;
  // GLL repeats what GGA or RMC said; it takes over only once they have stopped coming, and a
  // GLL never shuts out the next GLL of a receiver that sends nothing else.
  if (gllShutOut_ && c.sinceLastPosition <= kLostFixSentences) return false;
  const NmeaGll gll(sentence_);
  const std::optional<TCoord> position = gll.position();
  TDatosGPSActual& fix = c.fix;
  fix.fixValid = position && gll.status() == "A";
  if (position) {
    fix.position.lat = position->lat;
    fix.position.lon = position->lon;
  }
  if (!gll.timeText().empty()) fix.time.assign(gll.timeText());
  return true;
}

// GGAM, the extended position sentence of the system's own position feed:
//   1 time hhmmss[.ss], 2 date ddmmyy, 3 satellites, 4 HDOP, 5..8 reserved,
//   9..12 latitude, N/S, longitude, E/W ("-9999" in 9: no position), 13, 14 reserved,
//   15 speed (knots), 16 course (degrees), 17, 18 texts, 19 altitude (m), 20 text.
bool TProtocoloNMEA::takeGgam(Context& c) {
  const TComandaNMEA_Rx& s = sentence_;
  TDatosGPSActual& fix = c.fix;
  const std::optional<TCoord> p = s.field(9) != kNoPositionMark ? s.position(9) : std::nullopt;
  fix.fixValid = p.has_value();
  if (p) {
    fix.position.lat = p->lat;
    fix.position.lon = p->lon;
  }
  if (!s.field(1).empty()) fix.time.assign(s.field(1));
  if (!s.field(2).empty()) fix.date.assign(s.field(2));
  if (const auto sats = s.integer(3); sats && *sats >= 0 && *sats <= kMaxSatellites)
    fix.satellites = static_cast<std::int32_t>(*sats);
  if (const auto hdop = s.number(4); hdop && *hdop >= 0.0) fix.hdop = *hdop;
  if (const auto knots = s.number(15)) fix.speedMs = *knots < kGgamUnknownBelow ? -1.0 : *knots * knotMs_;
  if (const auto deg = s.number(16)) fix.courseRad = *deg < kGgamUnknownBelow ? -1.0 : *deg * kRadPerDeg;
  if (s.fieldCount() > 17 && !s.field(17).empty()) fix.ggamText17.assign(s.field(17));
  if (s.fieldCount() > 18 && !s.field(18).empty()) fix.ggamText18.assign(s.field(18));
  if (const auto alt = s.number(19)) fix.position.alt = static_cast<float>(*alt);
  if (s.fieldCount() > 20 && !s.field(20).empty()) fix.ggamText20.assign(s.field(20));
  return true;
}

double TProtocoloNMEA::knotsToMs(std::optional<double> knots) const {
  return knots && *knots >= 0.0 ? *knots * knotMs_ : -1.0;
}

bool TProtocoloNMEA::takeVtg(Context& c) {
  const NmeaVtg vtg(sentence_);
  c.fix.courseRad = degreesToRad(vtg.courseTrueDeg());
  c.fix.speedMs = knotsToMs(vtg.speedKnots());
  return false;
}

// VWR and VWT: 1 angle from the bow (0..180), 2 "L"/"R", 3 knots "N", 5 m/s "M", 7 km/h "K".
bool TProtocoloNMEA::readWind(NmeaReading& angle, NmeaReading& speed) {
  const TComandaNMEA_Rx& s = sentence_;
  const std::string_view side = s.field(2);
  const std::optional<double> deg = s.number(1);
  if (!deg || (side != "L" && side != "R")) return false;
  const std::optional<double> ms = firstOf({{s.number(5), 1.0}, {s.number(3), knotMs_}, {s.number(7), kmhMs_}});
  if (!ms) return false;
  angle.value = side == "L" ? -*deg : *deg;
  speed.value = *ms;
  return true;
}

bool TProtocoloNMEA::takeVwr(Context& c) {
  const bool ok = readWind(c.fix.relativeWindAngleDeg, c.fix.relativeWindSpeedMs);
  c.fix.relativeWindAngleDeg.present = c.fix.relativeWindSpeedMs.present = ok;
  return false;
}

bool TProtocoloNMEA::takeVwt(Context& c) {
  const bool ok = readWind(c.fix.trueWindAngleDeg, c.fix.trueWindSpeedMs);
  c.fix.trueWindAngleDeg.present = c.fix.trueWindSpeedMs.present = ok;
  return false;
}

// MTW: 1 temperature, 2 "C".
bool TProtocoloNMEA::takeMtw(Context& c) {
  const std::optional<double> celsius = sentence_.number(1);
  if (celsius) c.fix.waterTemperatureC.value = *celsius;
  c.fix.waterTemperatureC.present = celsius.has_value();
  return false;
}

// VHW: 1 heading true, 3 heading magnetic, 5 speed knots, 7 speed km/h.
bool TProtocoloNMEA::takeVhw(Context& c) {
  const std::optional<double> ms = firstOf({{sentence_.number(5), knotMs_}, {sentence_.number(7), kmhMs_}});
  if (ms) c.fix.waterSpeedMs.value = *ms;
  c.fix.waterSpeedMs.present = ms.has_value();
  return false;
}

// DBT: 1 feet "f", 3 metres "M", 5 fathoms "F". The depth waits for the next position.
bool TProtocoloNMEA::takeDbt(Context& c) {
  const std::optional<double> metres =
      firstOf({{sentence_.number(3), 1.0}, {sentence_.number(1), kFootM}, {sentence_.number(5), fathomM_}});
  if (metres) {
    heldDepthM_ = *metres;
    heldDepthTime_ = clock_();
  }
  c.fix.depthM.present = metres.has_value();
  return false;
}

// HDT: 1 heading in degrees, 2 "T".
bool TProtocoloNMEA::takeHdt(Context& c) {
  if (const auto deg = sentence_.number(1)) c.fix.trueHeadingDeg = *deg;
  return false;
}

bool TProtocoloNMEA::takeWpl(Context& c) {
  if (c.state.waypointReceiver == nullptr) return false;
  c.state.waypointReceiver->receiveWaypoint(sentence_);
  c.fix.changed = 1;
  return true;
}

bool TProtocoloNMEA::takeGsv(Context& c) {
  TDatosGPSActual& fix = c.fix;
  if (c.previousType != "GSV") fix.gsvText.clear();
  fix.gsvText += '$';
  fix.gsvText += sentence_.body();
  // This sentence is one more since the last position.
  if (c.sinceLastPosition + 1 > kLostFixSentences) {
    fix.fixValid = 0;
    fix.changed = 1;
    return true;
  }
  return false;
}

bool TProtocoloNMEA::takeGsa(Context& c) {
  c.fix.gsaText.assign(1, '$');
  c.fix.gsaText += sentence_.body();
  return false;
}

void TProtocoloNMEA::setPressure(TDatosGPSActual& fix, double pressureHpa) {
  fix.pressureHpa = {pressureHpa, 1};
  fix.pressureAltitudeM = {pressureAltitudeM(pressureHpa), 1};
}

bool TProtocoloNMEA::takeVarioD(Context& c) {
  const std::optional<double> dms = sentence_.number(1), pascal = sentence_.number(2);
  if (!dms || !pascal || *pascal <= 0.0) return false;
  c.fix.varioMs = {*dms / kDmsPerMs, 1};
  setPressure(c.fix, *pascal / kPascalPerHpa);
  c.fix.changed = 1;
  return true;
}

bool TProtocoloNMEA::takeVarioCompact(Context& c) {
  const std::optional<double> hpa = sentence_.number(1), ms = sentence_.number(2);
  if (!hpa || !ms || *hpa <= 0.0) return false;
  c.fix.varioMs = {*ms, 1};
  setPressure(c.fix, *hpa);
  c.fix.changed = 1;
  return true;
}

bool TProtocoloNMEA::takeVabd(Context& c) {
  const TComandaNMEA_Rx& s = sentence_;
  const std::optional<double> alt = s.number(1), vario = s.number(2), kmh = s.number(3);
  const double hpa = s.number(4).value_or(0.0);
  const bool havePressure = hpa > 0.0;
  if (!vario || (!alt && !havePressure)) return false;
  TDatosGPSActual& fix = c.fix;
  if (havePressure) setPressure(fix, hpa);
  if (alt) fix.pressureAltitudeM = {*alt, 1};
  fix.varioMs = {*vario, 1};
  fix.airspeedKmh = {kmh.value_or(0.0), static_cast<std::uint8_t>(kmh.has_value())};
  fix.changed = 1;
  return true;
}

}  // namespace pixtrail
