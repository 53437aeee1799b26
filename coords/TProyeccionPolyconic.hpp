#pragma once
// American Polyconic on the ellipsoid.
// Method: IOGP Guidance Note 7-2 (2019), 3.6 (EPSG 9818) forward; the inverse by Newton
// iteration of Snyder (1987), eq. 18-17 to 18-26, to 1e-12 rad. Meridian arcs from the series of
// tm_series.hpp. Accuracy: 1 cm against cs2cs +proj=poly and GIGS 5107 (tests/coords).

#include "coords/TProyeccion.hpp"

namespace pixtrail {

class TProyeccionPolyconic : public TProyeccion {
 public:
  TProyeccionPolyconic();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
  std::span<const ParameterDeclaration> parameterDeclarations() const override;
};

}  // namespace pixtrail
