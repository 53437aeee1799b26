#include "coords/TProyeccionLatLon.hpp"

#include <cmath>

namespace pixtrail {

TProyeccionLatLon::TProyeccionLatLon() : TProyeccion(PlaneUnit::kDegrees) {}

bool TProyeccionLatLon::project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const {
  return forwardVia(geo, datum, out, message, [](const TCoord& p, int, GridCoord& grid) {
    grid.x = p.lon;
    grid.y = p.lat;
    return std::isfinite(p.lon) && std::isfinite(p.lat);
  });
}

bool TProyeccionLatLon::unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const {
  return inverseVia(grid, datum, out, message, [](const GridCoord& g, int, TCoord& p) {
    p.lon = g.x;
    p.lat = g.y;
    return std::isfinite(p.lon) && std::isfinite(p.lat);
  });
}

std::unique_ptr<TProyeccion> TProyeccionLatLon::clone() const { return std::make_unique<TProyeccionLatLon>(*this); }
std::string TProyeccionLatLon::shortName() const { return "Lat/Long"; }
std::string TProyeccionLatLon::secondName() const { return "Latitude/Longitude"; }

std::unique_ptr<TProyeccion> TProyeccionLatLonGrados::clone() const {
  return std::make_unique<TProyeccionLatLonGrados>(*this);
}
std::string TProyeccionLatLonGrados::secondName() const { return "Latitude/Longitude (degrees)"; }

}  // namespace pixtrail
