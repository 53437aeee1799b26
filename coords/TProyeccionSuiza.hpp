#pragma once
// The Swiss grid (CH1903, "y/x" in metres, Bern at 600000 / 200000) by the fixed polynomials of
// the program, evaluated on CH-1903 latitudes and longitudes; no ellipsoid formulas.
// Method: the approximate polynomials of the Swiss federal survey in units of 10 000 arc
// seconds. Accuracy: about 1 m against cs2cs +proj=somerc over Switzerland; the two sets are not
// exact inverses, a round trip drifts by a few decimetres (figures in README, checked in
// tests/coords/projections_oracle_test.cpp).

#include "coords/TProyeccion.hpp"

namespace pixtrail {

class TProyeccionSuiza : public TProyeccion {
 public:
  TProyeccionSuiza();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
};

// The bare polynomials, degrees in CH-1903 to metres and back.
void swissForward(double lon, double lat, double& easting, double& northing);
void swissInverse(double easting, double northing, double& lon, double& lat);

}  // namespace pixtrail
