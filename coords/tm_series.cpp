// Transcribes Snyder (1987), equations 3-21 (meridian arc), 8-9 to 8-10 (forward) and 3-26,
// 7-19, 8-17 to 8-25 (inverse). Glossary: phi latitude, lam longitude, lam0 central meridian
// (radians); N prime-vertical radius, R meridian radius, M meridian arc, mu rectifying latitude,
// A = (lam - lam0) cos phi, T = tan^2 phi, C = e'^2 cos^2 phi, D = x / (N1 k0).
// Deliberate choices: degrees become radians as "deg x pi x (1/180)", the system's own order of
// operations; nothing is clamped, so a point far from the central meridian gets the series'
// answer, however poor.
#include "coords/tm_series.hpp"

#include <cmath>

namespace pixtrail {
EllipsoidShape EllipsoidShape::from(double a, double e2, double ep2, double e1) {
  // Constant divisors are written as products so that no division runs per call.
  EllipsoidShape s;
  s.a = a;
  s.e2 = e2;
  s.ep2 = ep2;
  s.e1 = e1;
  const double e4 = e2 * e2, e6 = e4 * e2;
  s.arc0 = a * (1 - e2 * (1.0 / 4) - e4 * (3.0 / 64) - e6 * (5.0 / 256));
  s.arc2 = a * (e2 * (3.0 / 8) + e4 * (3.0 / 32) + e6 * (45.0 / 1024));
  s.arc4 = a * (e4 * (15.0 / 256) + e6 * (45.0 / 1024));
  s.arc6 = a * (e6 * (35.0 / 3072));
  const double e1p2 = e1 * e1, e1p3 = e1p2 * e1, e1p4 = e1p3 * e1;
  s.foot2 = e1 * (3.0 / 2) - e1p3 * (27.0 / 32);
  s.foot4 = e1p2 * (21.0 / 16) - e1p4 * (55.0 / 32);
  s.foot6 = e1p3 * (151.0 / 96);
  s.foot8 = e1p4 * (1097.0 / 512);
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
                 (d2 * 0.5 - (5 + 3 * t1 + 10 * c1 - 4 * c1 * c1 - 9 * s.ep2) * d4 * (1.0 / 24) +
                  (61 + 90 * t1 + 298 * c1 + 45 * t1 * t1 - 252 * s.ep2 - 3 * c1 * c1) * d6 * (1.0 / 720));
  const double lam = p.lon0 * kRadPerDeg +
                     (d - (1 + 2 * t1 + c1) * d3 * (1.0 / 6) +
                      (5 - 2 * c1 + 28 * t1 - 3 * c1 * c1 + 8 * s.ep2 + 24 * t1 * t1) * d5 * (1.0 / 120)) /
                         cosPhi1;
  if (!std::isfinite(phi) || !std::isfinite(lam)) return false;
  lat = phi * kDegPerRad;
  lon = lam * kDegPerRad;
  return true;
}

}  // namespace pixtrail
