#include "core/angles.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>

namespace pixtrail {
namespace {

// The one plausibility check: limits included, NaN and infinities never plausible.
TEST(Angles, PlausiblePositionsStopAtTheirLimitsAndRefuseNonNumbers) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  const struct { double lat, lon, maxLon; bool plausible; } rows[] = {
      {90, 180, kMaxLonDeg, true},      {-90, -180, kMaxLonDeg, true},    {90.000001, 0, kMaxLonDeg, false},
      {0, 180.000001, kMaxLonDeg, false}, {0, 359.9, kMaxEastLonDeg, true}, {0, -360, kMaxEastLonDeg, true},
      {0, 360.1, kMaxEastLonDeg, false},  {nan, 0, kMaxLonDeg, false},      {0, nan, kMaxEastLonDeg, false},
      {inf, 0, kMaxLonDeg, false},        {0, -inf, kMaxEastLonDeg, false},
  };
  for (const auto& r : rows)
    EXPECT_EQ(isPlausibleLatLon(r.lat, r.lon, r.maxLon), r.plausible) << r.lat << " " << r.lon << " " << r.maxLon;
  // Each product is the same double as the plain quotient, so replacing one by the other is safe.
  EXPECT_EQ(kRadPerDeg, std::numbers::pi / 180);
  EXPECT_EQ(kDegPerRad, 180 / std::numbers::pi);
}

}  // namespace
}  // namespace pixtrail
