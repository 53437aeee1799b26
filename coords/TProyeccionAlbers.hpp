#pragma once
// Albers equal-area conic on the ellipsoid.
// Method: IOGP Guidance Note 7-2 (2019), 3.4.1 (EPSG 9822); the inverse latitude by Newton
// iteration on q (Snyder 1987, eq. 3-16). Accuracy: 1 cm against cs2cs +proj=aea and GIGS 5109.

#include "coords/TProyeccion.hpp"

namespace pixtrail {

class TProyeccionAlbers : public TProyeccion {
 public:
  TProyeccionAlbers();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
  std::span<const ParameterDeclaration> parameterDeclarations() const override;
};

}  // namespace pixtrail
