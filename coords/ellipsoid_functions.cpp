#include "coords/ellipsoid_functions.hpp"

#include <algorithm>
#include <cmath>

#include "core/angles.hpp"

namespace pixtrail {
namespace {
constexpr double kQuarterTurnRad = kPi / 2;
constexpr double kTolerance = 1e-12;
constexpr int kMaxIterations = 30;
}  // namespace

double parallelRadiusOverA(double phi, double e) {
  const double s = std::sin(phi);
  return std::cos(phi) / std::sqrt(1 - e * e * s * s);
}

double isometricT(double phi, double e) {
  const double es = e * std::sin(phi);
  return std::tan(kQuarterTurnRad / 2 - phi / 2) / std::pow((1 - es) / (1 + es), e / 2);
}

double latitudeFromT(double t, double e) {
  double phi = kQuarterTurnRad - 2 * std::atan(t);
  for (int i = 0; i < kMaxIterations; ++i) {
    const double es = e * std::sin(phi);
    const double next = kQuarterTurnRad - 2 * std::atan(t * std::pow((1 - es) / (1 + es), e / 2));
    if (std::fabs(next - phi) < kTolerance) return next;
    phi = next;
  }
  return phi;
}

double authalicQ(double phi, double e) {
  const double s = std::sin(phi);
  const double es = e * s;
  if (e == 0) return 2 * s;
  return (1 - e * e) * (s / (1 - es * es) - std::log((1 - es) / (1 + es)) / (2 * e));
}

double latitudeFromQ(double q, double e) {
  const double e2 = e * e;
  double phi = std::asin(std::clamp(q / 2, -1.0, 1.0));
  if (e == 0) return phi;
  for (int i = 0; i < kMaxIterations; ++i) {
    const double s = std::sin(phi), c = std::cos(phi);
    const double w = 1 - e2 * s * s;
    if (std::fabs(c) < 1e-15) return phi;
    const double step = w * w / (2 * c) * (q / (1 - e2) - s / w + std::log((1 - e * s) / (1 + e * s)) / (2 * e));
    phi += step;
    if (std::fabs(step) < kTolerance) break;
  }
  return phi;
}

}  // namespace pixtrail
