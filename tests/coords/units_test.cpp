#include "coords/units.hpp"

#include <gtest/gtest.h>

namespace pixtrail {
namespace {

TEST(Units, TheSystemsOwnFactorsAndLabelBytes) {
  // The system's own values where they differ from the textbook, and the byte-level labels.
  const struct { int code; std::string label; double factor; const char* why; } rows[] = {
      {kUnitMile, "Mi", 1609.370878864, "the system's mile, not 1609.344"},
      {kUnitNauticalMile, "nm", 1853.32, "the system's nautical mile, not 1852"},
      {kUnitKnot, "kt", 1853.32 / 3600, "knots follow the nautical mile"},
      {kUnitMph, "MPH", 1609.370878864 / 3600, "MPH follows the mile"},
      {kUnitDegree, "\xBA", 0.017453292519943295, "degree mark is byte 0xBA"},
      {kUnitMetresPerSecond2, "m/s\xB2", 1, "square is byte 0xB2"},
      {91, "", 1, "unlabelled codes exist"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(unitLabel(r.code), r.label) << r.code << " " << r.why;
    EXPECT_DOUBLE_EQ(unitFactor(r.code), r.factor) << r.code << " " << r.why;
  }
  EXPECT_EQ(unitLabel(kUnitMapScale), "1:XXX.XXX");
  EXPECT_EQ(unitLabel(kUnitMapScale, true), "");
  EXPECT_DOUBLE_EQ(unitFactor(kUnitMapScale, 2500), 2.5);
  EXPECT_DOUBLE_EQ(toBaseUnit(kUnitKnot, 10), 5.148111111111111);
}

TEST(Units, TemperaturesAreStoredInCelsius) {
  EXPECT_DOUBLE_EQ(toBaseUnit(kUnitFahrenheit, 212), 100);
  EXPECT_DOUBLE_EQ(toBaseUnit(kUnitFahrenheit, -40), -40);
  EXPECT_DOUBLE_EQ(toBaseUnit(kUnitKelvin, 0), -273.15);
  EXPECT_DOUBLE_EQ(fromBaseUnit(kUnitFahrenheit, 37), 98.6);
  EXPECT_DOUBLE_EQ(fromBaseUnit(kUnitKelvin, 25), 298.15);
  EXPECT_DOUBLE_EQ(fromBaseUnit(kUnitCelsius, 25), 25);
}

TEST(UnitsDeathTest, UnknownCodeStops) {
  EXPECT_FALSE(isKnownUnit(16));
  EXPECT_EXIT(unitLabel(16), testing::ExitedWithCode(70), "Error");
  EXPECT_EXIT(unitFactor(-1), testing::ExitedWithCode(70), "Error");
}

}  // namespace
}  // namespace pixtrail
