#pragma once
// Ellipsoid functions shared by the conformal and equal-area projections, in the notation of
// IOGP Guidance Note 7-2 (2019), sections 1.3.x and 3.x: m, t, q and the inverse of t.
// Angles in radians; e is the first eccentricity.

namespace pixtrail {

// m = cos(phi) / sqrt(1 - e^2 sin^2 phi)
double gn7m(double phi, double e);
// t = tan(pi/4 - phi/2) / ((1 - e sin phi) / (1 + e sin phi))^(e/2)
double gn7t(double phi, double e);
// Latitude whose t is `t`, by fixed-point iteration to 1e-12 rad.
double latitudeFromT(double t, double e);
// Authalic q (the alpha of the Albers formulas) = (1 - e^2) [sin/(1 - e^2 sin^2) - ln((1-e sin)/(1+e sin))/(2e)]
double gn7q(double phi, double e);
// Latitude whose q is `q`, by Newton iteration (Snyder 1987, eq. 3-16).
double latitudeFromQ(double q, double e);

}  // namespace pixtrail
