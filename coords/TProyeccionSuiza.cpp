// Transcribed as the program has them: phi' = lat x 3600 x 0.0001 - 16.902866 and
// lam' = lon x 3600 x 0.0001 - 2.67825 (Bern's latitude and longitude in 10 000"); the inverse
// gives degrees through x 100 x (1/36). The coefficients are kept exactly as written.
#include "coords/TProyeccionSuiza.hpp"
#include "core/angles.hpp"

#include <cmath>

namespace pixtrail {
namespace {

constexpr double kUnitSeconds = 10000.0;
constexpr double kBernLatUnits = 16.902866;
constexpr double kBernLonUnits = 2.67825;
constexpr double kFalseEasting = 600000.0;
constexpr double kFalseNorthing = 200000.0;
constexpr double kMetresPerUnit = 1e6;

}  // namespace

void swissForward(double lon, double lat, double& easting, double& northing) {
  const double p = lat * kSecondsPerDegree * (1 / kUnitSeconds) - kBernLatUnits;
  const double l = lon * kSecondsPerDegree * (1 / kUnitSeconds) - kBernLonUnits;
  const double p2 = p * p, p3 = p2 * p, p5 = p3 * p2;
  const double l2 = l * l, l3 = l2 * l, l4 = l2 * l2, l5 = l4 * l;
  northing = kMetresPerUnit * (0.3087707463 * p + 7.5028e-5 * p2 + 0.000120435 * p3 + 7e-8 * p5 +
                               0.0037454089 * l2 - 0.0001937927 * p * l2 + 4.34e-6 * p2 * l2 -
                               3.76e-7 * p3 * l2 - 7.346e-7 * l4 + 1.444e-7 * p * l4) +
             kFalseNorthing;
  easting = kMetresPerUnit * (0.2114285339 * l - 0.010939608 * p * l - 2.658e-6 * p2 * l -
                              8.53e-6 * p3 * l - 4.42327e-5 * l3 + 4.291e-6 * p * l3 -
                              3.09e-7 * p2 * l3 + 1.97e-8 * l5) +
            kFalseEasting;
}

void swissInverse(double easting, double northing, double& lon, double& lat) {
  const double y = (northing - kFalseNorthing) * (1 / kMetresPerUnit);
  const double x = (easting - kFalseEasting) * (1 / kMetresPerUnit);
  const double x2 = x * x, x3 = x2 * x, x4 = x2 * x2, x5 = x4 * x;
  const double y2 = y * y, y3 = y2 * y, y4 = y2 * y2;
  lon = (2.67825 + 4.72973056 * x + 0.7925714 * x * y + 0.132812 * x * y2 + 0.0255 * x * y3 -
         0.04427 * x3 - 0.0255 * x3 * y - 0.0096 * x3 * y2 - 0.00096 * x5) *
        100 * (1.0 / 36);
  lat = (16.902866 + 3.23864877 * y - 0.0025486 * y2 - 0.013245 * y3 + 4.8e-5 * y4 -
         0.27135379 * x2 - 0.0450442 * y * x2 - 0.007553 * y2 * x2 - 0.00146 * y3 * x2 +
         0.002442 * x4 + 0.00132 * y * x4) *
        100 * (1.0 / 36);
}

TProyeccionSuiza::TProyeccionSuiza() : TProyeccion(PlaneUnit::kMetres) { useFixedDatum("CH-1903"); }

bool TProyeccionSuiza::project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const {
  return forwardVia(geo, datum, out, message, [](const TCoord& p, int, GridCoord& grid) {
    swissForward(p.lon, p.lat, grid.x, grid.y);
    return std::isfinite(grid.x) && std::isfinite(grid.y);
  });
}

bool TProyeccionSuiza::unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const {
  return inverseVia(grid, datum, out, message, [](const GridCoord& g, int, TCoord& p) {
    swissInverse(g.x, g.y, p.lon, p.lat);
    return std::isfinite(p.lon) && std::isfinite(p.lat);
  });
}

std::unique_ptr<TProyeccion> TProyeccionSuiza::clone() const { return std::make_unique<TProyeccionSuiza>(*this); }
std::string TProyeccionSuiza::shortName() const { return "Swiss Grid"; }
std::string TProyeccionSuiza::secondName() const { return "Swiss Grid"; }

}  // namespace pixtrail
