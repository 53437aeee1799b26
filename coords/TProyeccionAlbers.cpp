// alpha = q of ellipsoid_functions.hpp; n = (m1^2 - m2^2)/(alpha2 - alpha1), C = m1^2 + n alpha1,
// rho = a sqrt(C - n alpha)/n, theta = n (lam - lam0); E = FE + rho sin theta,
// N = FN + rho0 - rho cos theta. Two equal parallels take n = sin(phi1), the limit.
#include "coords/TProyeccionAlbers.hpp"

#include <cmath>

#include "coords/TListaDatums.hpp"
#include "coords/ellipsoid_functions.hpp"
#include "core/angles.hpp"

namespace pixtrail {
namespace {

constexpr ParameterDeclaration kAlbersParameters[] = {
    {"lat1", "Lat Standard 1", -89.9, 89.9, 40},
    {"lat2", "Lat Standard 2", -89.9, 89.9, 50},
    {"lat0", "Origin Lat:", -89.9, 89.9, 45},
    {"lon0", "Origin Lon:", -180, 180, 0},
    {"fe", "False Easting", -1e8, 1e8, 0},
    {"fn", "False Northing", -1e8, 1e8, 0},
};
enum { kLat1, kLat2, kLat0, kLon0, kFalseEasting, kFalseNorthing };

struct AlbersCone {
  double n = 0, c = 0, rho0 = 0, a = 0, e = 0;
  bool valid = false;
};

AlbersCone coneOf(double a, double e, double lat1, double lat2, double lat0) {
  AlbersCone cone;
  cone.a = a;
  cone.e = e;
  const double phi1 = lat1 * kRadPerDeg, phi2 = lat2 * kRadPerDeg;
  const double m1 = parallelRadiusOverA(phi1, e), m2 = parallelRadiusOverA(phi2, e);
  const double q1 = authalicQ(phi1, e), q2 = authalicQ(phi2, e);
  cone.n = std::fabs(lat1 - lat2) < 1e-10 ? std::sin(phi1) : (m1 * m1 - m2 * m2) / (q2 - q1);
  cone.c = m1 * m1 + cone.n * q1;
  cone.rho0 = a * std::sqrt(cone.c - cone.n * authalicQ(lat0 * kRadPerDeg, e)) / cone.n;
  cone.valid = cone.n != 0 && std::isfinite(cone.n) && std::isfinite(cone.rho0);
  return cone;
}

}  // namespace

TProyeccionAlbers::TProyeccionAlbers() : TProyeccion(PlaneUnit::kMetres) { initialiseParameters(); }

bool TProyeccionAlbers::project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const {
  return forwardVia(geo, datum, out, message, [this](const TCoord& p, int own, GridCoord& grid) {
    const TDatum& row = datumTable().datum(own);
    const AlbersCone cone = coneOf(row.a, row.e, param(kLat1), param(kLat2), param(kLat0));
    if (!cone.valid) return false;
    const double inside = cone.c - cone.n * authalicQ(p.lat * kRadPerDeg, row.e);
    if (!(inside >= 0)) return false;
    const double rho = row.a * std::sqrt(inside) / cone.n;
    const double theta = cone.n * std::remainder(p.lon - param(kLon0), kFullTurnDeg) * kRadPerDeg;
    grid.x = param(kFalseEasting) + rho * std::sin(theta);
    grid.y = param(kFalseNorthing) + cone.rho0 - rho * std::cos(theta);
    return std::isfinite(grid.x) && std::isfinite(grid.y);
  });
}

bool TProyeccionAlbers::unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const {
  return inverseVia(grid, datum, out, message, [this](const GridCoord& g, int own, TCoord& p) {
    const TDatum& row = datumTable().datum(own);
    const AlbersCone cone = coneOf(row.a, row.e, param(kLat1), param(kLat2), param(kLat0));
    if (!cone.valid) return false;
    const double sign = cone.n < 0 ? -1.0 : 1.0;
    const double dx = g.x - param(kFalseEasting);
    const double dy = cone.rho0 - (g.y - param(kFalseNorthing));
    const double rho = std::hypot(dx, dy);
    const double theta = std::atan2(sign * dx, sign * dy);
    const double q = (cone.c - rho * rho * cone.n * cone.n / (row.a * row.a)) / cone.n;
    const double qPole = authalicQ(kPi / 2, row.e);
    if (!(std::fabs(q) <= qPole * (1 + 1e-12))) return false;
    p.lat = latitudeFromQ(q, row.e) * kDegPerRad;
    p.lon = param(kLon0) + theta / cone.n * kDegPerRad;
    return std::isfinite(p.lat) && std::isfinite(p.lon);
  });
}

std::unique_ptr<TProyeccion> TProyeccionAlbers::clone() const {
  return std::make_unique<TProyeccionAlbers>(*this);
}
std::string TProyeccionAlbers::shortName() const { return "Albers"; }
std::string TProyeccionAlbers::secondName() const { return "Albers"; }
std::span<const ParameterDeclaration> TProyeccionAlbers::parameterDeclarations() const {
  return kAlbersParameters;
}

}  // namespace pixtrail
