#pragma once
// The Transverse Mercator series shared by UTM and every Transverse Mercator grid.
// Method: the series of Snyder, "Map Projections: A Working Manual", USGS Professional Paper
// 1395 (1987), pp. 60-64 (meridian arc to e^6, footpoint latitude through e1).
// Accuracy against an exact Transverse Mercator (checked in tm_series_oracle_test.cpp): better
// than 1 mm within 3.5 degrees of the central meridian and 1 cm within 6 degrees, from 80S to
// 84N; the error grows quickly beyond (README, "Projections").

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
bool tmForward(const TMParameters& p, const EllipsoidShape& shape, double lon, double lat,
               double& x, double& y);
// Plane (metres) to geographic (degrees); false, outputs untouched, when the result is no number.
bool tmInverse(const TMParameters& p, const EllipsoidShape& shape, double x, double y,
               double& lon, double& lat);

}  // namespace pixtrail
