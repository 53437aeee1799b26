#pragma once
// The unit table: every unit of distance, speed, temperature, angle, acceleration, power, ratio,
// map scale, time, area, energy and mass has a code, an 8-bit label and a factor to its group's
// base unit (value in base = value x factor). Temperatures are stored in degrees Celsius.

#include <string>

namespace pixtrail {

// The system's mile and nautical mile, deliberately not the international 1609.344 m and 1852 m:
// every stored distance and speed converts with these.
inline constexpr double kMileM = 1609.370878864;
inline constexpr double kNauticalMileM = 1853.32;
inline constexpr double kFootM = 0.3048;
inline constexpr double kKelvinOffset = 273.15;
inline constexpr double kFahrenheitScale = 1.8;
inline constexpr double kFahrenheitOffset = 32.0;

enum UnitCode : int {
  kUnitNone = 0,
  kUnitMetre = 10, kUnitKilometre = 11, kUnitMile = 12, kUnitNauticalMile = 13, kUnitFoot = 14,
  kUnitFathom = 15,
  kUnitMetresPerSecond = 20, kUnitKmPerHour = 21, kUnitMph = 22, kUnitKnot = 23,
  kUnitFeetPerMinute = 24, kUnitMetresPerMinute = 25, kUnitMetresPerHour = 26,
  kUnitCelsius = 30, kUnitFahrenheit = 31, kUnitKelvin = 32,
  kUnitDegree = 40, kUnitRadian = 41,
  kUnitMetresPerSecond2 = 50, kUnitG = 51, kUnitKmPerHourPerSecond = 52, kUnitCentiMetresPerSecond2 = 53,
  kUnitWatt = 60,
  kUnitRatio = 70, kUnitPercent = 71,
  kUnitMetresPerPixel = 80, kUnitMapScale = 81, kUnitPixelsPerMetre = 82,
  kUnitSecond = 100, kUnitMinute = 101, kUnitHour = 102,
  kUnitSquareMetre = 110, kUnitHectare = 111, kUnitSquareKilometre = 112,
  kUnitJoule = 130, kUnitKiloJoule = 131, kUnitCalorie = 132, kUnitKiloCalorie = 133,
  kUnitMegaJoule = 134, kUnitKiloWattHour = 135, kUnitKilogram = 136,
};

bool isKnownUnit(int code);
// Label of a unit; the short form differs only for the map scale. Unknown code: fatal "Error".
std::string unitLabel(int code, bool shortForm = false);
// Factor to the base unit. The map scale's factor depends on the configured screen scale.
double unitFactor(int code, double screenScale = 1.0);
// Value in the unit to the base unit of its group and back; temperatures use their offsets.
double toBaseUnit(int code, double value, double screenScale = 1.0);
double fromBaseUnit(int code, double baseValue, double screenScale = 1.0);

}  // namespace pixtrail
