// X = (nu + h) cos phi cos lam, Y = (nu + h) cos phi sin lam, Z = ((1 - e^2) nu + h) sin phi.
// Inverse (Bowring): eps = e^2/(1 - e^2), p = sqrt(X^2 + Y^2), q = atan2(Z a, p b),
// phi = atan2(Z + eps b sin^3 q, p - e^2 a cos^3 q), lam = atan2(Y, X), h = p/cos phi - nu.
#include "coords/TProyeccionECEF.hpp"

#include <cmath>

#include "coords/TListaDatums.hpp"
#include "core/angles.hpp"

namespace pixtrail {
TProyeccionECEF::TProyeccionECEF() : TProyeccion(PlaneUnit::kMetres) {}

bool TProyeccionECEF::project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const {
  return forwardVia(geo, datum, out, message, [](const TCoord& p, int own, GridCoord& grid) {
    const TDatum& row = datumTable().datum(own);
    const double phi = p.lat * kRadPerDeg, lam = p.lon * kRadPerDeg;
    const double h = hasAltitude(p.alt) ? p.alt : 0.0;
    const double sinPhi = std::sin(phi);
    const double nu = row.a / std::sqrt(1 - row.e2 * sinPhi * sinPhi);
    grid.x = (nu + h) * std::cos(phi) * std::cos(lam);
    grid.y = (nu + h) * std::cos(phi) * std::sin(lam);
    grid.z = ((1 - row.e2) * nu + h) * sinPhi;
    return std::isfinite(grid.x) && std::isfinite(grid.y) && std::isfinite(grid.z);
  });
}

bool TProyeccionECEF::unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const {
  return inverseVia(grid, datum, out, message, [](const GridCoord& g, int own, TCoord& p) {
    const TDatum& row = datumTable().datum(own);
    const double eps = row.e2 / (1 - row.e2);
    const double pRadius = std::hypot(g.x, g.y);
    const double q = std::atan2(g.z * row.a, pRadius * row.b);
    const double sinQ = std::sin(q), cosQ = std::cos(q);
    const double phi = std::atan2(g.z + eps * row.b * sinQ * sinQ * sinQ,
                                  pRadius - row.e2 * row.a * cosQ * cosQ * cosQ);
    const double sinPhi = std::sin(phi);
    const double nu = row.a / std::sqrt(1 - row.e2 * sinPhi * sinPhi);
    // Near the poles p / cos(phi) loses precision; Z gives the height there.
    const double h = std::fabs(std::cos(phi)) > 1e-6 ? pRadius / std::cos(phi) - nu
                                                      : std::fabs(g.z) - (1 - row.e2) * nu;
    p.lat = phi * kDegPerRad;
    p.lon = std::atan2(g.y, g.x) * kDegPerRad;
    p.alt = static_cast<float>(h);
    return std::isfinite(p.lat) && std::isfinite(p.lon) && std::isfinite(h);
  });
}

std::unique_ptr<TProyeccion> TProyeccionECEF::clone() const { return std::make_unique<TProyeccionECEF>(*this); }
std::string TProyeccionECEF::shortName() const { return "ECEF"; }
std::string TProyeccionECEF::secondName() const { return "Earth Centered Proyection, XYZ"; }

}  // namespace pixtrail
