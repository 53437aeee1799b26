// Transcribes Snyder (1987), equations 3-21 (meridian arc), 8-9 to 8-10 (forward) and 3-26,
// 7-19, 8-17 to 8-25 (inverse). Glossary: phi latitude, lam longitude, lam0 central meridian
// (radians); N prime-vertical radius, R meridian radius, M meridian arc, mu rectifying latitude,
// A = (lam - lam0) cos phi, T = tan^2 phi, C = e'^2 cos^2 phi, D = x / (N1 k0).
// Deliberate choices: degrees become radians as "deg x pi x (1/180)", the system's own order of
// operations; nothing is clamped, so a point far from the central meridian gets the series'
// answer, however poor.
#include "coords/tm_series.hpp"

#include <cmath>
#include <numbers>

namespace pixtrail {
namespace {

constexpr double kRadPerDeg = std::numbers::pi * (1.0 / 180.0);
constexpr double kDegPerRad = 180.0 * (1.0 / std::numbers::pi);

}  // namespace

EllipsoidShape EllipsoidShape::from(double a, double e2, double ep2, double e1) {
  EllipsoidShape s;
  s.a = a;
  s.e2 = e2;
  s.ep2 = ep2;
  s.e1 = e1;
  const double e4 = e2 * e2, e6 = e4 * e2;
  s.arc0 = a * (1 - e2 / 4 - 3 * e4 / 64 - 5 * e6 / 256);
  s.arc2 = a * (3 * e2 / 8 + 3 * e4 / 32 + 45 * e6 / 1024);
  s.arc4 = a * (15 * e4 / 256 + 45 * e6 / 1024);
  s.arc6 = a * (35 * e6 / 3072);
  const double e1p2 = e1 * e1, e1p3 = e1p2 * e1, e1p4 = e1p3 * e1;
  s.foot2 = 3 * e1 / 2 - 27 * e1p3 / 32;
  s.foot4 = 21 * e1p2 / 16 - 55 * e1p4 / 32;
  s.foot6 = 151 * e1p3 / 96;
  s.foot8 = 1097 * e1p4 / 512;
  return s;
}

double meridianArc(double phi, const EllipsoidShape& s) {
  return s.arc0 * phi - s.arc2 * std::sin(2 * phi) + s.arc4 * std::sin(4 * phi) -
         s.arc6 * std::sin(6 * phi);
}

double footpointLatitude(double arcM, const EllipsoidShape& s) {
  const double mu = arcM / s.arc0;
  return mu + s.foot2 * std::sin(2 * mu) + s.foot4 * std::sin(4 * mu) + s.foot6 * std::sin(6 * mu) +
         s.foot8 * std::sin(8 * mu);
}

bool primeVerticalRadius(double phi, const EllipsoidShape& s, double& radiusM) {
  const double sinPhi = std::sin(phi);
  const double w = 1 - s.e2 * sinPhi * sinPhi;
  if (!(w > 0)) return false;
  radiusM = s.a / std::sqrt(w);
  return true;
}

bool tmForward(const TMParameters& p, const EllipsoidShape& s, double lon, double lat, double& x,
               double& y) {
  const double phi = lat * kRadPerDeg;
  const double lam = lon * kRadPerDeg;
  const double lam0 = p.lon0 * kRadPerDeg;
  const double sinPhi = std::sin(phi), cosPhi = std::cos(phi);
  const double w = 1 - s.e2 * sinPhi * sinPhi;
  if (!(w > 0)) return false;
  const double n = s.a / std::sqrt(w);
  const double tanPhi = sinPhi / cosPhi;
  const double a = (lam - lam0) * cosPhi;
  const double t = tanPhi * tanPhi;
  const double c = s.ep2 * cosPhi * cosPhi;
  const double a2 = a * a, a3 = a2 * a, a4 = a2 * a2, a5 = a4 * a, a6 = a4 * a2;
  const double m = meridianArc(phi, s);
  const double m0 = p.lat0 == 0 ? 0.0 : meridianArc(p.lat0 * kRadPerDeg, s);
  const double east = p.k0 * n * (a + (1 - t + c) * a3 / 6 +
                                   (5 - 18 * t + t * t + 72 * c - 58 * s.ep2) * a5 / 120) +
                      p.falseEasting;
  const double north =
      p.k0 * (m - m0 + n * tanPhi * (a2 / 2 + (5 - t + 9 * c + 4 * c * c) * a4 / 24 +
                                     (61 - 58 * t + t * t + 600 * c - 330 * s.ep2) * a6 / 720)) +
      p.falseNorthing;
  if (!std::isfinite(east) || !std::isfinite(north)) return false;
  x = east;
  y = north;
  return true;
}

bool tmInverse(const TMParameters& p, const EllipsoidShape& s, double x, double y, double& lon,
               double& lat) {
  const double m0 = p.lat0 == 0 ? 0.0 : meridianArc(p.lat0 * kRadPerDeg, s);
  const double phi1 = footpointLatitude(m0 + (y - p.falseNorthing) / p.k0, s);
  const double sinPhi1 = std::sin(phi1), cosPhi1 = std::cos(phi1);
  const double w = 1 - s.e2 * sinPhi1 * sinPhi1;
  if (!(w > 0)) return false;
  const double tanPhi1 = sinPhi1 / cosPhi1;
  const double c1 = s.ep2 * cosPhi1 * cosPhi1;
  const double t1 = tanPhi1 * tanPhi1;
  const double n1 = s.a / std::sqrt(w);
  const double r1 = s.a * (1 - s.e2) / (w * std::sqrt(w));
  const double d = (x - p.falseEasting) / (n1 * p.k0);
  const double d2 = d * d, d3 = d2 * d, d4 = d2 * d2, d5 = d4 * d, d6 = d4 * d2;
  const double phi =
      phi1 - (n1 * tanPhi1 / r1) *
                 (d2 / 2 - (5 + 3 * t1 + 10 * c1 - 4 * c1 * c1 - 9 * s.ep2) * d4 / 24 +
                  (61 + 90 * t1 + 298 * c1 + 45 * t1 * t1 - 252 * s.ep2 - 3 * c1 * c1) * d6 / 720);
  const double lam = p.lon0 * kRadPerDeg +
                     (d - (1 + 2 * t1 + c1) * d3 / 6 +
                      (5 - 2 * c1 + 28 * t1 - 3 * c1 * c1 + 8 * s.ep2 + 24 * t1 * t1) * d5 / 120) /
                         cosPhi1;
  if (!std::isfinite(phi) || !std::isfinite(lam)) return false;
  lat = phi * kDegPerRad;
  lon = lam * kDegPerRad;
  return true;
}

}  // namespace pixtrail
