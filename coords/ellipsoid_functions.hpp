#pragma once
// Ellipsoid functions shared by the conformal and equal-area projections: m, t and q of IOGP
// Guidance Note 7-2 (2019), sections 1.3.x and 3.x, and the inverses of t and q.
// Angles in radians; e is the first eccentricity.

namespace pixtrail {

// m, the radius of the parallel over a: cos(phi) / sqrt(1 - e^2 sin^2 phi)
double parallelRadiusOverA(double phi, double e);
// t = exp(-isometric latitude) = tan(pi/4 - phi/2) / ((1 - e sin phi) / (1 + e sin phi))^(e/2)
double isometricT(double phi, double e);
// Latitude whose t is `t`, by fixed-point iteration to 1e-12 rad.
double latitudeFromT(double t, double e);
// Authalic q (the alpha of the Albers formulas) = (1 - e^2) [sin/(1 - e^2 sin^2) - ln((1-e sin)/(1+e sin))/(2e)]
double authalicQ(double phi, double e);
// Latitude whose q is `q`, by Newton iteration (Snyder 1987, eq. 3-16).
double latitudeFromQ(double q, double e);

}  // namespace pixtrail
