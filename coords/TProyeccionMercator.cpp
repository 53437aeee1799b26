// E = FE + a k0 (lam - lam0); N = FN - a k0 ln t(phi), with t of Guidance Note 7-2 (the same
// as ln(tan(pi/4 + phi/2) ((1 - e sin phi)/(1 + e sin phi))^(e/2))). lam - lam0 is brought into
// [-180, 180]; the poles cannot be projected.
#include "coords/TProyeccionMercator.hpp"

#include <cmath>

#include "coords/TListaDatums.hpp"
#include "coords/ellipsoid_functions.hpp"
#include "core/angles.hpp"

namespace pixtrail {
namespace {

constexpr ParameterDeclaration kMercatorParameters[] = {
    {"lon0", "Longitude of Origin", -180, 180, 0},
    {"lat1", "Latitude of True Scale", -89.9, 89.9, 0},
    {"fe", "False Easting", -1e8, 1e8, 0},
    {"fn", "False Northing", -1e8, 1e8, 0},
};
enum { kLon0, kLatTrueScale, kFalseEasting, kFalseNorthing };

}  // namespace

TProyeccionMercator::TProyeccionMercator() : TProyeccion(PlaneUnit::kMetres) { initialiseParameters(); }

bool TProyeccionMercator::project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const {
  return forwardVia(geo, datum, out, message, [this](const TCoord& p, int own, GridCoord& grid) {
    if (!(std::fabs(p.lat) < kQuarterTurnDeg)) return false;
    const TDatum& row = datumTable().datum(own);
    const double ak0 = row.a * parallelRadiusOverA(param(kLatTrueScale) * kRadPerDeg, row.e);
    const double dlon = std::remainder(p.lon - param(kLon0), kFullTurnDeg);
    grid.x = param(kFalseEasting) + ak0 * dlon * kRadPerDeg;
    grid.y = param(kFalseNorthing) - ak0 * std::log(isometricT(p.lat * kRadPerDeg, row.e));
    return std::isfinite(grid.x) && std::isfinite(grid.y);
  });
}

bool TProyeccionMercator::unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const {
  return inverseVia(grid, datum, out, message, [this](const GridCoord& g, int own, TCoord& p) {
    const TDatum& row = datumTable().datum(own);
    const double ak0 = row.a * parallelRadiusOverA(param(kLatTrueScale) * kRadPerDeg, row.e);
    const double t = std::exp((param(kFalseNorthing) - g.y) / ak0);
    if (!(t > 0 && std::isfinite(t))) return false;  // beyond every latitude short of a pole
    p.lat = latitudeFromT(t, row.e) * kDegPerRad;
    p.lon = param(kLon0) + (g.x - param(kFalseEasting)) / ak0 * kDegPerRad;
    return std::isfinite(p.lat) && std::isfinite(p.lon);
  });
}

std::unique_ptr<TProyeccion> TProyeccionMercator::clone() const {
  return std::make_unique<TProyeccionMercator>(*this);
}
std::string TProyeccionMercator::shortName() const { return "Mercator"; }
std::string TProyeccionMercator::secondName() const { return "Mercator"; }
std::span<const ParameterDeclaration> TProyeccionMercator::parameterDeclarations() const {
  return kMercatorParameters;
}

}  // namespace pixtrail
