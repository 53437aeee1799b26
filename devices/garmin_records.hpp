#pragma once
// The record layouts that travel in Garmin packets, decoded into plain values and encoded back.
// Waypoints D100-D110 and D150-D155, route headers D200-D202 and links D210, track points
// D300-D304 and headers D310-D312, date/time D600, position D700 and PVT D800. Decoders raise
// TErrorPr naming the record type; they never read past the packet's data.
//
// Symbols are Garmin symbol numbers throughout; the older types that carry the small symbol set
// (D103, D107) are translated through the symbol table's second numbers here.

#include <cstdint>
#include <string>
#include <string_view>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"
#include "devices/garmin_units.hpp"

namespace pixtrail {

// Float altitudes and depths of this value (1.0e25) mean "none" on the wire.
inline constexpr float kGarminNoFloat = 1.0e25f;

struct GarminWaypoint {
  std::string ident;
  std::string comment;
  double lat = 0.0, lon = 0.0;
  float altM = kUnknownAltitude;
  float depthM = kUnknownAltitude;
  float proximityM = 0.0f;
  std::int32_t symbol = 18;
  std::uint8_t display = 0;
  std::uint8_t colour = 0xFF;  // D108 and later: 0xFF is the unit's default colour
  std::uint32_t time = kGarminNoTime;
};

struct GarminRouteHeader {
  std::uint8_t number = 0;
  std::string ident;  // D201's comment, D202's ident
};

struct GarminRouteLink {
  std::uint16_t linkClass = 0;
  std::string ident;
};

struct GarminTrackPoint {
  double lat = 0.0, lon = 0.0;
  std::uint32_t time = kGarminNoTime;
  float altM = kUnknownAltitude;
  float depthM = kUnknownAltitude;
  float temperatureC = 0.0f;
  float distanceM = 0.0f;
  std::uint8_t heartRate = 0;
  std::uint8_t cadence = 0xFF;
  bool newTrack = false;
  bool validPosition = true;  // false for the "no position" points some units send (lat 0x7FFFFFFF)
};

struct GarminTrackHeader {
  std::string ident;
  bool display = true;
  std::uint8_t colour = 0xFF;
  std::uint16_t index = 0;  // D311
};

struct GarminPvt {
  float altM = 0.0f, epeM = 0.0f, ephM = 0.0f, epvM = 0.0f;
  std::int16_t fix = 0;
  double towS = 0.0;
  double lat = 0.0, lon = 0.0;  // degrees
  float eastMs = 0.0f, northMs = 0.0f, upMs = 0.0f;
  float mslHeightM = 0.0f;
  std::int16_t leapSeconds = 0;
  std::int32_t weekNumberDays = 0;
  // UTC time of the fix, from the week days, time of week and leap seconds.
  DateTimeRecord utc() const;
};

// Courses of the recent units: a course (D1006), its lap (D1007) and the unit's limits (D1013).
struct GarminCourse {
  std::uint16_t index = 0;
  std::string name;  // 16 bytes on the wire, zero-padded
  std::uint16_t trackIndex = 0;
};
struct GarminCourseLap {
  std::uint16_t courseIndex = 0, lapIndex = 0;
  std::uint32_t totalTimeCs = 0;  // hundredths of a second
  float totalDistanceM = 0.0f;
  double beginLat = 0, beginLon = 0, endLat = 0, endLon = 0;
};
struct GarminCourseLimits {
  std::uint32_t maxCourses = 0, maxCourseLaps = 0, maxCoursePoints = 0, maxCourseTrackPoints = 0;
};

GarminWaypoint decodeWaypoint(int type, std::string_view data);
std::string encodeWaypoint(int type, const GarminWaypoint& w);

GarminRouteHeader decodeRouteHeader(int type, std::string_view data);
std::string encodeRouteHeader(int type, const GarminRouteHeader& h);
GarminRouteLink decodeRouteLink(int type, std::string_view data);
std::string encodeRouteLink(int type, const GarminRouteLink& link);

GarminTrackPoint decodeTrackPoint(int type, std::string_view data);
std::string encodeTrackPoint(int type, const GarminTrackPoint& p);
GarminTrackHeader decodeTrackHeader(int type, std::string_view data);
std::string encodeTrackHeader(int type, const GarminTrackHeader& h);

DateTimeRecord decodeDateTime(int type, std::string_view data);
std::string encodeDateTime(int type, const DateTimeRecord& utc);
// D700: radians on the wire, degrees here.
TCoord decodePosition(int type, std::string_view data);
std::string encodePosition(int type, const TCoord& position);
GarminPvt decodePvt(int type, std::string_view data);
GarminCourse decodeCourse(std::string_view data);
std::string encodeCourse(const GarminCourse& c);
GarminCourseLap decodeCourseLap(std::string_view data);
std::string encodeCourseLap(const GarminCourseLap& lap);
GarminCourseLimits decodeCourseLimits(std::string_view data);
std::string encodeCourseLimits(const GarminCourseLimits& limits);
std::string encodePvt(int type, const GarminPvt& pvt);

}  // namespace pixtrail
