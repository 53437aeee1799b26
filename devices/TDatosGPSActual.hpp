#pragma once
// The current fix of a receiver, as the NMEA protocol object folds sentences into it. The moving
// map, the track recorder and the status panels read it; only the protocol object writes it.

#include <cstdint>
#include <string>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"

namespace pixtrail {

// A value that only some instruments send: meaningful only while `present` is set.
struct NmeaReading {
  double value = 0.0;
  std::uint8_t present = 0;
};

struct TDatosGPSActual {
  TCoord position;                 // in WGS 84, as the receiver sends it
  std::uint8_t fixValid = 0;       // the last position sentence said the fix is usable
  std::int32_t satellites = -1;    // -1 unknown
  std::uint8_t differential = 0;   // GGA quality "2"
  double speedMs = -1.0;           // -1 unknown
  double courseRad = -1.0;         // clockwise from true north; -1 unknown
  double hdop = 0.0;               // 0 unknown
  std::string time;                // hhmmss or hhmmss.ss, as received
  std::string date;                // ddmmyy, where RMC gave one
  std::string gsvText;             // this cycle's GSV sentences, each with its "$"
  std::string gsaText;             // the last GSA sentence with its "$"
  std::int32_t changed = 2;        // 1 after each alteration; 2 never filled

  NmeaReading trueWindAngleDeg;      // VWT, from the bow, negative to port
  NmeaReading trueWindSpeedMs;       // VWT
  NmeaReading relativeWindAngleDeg;  // VWR, from the bow, negative to port
  NmeaReading relativeWindSpeedMs;   // VWR
  double trueHeadingDeg = -1.0;      // HDT; -1 unknown
  NmeaReading waterSpeedMs;          // VHW
  NmeaReading waterTemperatureC;     // MTW
  NmeaReading depthM;                // DBT, below the transducer
  DateTimeValue depthTime = 0.0;     // when that depth was received

  // The extended position sentence GGAM: its three free texts, kept as received.
  std::string ggamText17;
  std::string ggamText18;
  std::string ggamText20;

  // Variometers ("D", "d", "VABD").
  NmeaReading pressureHpa;
  NmeaReading varioMs;               // climb rate, positive up
  NmeaReading pressureAltitudeM;     // from the pressure, or as the instrument sent it
  NmeaReading airspeedKmh;           // VABD only

  double geoidSeparationM = 0.0;     // GGA field 11, kept beside the mean-sea-level altitude
};

}  // namespace pixtrail
