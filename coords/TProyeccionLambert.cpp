// Transcribes IOGP Guidance Note 7-2 (2019), 3.1.1: m = cos(phi)/sqrt(1 - e^2 sin^2 phi),
// t = tan(pi/4 - phi/2)/((1 - e sin phi)/(1 + e sin phi))^(e/2), n = sin(phi0) (one parallel) or
// (ln m1 - ln m2)/(ln t1 - ln t2) (two), F = m1/(n t1^n), r = a F t^n [k0], theta = n (lam - lam0).
// Deliberate choices: lam - lam0 is brought into [-180, 180] first, as cs2cs does; two equal
// standard parallels take n = sin(phi1), the limit of the two-parallel formula.
#include "coords/TProyeccionLambert.hpp"

#include <cmath>

#include "coords/TListaDatums.hpp"
#include "coords/ellipsoid_functions.hpp"
#include "core/angles.hpp"

namespace pixtrail {
namespace {

constexpr ParameterDeclaration kTwoParallelParameters[] = {
    {"lat1", "Lat Standard 1", -89.9, 89.9, 40},
    {"lat2", "Lat Standard 2", -89.9, 89.9, 50},
    {"lat0", "Origin Lat:", -90, 90, 45},
    {"lon0", "Origin Lon:", -180, 180, 0},
    {"fe", "False Easting", -1e8, 1e8, 0},
    {"fn", "False Northing", -1e8, 1e8, 0},
};
enum { kLat1, kLat2, kLatOrigin, kLon0Of2SP, kEastingOf2SP, kNorthingOf2SP };

constexpr ParameterDeclaration kOneParallelParameters[] = {
    {"lat0", "Latitude of Origin", -89.9, 89.9, 45},
    {"lon0", "Longitud of Origin", -180, 180, 0},  // the form's own spelling
    {"fe", "False Easting", -1e8, 1e8, 0},
    {"fn", "False Northing", -1e8, 1e8, 0},
    {"k0", "Scale Factor", 0.1, 10, 1},
};
enum { kLat0Of1SP, kLon0Of1SP, kEastingOf1SP, kNorthingOf1SP, kK0Of1SP };

double longitudeFromCentre(double lon, double lon0) {
  return std::remainder(lon - lon0, 2 * kHalfTurnDeg);
}

LambertCone coneOfZone(const LambertZone& z, double a, double e) {
  return z.oneParallel
             ? lambertOneParallel(a, e, z.latOrigin, z.lon0, z.k0, z.falseEasting, z.falseNorthing)
             : lambertTwoParallels(a, e, z.lat1, z.lat2, z.latOrigin, z.lon0, z.falseEasting,
                                   z.falseNorthing);
}

}  // namespace

LambertCone lambertOneParallel(double a, double e, double lat0, double lon0, double k0, double fe, double fn) {
  LambertCone cone;
  const double phi0 = lat0 * kRadPerDeg;
  cone.n = std::sin(phi0);
  const double t0 = isometricT(phi0, e);
  cone.aF = a * parallelRadiusOverA(phi0, e) / (cone.n * std::pow(t0, cone.n)) * k0;
  cone.rOrigin = cone.aF * std::pow(t0, cone.n);
  cone.lon0 = lon0;
  cone.falseEasting = fe;
  cone.falseNorthing = fn;
  cone.valid = cone.n != 0 && std::isfinite(cone.aF) && std::isfinite(cone.rOrigin);
  return cone;
}

LambertCone lambertTwoParallels(double a, double e, double lat1, double lat2, double latOrigin,
                                double lon0, double fe, double fn) {
  LambertCone cone;
  const double phi1 = lat1 * kRadPerDeg, phi2 = lat2 * kRadPerDeg;
  const double m1 = parallelRadiusOverA(phi1, e), m2 = parallelRadiusOverA(phi2, e);
  const double t1 = isometricT(phi1, e), t2 = isometricT(phi2, e);
  cone.n = std::fabs(lat1 - lat2) < 1e-10 ? std::sin(phi1)
                                          : (std::log(m1) - std::log(m2)) / (std::log(t1) - std::log(t2));
  cone.aF = a * m1 / (cone.n * std::pow(t1, cone.n));
  cone.rOrigin = cone.aF * std::pow(isometricT(latOrigin * kRadPerDeg, e), cone.n);
  cone.lon0 = lon0;
  cone.falseEasting = fe;
  cone.falseNorthing = fn;
  cone.valid = cone.n != 0 && std::isfinite(cone.n) && std::isfinite(cone.aF) && std::isfinite(cone.rOrigin);
  return cone;
}

bool lambertForward(const LambertCone& cone, double e, double lon, double lat, double& x, double& y) {
  if (!cone.valid || !(std::fabs(lat) <= kQuarterTurnDeg)) return false;
  // The pole the cone opens towards lies at infinity.
  if (std::fabs(lat) == kQuarterTurnDeg && lat * cone.n < 0) return false;
  const double r = cone.aF * std::pow(isometricT(lat * kRadPerDeg, e), cone.n);
  const double theta = cone.n * longitudeFromCentre(lon, cone.lon0) * kRadPerDeg;
  const double east = cone.falseEasting + r * std::sin(theta);
  const double north = cone.falseNorthing + cone.rOrigin - r * std::cos(theta);
  if (!std::isfinite(east) || !std::isfinite(north)) return false;
  x = east;
  y = north;
  return true;
}

bool lambertInverse(const LambertCone& cone, double e, double x, double y, double& lon, double& lat) {
  if (!cone.valid) return false;
  const double sign = cone.n < 0 ? -1.0 : 1.0;
  const double dx = x - cone.falseEasting;
  const double dy = cone.rOrigin - (y - cone.falseNorthing);
  const double r = sign * std::hypot(dx, dy);
  double phi = 0, theta = 0;
  if (r == 0) {
    phi = sign * kQuarterTurnDeg * kRadPerDeg;
  } else {
    const double t = std::pow(r / cone.aF, 1 / cone.n);
    theta = std::atan2(sign * dx, sign * dy);
    phi = latitudeFromT(t, e);
  }
  const double resultLon = cone.lon0 + theta / cone.n * kDegPerRad;
  const double resultLat = phi * kDegPerRad;
  if (!std::isfinite(resultLon) || !std::isfinite(resultLat)) return false;
  lon = resultLon;
  lat = resultLat;
  return true;
}

TProyeccionLambert_2SP::TProyeccionLambert_2SP() : TProyeccion(PlaneUnit::kMetres) {
  initialiseParameters();
}

TProyeccionLambert_2SP::TProyeccionLambert_2SP(const LambertZone& zone)
    : TProyeccion(PlaneUnit::kMetres), zone_(&zone) {
  useFixedDatum(zone.datum);
}

LambertCone TProyeccionLambert_2SP::coneOn(int datum) const {
  const TDatum& row = datumTable().datum(datum);
  if (zone_ != nullptr) return coneOfZone(*zone_, row.a, row.e);
  return lambertTwoParallels(row.a, row.e, param(kLat1), param(kLat2), param(kLatOrigin),
                             param(kLon0Of2SP), param(kEastingOf2SP), param(kNorthingOf2SP));
}

bool TProyeccionLambert_2SP::project(const TCoord& geo, int datum, GridCoord& out,
                                     std::string& message) const {
  return forwardVia(geo, datum, out, message, [this](const TCoord& p, int own, GridCoord& grid) {
    return lambertForward(coneOn(own), datumTable().datum(own).e, p.lon, p.lat, grid.x, grid.y);
  });
}

bool TProyeccionLambert_2SP::unproject(const GridCoord& grid, int datum, TCoord& out,
                                       std::string& message) const {
  return inverseVia(grid, datum, out, message, [this](const GridCoord& g, int own, TCoord& p) {
    return lambertInverse(coneOn(own), datumTable().datum(own).e, g.x, g.y, p.lon, p.lat);
  });
}

std::unique_ptr<TProyeccion> TProyeccionLambert_2SP::clone() const {
  return std::make_unique<TProyeccionLambert_2SP>(*this);
}
std::string TProyeccionLambert_2SP::shortName() const { return "Lambert 2SP"; }
std::string TProyeccionLambert_2SP::secondName() const { return "Lambert Conformal Conic"; }
std::span<const ParameterDeclaration> TProyeccionLambert_2SP::parameterDeclarations() const {
  return kTwoParallelParameters;
}

TProyeccionLambert_1SP::TProyeccionLambert_1SP() { initialiseParameters(); }

LambertCone TProyeccionLambert_1SP::coneOn(int datum) const {
  const TDatum& row = datumTable().datum(datum);
  return lambertOneParallel(row.a, row.e, param(kLat0Of1SP), param(kLon0Of1SP), param(kK0Of1SP),
                            param(kEastingOf1SP), param(kNorthingOf1SP));
}

std::unique_ptr<TProyeccion> TProyeccionLambert_1SP::clone() const {
  return std::make_unique<TProyeccionLambert_1SP>(*this);
}
std::string TProyeccionLambert_1SP::shortName() const { return "Lambert 1SP"; }
std::string TProyeccionLambert_1SP::secondName() const { return "Lambert 1SP"; }
std::span<const ParameterDeclaration> TProyeccionLambert_1SP::parameterDeclarations() const {
  return kOneParallelParameters;
}

}  // namespace pixtrail
