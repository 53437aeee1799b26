#pragma once
// The Transverse Mercator series shared by UTM and every Transverse Mercator grid.
// Method: the series of Snyder, "Map Projections: A Working Manual", USGS Professional Paper
// 1395 (1987), pp. 60-64 (meridian arc to e^6, footpoint latitude through e1).
// Accuracy against an exact Transverse Mercator (checked in tm_series_oracle_test.cpp): better
// than 1 mm within 3.5 degrees of the central meridian and 1 cm within 6 degrees, from 80S to
// 84N; the error grows quickly beyond (README, "Projections").

#include <cmath>

#include "core/angles.hpp"

namespace pixtrail {

// The ellipsoid as the series need it, with the meridian-arc and footpoint coefficients worked
// out once. Built from a datum row's a, e^2, e'^2 and e1.
struct EllipsoidShape {
  double a = 0, e2 = 0, ep2 = 0, e1 = 0;
  double arc0 = 0, arc2 = 0, arc4 = 0, arc6 = 0;        // meridian arc: phi, sin 2phi, 4phi, 6phi
  double foot2 = 0, foot4 = 0, foot6 = 0, foot8 = 0;   // footpoint: sin 2mu .. sin 8mu

  static EllipsoidShape from(double a, double e2, double ep2, double e1);
};

// Central meridian and latitude of origin in degrees, false easting/northing in metres.
struct TMParameters {
  double lon0 = 0, lat0 = 0, k0 = 1, falseEasting = 0, falseNorthing = 0;
};

// Meridian arc from the equator to latitude `phi` (radians), metres.
double meridianArc(double phi, const EllipsoidShape& shape);
// Footpoint latitude (radians) of a meridian arc length in metres.
double footpointLatitude(double arcM, const EllipsoidShape& shape);
// Radius of curvature in the prime vertical; false when 1 - e^2 sin^2 phi is negative.
bool primeVerticalRadius(double phi, const EllipsoidShape& shape, double& radiusM);

// Geographic (degrees) to plane (metres); false, outputs untouched, when the series cannot run.
// Inline: UTM calls it per point and the call would cost as much as the zone logic.
inline bool tmForward(const TMParameters& p, const EllipsoidShape& shape, double lon, double lat,
                      double& x, double& y);
// Plane (metres) to geographic (degrees); false, outputs untouched, when the result is no number.
bool tmInverse(const TMParameters& p, const EllipsoidShape& shape, double x, double y,
               double& lon, double& lat);

namespace tm_detail {

// The meridian arc from sin and cos of phi already at hand: sin 2phi, 4phi and 6phi by the
// double- and sum-angle identities instead of three more calls to sin.
inline double meridianArc(double phi, double sinPhi, double cosPhi, const EllipsoidShape& s) {
  const double sin2 = 2 * sinPhi * cosPhi, cos2 = cosPhi * cosPhi - sinPhi * sinPhi;
  const double sin4 = 2 * sin2 * cos2, cos4 = cos2 * cos2 - sin2 * sin2;
  const double sin6 = sin4 * cos2 + cos4 * sin2;
  return s.arc0 * phi - s.arc2 * sin2 + s.arc4 * sin4 - s.arc6 * sin6;
}

}  // namespace tm_detail

inline bool tmForward(const TMParameters& p, const EllipsoidShape& s, double lon, double lat,
                      double& x, double& y) {
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
  const double m = tm_detail::meridianArc(phi, sinPhi, cosPhi, s);
  const double m0 = p.lat0 == 0 ? 0.0 : meridianArc(p.lat0 * kRadPerDeg, s);
  const double east = p.k0 * n * (a + (1 - t + c) * a3 * (1.0 / 6) +
                                   (5 - 18 * t + t * t + 72 * c - 58 * s.ep2) * a5 * (1.0 / 120)) +
                      p.falseEasting;
  const double north =
      p.k0 * (m - m0 + n * tanPhi * (a2 * 0.5 + (5 - t + 9 * c + 4 * c * c) * a4 * (1.0 / 24) +
                                     (61 - 58 * t + t * t + 600 * c - 330 * s.ep2) * a6 * (1.0 / 720))) +
      p.falseNorthing;
  if (!std::isfinite(east) || !std::isfinite(north)) return false;
  x = east;
  y = north;
  return true;
}

}  // namespace pixtrail
