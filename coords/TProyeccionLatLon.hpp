#pragma once
// The geographic pseudo-projection: the plane coordinates are the longitude and latitude
// themselves, in degrees, in the datum of the position.

#include "coords/TProyeccion.hpp"

namespace pixtrail {

class TProyeccionLatLon : public TProyeccion {
 public:
  TProyeccionLatLon();
  bool project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const override;
  bool unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const override;
  std::unique_ptr<TProyeccion> clone() const override;
  std::string shortName() const override;
  std::string secondName() const override;
};

// The same, offered where a list wants the degrees spelled out.
class TProyeccionLatLonGrados : public TProyeccionLatLon {
 public:
  std::unique_ptr<TProyeccion> clone() const override;
  std::string secondName() const override;
};

}  // namespace pixtrail
