#include "coords/units.hpp"

#include <array>
#include <string_view>

#include "core/angles.hpp"
#include "core/messages.hpp"

namespace pixtrail {
namespace {

constexpr double kSecondsPerHour = 3600.0;
constexpr double kSecondsPerMinute = 60.0;
constexpr double kStandardGravityMs2 = 9.8;  // the system's g, not 9.80665

// base = value x factor + offset. Only temperatures carry an offset (base: degrees Celsius).
struct UnitRow {
  int code;
  std::string_view label;
  std::string_view shortLabel;
  double factor;
  double offset;
};

constexpr std::array kUnits = {
    UnitRow{kUnitNone, "", "", 1, 0},
    UnitRow{kUnitMetre, "m", "m", 1, 0},
    UnitRow{kUnitKilometre, "Km", "Km", 1000, 0},
    UnitRow{kUnitMile, "Mi", "Mi", kMileM, 0},
    UnitRow{kUnitNauticalMile, "nm", "nm", kNauticalMileM, 0},
    UnitRow{kUnitFoot, "ft", "ft", kFootM, 0},
    UnitRow{kUnitFathom, "brazas", "brazas", 1.8288, 0},
    UnitRow{kUnitMetresPerSecond, "m/s", "m/s", 1, 0},
    UnitRow{kUnitKmPerHour, "Km/h", "Km/h", 1 / 3.6, 0},
    UnitRow{kUnitMph, "MPH", "MPH", kMileM / kSecondsPerHour, 0},
    UnitRow{kUnitKnot, "kt", "kt", kNauticalMileM / kSecondsPerHour, 0},
    UnitRow{kUnitFeetPerMinute, "ft/min", "ft/min", kFootM / kSecondsPerMinute, 0},
    UnitRow{kUnitMetresPerMinute, "m/min", "m/min", 1 / kSecondsPerMinute, 0},
    UnitRow{kUnitMetresPerHour, "m/h", "m/h", 1 / kSecondsPerHour, 0},
    UnitRow{kUnitCelsius, "\xBA" "C", "\xBA" "C", 1, 0},
    UnitRow{kUnitFahrenheit, "\xBA" "F", "\xBA" "F", 1 / kFahrenheitScale,
            -kFahrenheitOffset / kFahrenheitScale},
    UnitRow{kUnitKelvin, "K", "K", 1, -kKelvinOffset},
    UnitRow{kUnitDegree, "\xBA", "\xBA", kRadPerDeg, 0},
    UnitRow{kUnitRadian, "rad", "rad", 1, 0},
    UnitRow{kUnitMetresPerSecond2, "m/s\xB2", "m/s\xB2", 1, 0},
    UnitRow{kUnitG, "g", "g", kStandardGravityMs2, 0},
    UnitRow{kUnitKmPerHourPerSecond, "Km/h/s", "Km/h/s", 1 / 3.6, 0},
    UnitRow{kUnitCentiMetresPerSecond2, "cent_m/s\xB2", "cent_m/s\xB2", 0.01, 0},
    UnitRow{kUnitWatt, "W", "W", 1, 0},
    UnitRow{kUnitRatio, "", "", 1, 0},
    UnitRow{kUnitPercent, "%", "%", 0.01, 0},
    UnitRow{kUnitMetresPerPixel, "m/pixel", "m/pixel", 1, 0},
    UnitRow{kUnitMapScale, "1:XXX.XXX", "", 0.001, 0},  // times the screen scale
    UnitRow{kUnitPixelsPerMetre, "pixel/m", "pixel/m", 1, 0},
    UnitRow{90, "", "", 1, 0},
    UnitRow{91, "", "", 1, 0},
    UnitRow{kUnitSecond, "s", "s", 1, 0},
    UnitRow{kUnitMinute, "min", "min", kSecondsPerMinute, 0},
    UnitRow{kUnitHour, "h", "h", kSecondsPerHour, 0},
    UnitRow{kUnitSquareMetre, "m\xB2", "m\xB2", 1, 0},
    UnitRow{kUnitHectare, "hect", "hect", 10000, 0},
    UnitRow{kUnitSquareKilometre, "Km\xB2", "Km\xB2", 1000000, 0},
    UnitRow{120, "", "", 1, 0},
    UnitRow{121, "", "", 1, 0},
    UnitRow{122, "", "", 1, 0},
    UnitRow{kUnitJoule, "J", "J", 1, 0},
    UnitRow{kUnitKiloJoule, "KJ", "KJ", 1000, 0},
    UnitRow{kUnitCalorie, "cal", "cal", 4.186, 0},
    UnitRow{kUnitKiloCalorie, "Kcal", "Kcal", 4186, 0},
    UnitRow{kUnitMegaJoule, "MJ", "MJ", 1000000, 0},
    UnitRow{kUnitKiloWattHour, "KWh", "KWh", 3.6e6, 0},
    UnitRow{kUnitKilogram, "Kg", "Kg", 1, 0},
};

const UnitRow* findUnit(int code) {
  for (const UnitRow& row : kUnits)
    if (row.code == code) return &row;
  return nullptr;
}

const UnitRow& unitOrStop(int code) {
  const UnitRow* row = findUnit(code);
  if (row == nullptr) fatalError("Error");
  return *row;
}

}  // namespace

bool isKnownUnit(int code) { return findUnit(code) != nullptr; }

std::string unitLabel(int code, bool shortForm) {
  const UnitRow& row = unitOrStop(code);
  return std::string(shortForm ? row.shortLabel : row.label);
}

double unitFactor(int code, double screenScale) {
  const UnitRow& row = unitOrStop(code);
  return code == kUnitMapScale ? row.factor * screenScale : row.factor;
}

double toBaseUnit(int code, double value, double screenScale) {
  return value * unitFactor(code, screenScale) + unitOrStop(code).offset;
}

double fromBaseUnit(int code, double baseValue, double screenScale) {
  return (baseValue - unitOrStop(code).offset) / unitFactor(code, screenScale);
}

}  // namespace pixtrail
