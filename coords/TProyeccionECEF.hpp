#pragma once
// Earth-centred, earth-fixed X, Y, Z in metres on the ellipsoid of the position's datum (the
// altitude is the ellipsoidal height; none counts as 0). X and Y travel as easting and
// northing, Z beside them.
// Method: IOGP Guidance Note 7-2 (2019), 4.1.1 (EPSG 9602): forward closed form; inverse by
// Bowring's formula (1985). Accuracy: 1 mm against cs2cs +proj=geocent and GIGS 5201.

#include "coords/TProyeccion.hpp"

namespace pixtrail {

class TProyeccionECEF : public TProyeccion {
 public:
  TProyeccionECEF();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
};

}  // namespace pixtrail
