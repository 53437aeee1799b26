#pragma once
// A track point (TPuntVol) with its time as the native file stores it, its course-point data and
// the object that may be linked to it.

#include <cstdint>
#include <memory>
#include <string>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"

namespace pixtrail {

// The time of a track point as the point stores it: a reserved leading word, then the date and
// time fields as 32-bit integers and the seconds as a 32-bit real. All zero means "no time".
struct TPuntTiempo {
  std::uint32_t reserved = 0;
  std::int32_t day = 0;
  std::int32_t month = 0;  // 0 = undefined, 1 to 12
  std::int32_t year = 0;   // four digits
  std::int32_t hour = 0;
  std::int32_t minute = 0;
  float seconds = 0.0f;

  DateTimeRecord toRecord() const;
  static TPuntTiempo fromRecord(const DateTimeRecord& record);
  // False (out untouched) when the time is not a valid calendar time.
  bool toValue(DateTimeValue& out) const { return toRecord().toValue(out); }
  friend bool operator==(const TPuntTiempo&, const TPuntTiempo&) = default;
};

// An object attached to a point and written on a line of its own after it. The line text is kept
// whole (type letter included), so a file read and written again keeps it byte for byte.
struct TObjetoEnlazado {
  std::string line;
};

// Course-point data of a point (the "t" line): an icon, a comment, a 16-bit value, a real value and
// an optional linked object of its own.
struct TCoursePoint {
  std::int32_t icon = 0;
  std::string comment;
  std::int16_t value16 = 0;
  float valueReal = 0.0f;
  std::unique_ptr<TObjetoEnlazado> linked;
};

// One track point. The attribute numbers in the comments are the field numbers of the native point
// line. Values marked "none" use the sentinel of their comment.
class TPuntVol {
 public:
  TPuntVol() = default;
  virtual ~TPuntVol() = default;
  TPuntVol(TPuntVol&&) noexcept = default;
  TPuntVol& operator=(TPuntVol&&) noexcept = default;
  TPuntVol(const TPuntVol&) = delete;
  TPuntVol& operator=(const TPuntVol&) = delete;
  // Deep copy, linked objects included.
  std::unique_ptr<TPuntVol> clone() const;

  TCoord position;                  // working datum; alt is the point's own altitude Z
  TPuntTiempo time;
  std::uint8_t segmentStart = 0;    // 1: this point begins a segment
  float gpsAltitudeM = kUnknownAltitude;         // G; at or below -999: none
  float barometricAltitudeM = kUnknownAltitude;  // S; at or below -999: none
  float verticalSpeedMs = 0.0f;     // 15: vertical speed reported by the receiver, m/s
  std::int16_t heartRate = 0;       // 17: beats per minute; 0 or less: none
  float cadenceRpm = -1.0f;         // 18: cadence, rpm; below -0.5: none (then not written)
  std::unique_ptr<TObjetoEnlazado> linked;
  std::uint8_t stateFlags = 0;      // bit 0 (kValidData): the point holds valid data
  float speedMs = -1.0f;            // 8: speed reported by the receiver, m/s; -1: none, never lower
  float courseDeg = -1.0f;          // 9: course over ground, degrees from north; negative: none
  float temperatureC = 0.0f;        // 10: temperature, degrees Celsius
  std::int32_t satellites = 0;      // 11: satellites used in the fix
  float hdop = 0.0f;                // 12: horizontal dilution of precision
  float pressureHpa = 0.0f;         // 13: air pressure, hPa
  std::int8_t fixType = 0;          // 14: 0 unknown, 2 = 2D, 3 = 3D
  float powerW = 0.0f;              // 16: power, watts
  std::unique_ptr<TCoursePoint> coursePoint;
  float distanceFromStartM = 0.0f;  // derived by Recalculate: distance along the track to here

  static constexpr std::uint8_t kValidData = 0x01;

  // The altitude rule: Z when only it is present, else G or S when only one of them is, else the
  // setting decides. Z counts from -999 on, G and S only above it (kept asymmetric on purpose).
  float altitude(bool preferGpsAltitude) const;
  // After this, altitude() returns altM whatever the setting: Z takes the value and G and S are
  // marked "none" (or given the value too when it is itself "none", so that rule 4 returns it).
  void setAltitude(float altM);
};

}  // namespace pixtrail
