#include "devices/TProtocoloNMEA.hpp"

#include <chrono>

#include "coords/units.hpp"
#include "core/angles.hpp"
#include "core/text.hpp"

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
    {"GGA", &TProtocoloNMEA::takeGga, true},
    {"RMC", &TProtocoloNMEA::takeRmc, true},
    {"GLL", &TProtocoloNMEA::takeGll, true},
    {"GGAM", &TProtocoloNMEA::takeGgam, true},
    {"VTG", &TProtocoloNMEA::takeVtg, false},
    {"VWR", &TProtocoloNMEA::takeVwr, false},
    {"VWT", &TProtocoloNMEA::takeVwt, false},
    {"MTW", &TProtocoloNMEA::takeMtw, false},
    {"VHW", &TProtocoloNMEA::takeVhw, false},
    {"DBT", &TProtocoloNMEA::takeDbt, false},
    {"HDT", &TProtocoloNMEA::takeHdt, false},
    {"WPL", &TProtocoloNMEA::takeWpl, false},
    {"GSV", &TProtocoloNMEA::takeGsv, false},
    {"GSA", &TProtocoloNMEA::takeGsa, false},
    {"D", &TProtocoloNMEA::takeVarioD, false},
    {"d", &TProtocoloNMEA::takeVarioCompact, false},
    {"VABD", &TProtocoloNMEA::takeVabd, false},
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
    const bool changed = (this->*route.handle)(c);
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
  const TComandaNMEA_Rx& s = sentence_;
  if (!prefers("GGA") || s.fieldCount() < 7) return false;
  TDatosGPSActual& fix = c.fix;
  TCoord p = fix.position;
  const bool havePosition = s.position(2, p);
  const std::string_view quality = s.field(6);
  long long sats = -1;
  const bool haveSats = s.integer(7, sats) && sats >= 0 && sats <= kMaxSatellites;
  fix.time.assign(s.field(1));
  // The quality decides (a receiver that says 1 with "00" satellites still has a fix); a position
  // that does not read is no fix, and the position held stays. RMC and GLL do the same.
  fix.fixValid = havePosition && !quality.empty() && quality != "0";
  fix.differential = quality == "2";
  if (havePosition) {
    fix.position.lat = p.lat;
    fix.position.lon = p.lon;
    double alt = 0.0;
    if (s.field(9) != kNoPositionMark && s.number(9, alt)) {
      if (s.field(10) == "F") alt *= kFootM;
      fix.position.alt = static_cast<float>(alt);
    } else {
      fix.position.alt = kUnknownAltitude;
    }
  }
  fix.satellites = haveSats ? static_cast<std::int32_t>(sats) : -1;
  double hdop = 0.0;
  fix.hdop = s.number(8, hdop) && hdop >= 0.0 ? hdop : 0.0;
  double geoid = 0.0;
  fix.geoidSeparationM = s.number(11, geoid) ? geoid : 0.0;
  return true;
}

bool TProtocoloNMEA::takeRmc(Context& c) {
  const TComandaNMEA_Rx& s = sentence_;
  if (!prefers("RMC") || s.fieldCount() < 3) return false;
  TDatosGPSActual& fix = c.fix;
  TCoord p = fix.position;
  const bool havePosition = s.position(3, p);
  fix.time.assign(s.field(1));
  fix.fixValid = havePosition && s.field(2) == "A";
  if (havePosition) {
    fix.position.lat = p.lat;
    fix.position.lon = p.lon;
  }
  double knots = 0.0;
  fix.speedMs = s.number(7, knots) && knots >= 0.0 ? knots * knotMs_ : -1.0;
  double courseDeg = 0.0;
  fix.courseRad = s.number(8, courseDeg) && courseDeg >= 0.0 ? courseDeg * kRadPerDeg : -1.0;
  if (!s.field(9).empty()) fix.date.assign(s.field(9));
  return true;
}

bool TProtocoloNMEA::takeGll(Context& c) {
  const TComandaNMEA_Rx& s = sentence_;
  if (!prefers("GLL") || s.fieldCount() < 5) return false;
  // GLL repeats what GGA or RMC said; it takes over only once they have stopped coming, and a
  // GLL never shuts out the next GLL of a receiver that sends nothing else.
  if (gllShutOut_ && c.sinceLastPosition <= kLostFixSentences) return false;
  TDatosGPSActual& fix = c.fix;
  TCoord p = fix.position;
  const bool havePosition = s.position(1, p);
  fix.fixValid = havePosition && s.field(6) == "A";
  if (havePosition) {
    fix.position.lat = p.lat;
    fix.position.lon = p.lon;
  }
  if (!s.field(5).empty()) fix.time.assign(s.field(5));
  return true;
}

// GGAM, the extended position sentence of the system's own position feed:
//   1 time hhmmss[.ss], 2 date ddmmyy, 3 satellites, 4 HDOP, 5..8 reserved,
//   9..12 latitude, N/S, longitude, E/W ("-9999" in 9: no position), 13, 14 reserved,
//   15 speed (knots), 16 course (degrees), 17, 18 texts, 19 altitude (m), 20 text.
bool TProtocoloNMEA::takeGgam(Context& c) {
  const TComandaNMEA_Rx& s = sentence_;
  if (s.fieldCount() < 13) return false;
  TDatosGPSActual& fix = c.fix;
  TCoord p = fix.position;
  const bool havePosition = s.field(9) != kNoPositionMark && s.position(9, p);
  fix.fixValid = havePosition;
  if (havePosition) {
    fix.position.lat = p.lat;
    fix.position.lon = p.lon;
  }
  if (!s.field(1).empty()) fix.time.assign(s.field(1));
  if (!s.field(2).empty()) fix.date.assign(s.field(2));
  long long sats = 0;
  if (s.integer(3, sats) && sats >= 0 && sats <= kMaxSatellites) fix.satellites = static_cast<std::int32_t>(sats);
  double hdop = 0.0;
  if (s.number(4, hdop) && hdop >= 0.0) fix.hdop = hdop;
  double value = 0.0;
  if (s.number(15, value)) fix.speedMs = value < kGgamUnknownBelow ? -1.0 : value * knotMs_;
  if (s.number(16, value)) fix.courseRad = value < kGgamUnknownBelow ? -1.0 : value * kRadPerDeg;
  if (s.fieldCount() > 17 && !s.field(17).empty()) fix.ggamText17.assign(s.field(17));
  if (s.fieldCount() > 18 && !s.field(18).empty()) fix.ggamText18.assign(s.field(18));
  if (s.number(19, value)) fix.position.alt = static_cast<float>(value);
  if (s.fieldCount() > 20 && !s.field(20).empty()) fix.ggamText20.assign(s.field(20));
  return true;
}

bool TProtocoloNMEA::takeVtg(Context& c) {
  const TComandaNMEA_Rx& s = sentence_;
  if (s.fieldCount() < 7) return false;
  double courseDeg = 0.0;
  c.fix.courseRad = s.number(1, courseDeg) && courseDeg >= 0.0 ? courseDeg * kRadPerDeg : -1.0;
  double knots = 0.0;
  c.fix.speedMs = s.number(5, knots) && knots >= 0.0 ? knots * knotMs_ : -1.0;
  return false;
}

// VWR and VWT: 1 angle from the bow (0..180), 2 "L"/"R", 3 knots "N", 5 m/s "M", 7 km/h "K".
bool TProtocoloNMEA::readWind(NmeaReading& angle, NmeaReading& speed) {
  const TComandaNMEA_Rx& s = sentence_;
  double deg = 0.0;
  const std::string_view side = s.field(2);
  if (!s.number(1, deg) || (side != "L" && side != "R")) return false;
  double value = 0.0;
  double ms = 0.0;
  if (s.number(5, value)) ms = value;
  else if (s.number(3, value)) ms = value * knotMs_;
  else if (s.number(7, value)) ms = value * kmhMs_;
  else return false;
  angle.value = side == "L" ? -deg : deg;
  speed.value = ms;
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
  double celsius = 0.0;
  const bool ok = sentence_.number(1, celsius);
  if (ok) c.fix.waterTemperatureC.value = celsius;
  c.fix.waterTemperatureC.present = ok;
  return false;
}

// VHW: 1 heading true, 3 heading magnetic, 5 speed knots, 7 speed km/h.
bool TProtocoloNMEA::takeVhw(Context& c) {
  double value = 0.0;
  bool ok = true;
  if (sentence_.number(5, value)) c.fix.waterSpeedMs.value = value * knotMs_;
  else if (sentence_.number(7, value)) c.fix.waterSpeedMs.value = value * kmhMs_;
  else ok = false;
  c.fix.waterSpeedMs.present = ok;
  return false;
}

// DBT: 1 feet "f", 3 metres "M", 5 fathoms "F". The depth waits for the next position.
bool TProtocoloNMEA::takeDbt(Context& c) {
  double value = 0.0;
  double metres = 0.0;
  bool ok = true;
  if (sentence_.number(3, value)) metres = value;
  else if (sentence_.number(1, value)) metres = value * kFootM;
  else if (sentence_.number(5, value)) metres = value * fathomM_;
  else ok = false;
  if (ok) {
    heldDepthM_ = metres;
    heldDepthTime_ = clock_();
  }
  c.fix.depthM.present = ok;
  return false;
}

// HDT: 1 heading in degrees, 2 "T".
bool TProtocoloNMEA::takeHdt(Context& c) {
  double deg = 0.0;
  if (sentence_.number(1, deg)) c.fix.trueHeadingDeg = deg;
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
  double dms = 0.0;
  double pascal = 0.0;
  if (!sentence_.number(1, dms) || !sentence_.number(2, pascal) || pascal <= 0.0) return false;
  c.fix.varioMs = {dms / kDmsPerMs, 1};
  setPressure(c.fix, pascal / kPascalPerHpa);
  c.fix.changed = 1;
  return true;
}

bool TProtocoloNMEA::takeVarioCompact(Context& c) {
  double hpa = 0.0;
  double ms = 0.0;
  if (!sentence_.number(1, hpa) || !sentence_.number(2, ms) || hpa <= 0.0) return false;
  c.fix.varioMs = {ms, 1};
  setPressure(c.fix, hpa);
  c.fix.changed = 1;
  return true;
}

bool TProtocoloNMEA::takeVabd(Context& c) {
  const TComandaNMEA_Rx& s = sentence_;
  double alt = 0.0;
  double vario = 0.0;
  double hpa = 0.0;
  const bool haveAlt = s.number(1, alt);
  const bool havePressure = s.number(4, hpa) && hpa > 0.0;
  if (!s.number(2, vario) || (!haveAlt && !havePressure)) return false;
  TDatosGPSActual& fix = c.fix;
  if (havePressure) setPressure(fix, hpa);
  if (haveAlt) fix.pressureAltitudeM = {alt, 1};
  fix.varioMs = {vario, 1};
  double kmh = 0.0;
  fix.airspeedKmh = {s.number(3, kmh) ? kmh : 0.0, static_cast<std::uint8_t>(s.number(3, kmh))};
  fix.changed = 1;
  return true;
}

}  // namespace pixtrail
