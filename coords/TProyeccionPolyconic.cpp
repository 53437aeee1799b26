// Forward: phi = 0 gives E = FE + a (lam - lam0), N = FN - M0; otherwise L = (lam - lam0) sin phi,
// nu = a / sqrt(1 - e^2 sin^2 phi), E = FE + nu cot(phi) sin L, N = FN + M - M0 + nu cot(phi)(1 - cos L).
// Inverse: A = (M0 + N - FN)/a, B = A^2 + ((E - FE)/a)^2, then Snyder's Newton step on phi from
// phi = A, with C = sqrt(1 - e^2 sin^2 phi) tan phi, Ma = M/a and Mn' = (dM/dphi)/a.
#include "coords/TProyeccionPolyconic.hpp"

#include <cmath>

#include "coords/TListaDatums.hpp"
#include "core/angles.hpp"

namespace pixtrail {
namespace {

constexpr int kMaxIterations = 40;

constexpr ParameterDeclaration kPolyconicParameters[] = {
    {"lat0", "Origin Lat:", -89.9, 89.9, 0},
    {"lon0", "Origin Lon:", -180, 180, 0},
    {"fe", "False Easting", -1e8, 1e8, 0},
    {"fn", "False Northing", -1e8, 1e8, 0},
};
enum { kLat0, kLon0, kFalseEasting, kFalseNorthing };

// d(meridian arc)/d(phi) divided by a, from the same series as meridianArc.
double arcDerivativeOverA(double phi, const EllipsoidShape& s) {
  return (s.arc0 - 2 * s.arc2 * std::cos(2 * phi) + 4 * s.arc4 * std::cos(4 * phi) -
          6 * s.arc6 * std::cos(6 * phi)) / s.a;
}

}  // namespace

TProyeccionPolyconic::TProyeccionPolyconic() : TProyeccion(PlaneUnit::kMetres) { initialiseParameters(); }

bool TProyeccionPolyconic::project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const {
  return forwardVia(geo, datum, out, message, [this](const TCoord& p, int own, GridCoord& grid) {
    if (!(std::fabs(p.lat) < kQuarterTurnDeg)) return false;
    const EllipsoidShape s = ellipsoidOfDatum(own);
    const double phi = p.lat * kRadPerDeg;
    const double dlam = std::remainder(p.lon - param(kLon0), kFullTurnDeg) * kRadPerDeg;
    const double m0 = meridianArc(param(kLat0) * kRadPerDeg, s);
    if (phi == 0) {
      grid.x = param(kFalseEasting) + s.a * dlam;
      grid.y = param(kFalseNorthing) - m0;
    } else {
      const double sinPhi = std::sin(phi);
      const double l = dlam * sinPhi;
      const double nuCot = s.a / std::sqrt(1 - s.e2 * sinPhi * sinPhi) / std::tan(phi);
      grid.x = param(kFalseEasting) + nuCot * std::sin(l);
      grid.y = param(kFalseNorthing) + meridianArc(phi, s) - m0 + nuCot * (1 - std::cos(l));
    }
    return std::isfinite(grid.x) && std::isfinite(grid.y);
  });
}

bool TProyeccionPolyconic::unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const {
  return inverseVia(grid, datum, out, message, [this](const GridCoord& g, int own, TCoord& p) {
    const EllipsoidShape s = ellipsoidOfDatum(own);
    const double m0 = meridianArc(param(kLat0) * kRadPerDeg, s);
    const double dx = (g.x - param(kFalseEasting)) / s.a;
    const double a = (m0 + g.y - param(kFalseNorthing)) / s.a;
    if (std::fabs(a) < 1e-15) {
      p.lat = 0;
      p.lon = param(kLon0) + dx * kDegPerRad;
      return std::isfinite(p.lon);
    }
    const double b = a * a + dx * dx;
    double phi = a;
    bool converged = false;
    for (int i = 0; i < kMaxIterations && !converged; ++i) {
      const double sinPhi = std::sin(phi);
      const double c = std::sqrt(1 - s.e2 * sinPhi * sinPhi) * std::tan(phi);
      const double ma = meridianArc(phi, s) / s.a;
      const double mn = arcDerivativeOverA(phi, s);
      const double sin2Phi = std::sin(2 * phi);
      const double step = (a * (c * ma + 1) - ma - 0.5 * (ma * ma + b) * c) /
                          (s.e2 * sin2Phi * (ma * ma + b - 2 * a * ma) / (4 * c) +
                           (a - ma) * (c * mn - 2 / sin2Phi) - mn);
      phi -= step;
      converged = std::fabs(step) < 1e-12;
    }
    if (!converged) return false;
    const double sinPhi = std::sin(phi);
    const double c = std::sqrt(1 - s.e2 * sinPhi * sinPhi) * std::tan(phi);
    const double arg = dx * c;
    if (!(std::fabs(arg) <= 1)) return false;
    p.lat = phi * kDegPerRad;
    p.lon = param(kLon0) + std::asin(arg) / sinPhi * kDegPerRad;
    return std::isfinite(p.lat) && std::isfinite(p.lon);
  });
}

std::unique_ptr<TProyeccion> TProyeccionPolyconic::clone() const {
  return std::make_unique<TProyeccionPolyconic>(*this);
}
std::string TProyeccionPolyconic::shortName() const { return "Polyconic"; }
std::string TProyeccionPolyconic::secondName() const { return "Polyconic"; }
std::span<const ParameterDeclaration> TProyeccionPolyconic::parameterDeclarations() const {
  return kPolyconicParameters;
}

}  // namespace pixtrail
