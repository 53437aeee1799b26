#pragma once
// Mercator on the ellipsoid, scale true along a chosen parallel.
// Method: IOGP Guidance Note 7-2 (2019), 3.5.1, Mercator variant B (EPSG 9805), which is
// variant A (EPSG 9804) with k0 = m(latitude of true scale); latitude of true scale 0 is the
// usual equatorial Mercator. Accuracy: 1 cm against cs2cs +proj=merc and GIGS 5111 (tests/coords).

#include "coords/TProyeccion.hpp"

namespace pixtrail {

class TProyeccionMercator : public TProyeccion {
 public:
  TProyeccionMercator();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
  std::span<const ParameterDeclaration> parameterDeclarations() const override;
};

}  // namespace pixtrail
