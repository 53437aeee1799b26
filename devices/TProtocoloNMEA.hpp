#pragma once
// The receive side of an NMEA link: each line is parsed, checked, dispatched by its sentence type
// and folded into the current fix (TDatosGPSActual). Talkers do not matter: GP, GN, GL, GA, GB, BD
// and GQ sentences are taken alike, and fields appended by newer receivers (NMEA 4.1 system and
// signal IDs) are ignored.
//
// Variometer sentences (like every sentence, dropped without a matching checksum while
// "Use_Checksum_NMEA" is on):
//   $D,<vario dm/s>,<static pressure Pa>[,...]        e.g. $D,+12,95012   (1.2 m/s up, 950.12 hPa)
//   $d,<static pressure hPa>,<vario m/s>[,...]        e.g. $d,950.12,-0.8
//   $PVABD,<pressure altitude m>,<vario m/s>,<airspeed km/h>,<static pressure hPa>
//     (an empty altitude is computed from the pressure)
// The altitude of "D" and "d" comes from the pressure through pressureAltitudeM().

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "devices/TComandaNMEA.hpp"
#include "devices/TDatosGPSActual.hpp"

namespace pixtrail {

// Metres above sea level for a static pressure in hPa: the system's own polynomial fit of the
// standard atmosphere (kept exactly; within 2 m of the ISA formula from 1050 to 300 hPa),
// held between -300 and 9999 m.
double pressureAltitudeM(double pressureHpa);

// Takes the waypoint sentences of a download.
class NmeaWaypointReceiver {
 public:
  virtual ~NmeaWaypointReceiver() = default;
  virtual void receiveWaypoint(const TComandaNMEA_Rx& sentence) = 0;
};

// The waypoint/route receive state of the caller.
struct NmeaReceiveState {
  NmeaWaypointReceiver* waypointReceiver = nullptr;  // set only while a waypoint download runs
};

// The two gps.ini settings that steer the dispatch.
struct NmeaSettings {
  bool useChecksum = true;                 // "Use_Checksum_NMEA": drop sentences whose checksum fails
  std::string preferredPositionSentence;   // "Comanda_NMEA_MovingMap": empty, "GGA", "RMC" or "GLL"
};

struct NmeaCounters {
  std::uint64_t lines = 0;
  std::uint64_t parseErrors = 0;      // no "$" or a bad checksum section
  std::uint64_t checksumDropped = 0;  // dropped because the checksum did not match
};

class TProtocoloNMEA {
 public:
  explicit TProtocoloNMEA(NmeaSettings settings = {});

  // Parses `line`, dispatches it and updates `fix`. `sinceLastPosition` counts the sentences since
  // the last position sentence and `previousType` is the type of the sentence before; both belong
  // to the caller and are updated here. True when the sentence changed the fix (fix.changed = 1).
  bool processLine(std::string_view line, TDatosGPSActual& fix, int& sinceLastPosition,
                   std::string& previousType, const NmeaReceiveState& state = {});

  // What the last line gave: the sentence (valid only when lastParsed()), and the error record.
  const TComandaNMEA_Rx& lastSentence() const { return sentence_; }
  bool lastParsed() const { return lastParsed_; }
  const TErrorNMEA& lastError() const { return error_; }
  const NmeaCounters& counters() const { return counters_; }
  const NmeaSettings& settings() const { return settings_; }

  // Message logging: every line goes to the sink, a failed checksum marked "ChecksumError!".
  void setLog(std::function<void(std::string_view)> log) { log_ = std::move(log); }
  // Time stamp of a received depth (default: the system clock as a date-time value).
  void setClock(std::function<DateTimeValue()> clock) { clock_ = std::move(clock); }

 private:
  struct Context {
    TDatosGPSActual& fix;
    int sinceLastPosition;
    const std::string& previousType;
    const NmeaReceiveState& state;
  };
  using Handler = bool (TProtocoloNMEA::*)(Context&);
  struct Route {
    std::string_view type;
    Handler handle;
    bool givesPosition;  // a true result ends the cycle's position search (depth, GLL, counter)
    std::size_t minFields;  // fewer fields (identifier included): the sentence is ignored
  };
  static const Route kRoutes[];

  bool prefers(std::string_view type) const;
  bool takeGga(Context& c);
  bool takeRmc(Context& c);
  bool takeGll(Context& c);
  bool takeGgam(Context& c);
  bool takeVtg(Context& c);
  bool takeVwr(Context& c);
  bool takeVwt(Context& c);
  bool takeMtw(Context& c);
  bool takeVhw(Context& c);
  bool takeDbt(Context& c);
  bool takeHdt(Context& c);
  bool takeWpl(Context& c);
  bool takeGsv(Context& c);
  bool takeGsa(Context& c);
  bool takeVarioD(Context& c);
  bool takeVarioCompact(Context& c);
  bool takeVabd(Context& c);
  bool readWind(NmeaReading& angle, NmeaReading& speed);
  // Speed over ground in m/s, -1 when unknown or negative.
  double knotsToMs(std::optional<double> knots) const;
  void setPressure(TDatosGPSActual& fix, double pressureHpa);

  NmeaSettings settings_;
  std::string preferred_;  // the setting trimmed and upper-cased once
  TComandaNMEA_Rx sentence_;
  TErrorNMEA error_;
  bool lastParsed_ = false;
  NmeaCounters counters_;
  std::function<void(std::string_view)> log_;
  std::function<DateTimeValue()> clock_;

  // GGA, RMC or GGAM gave the last position: GLL is not taken in their cycle.
  bool gllShutOut_ = false;
  double heldDepthM_ = -1.0;  // negative: none
  // Receivers send knots, km/h and fathoms; the fix holds m/s and metres, converted through the
  // unit table (whose knot is the system's 1853.32 m nautical mile per hour).
  double knotMs_;
  double kmhMs_;
  double fathomM_;
  DateTimeValue heldDepthTime_ = 0.0;
};

}  // namespace pixtrail
