#pragma once
// The plane the map is drawn on: the spherical ("web") Mercator of the tile servers, or one of the
// library's projections in the user's datum. Every plane is scaled to the same world of 256 pixels
// at zoom 0 that the tile servers use for the equator, so zoom levels mean the same ground size
// whichever plane is chosen, and y grows downwards (northing upwards).

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "coords/TProyeccion.hpp"
#include "gui/map_geometry.hpp"

namespace pixtrail::gui {

class MapPlane {
 public:
  // Web Mercator, the only plane map tiles fit.
  MapPlane();
  // A projection of the registry (null, or the geocentric system: web Mercator). A UTM left to find its zone from each
  // position is pinned to the zone and band of `centre` (working datum), so that a track crossing a
  // zone edge stays one line.
  MapPlane(const TProyeccion* projection, const TCoord& centre);
  MapPlane(const MapPlane& other);
  MapPlane& operator=(const MapPlane& other);
  MapPlane(MapPlane&&) noexcept = default;
  MapPlane& operator=(MapPlane&&) noexcept = default;
  ~MapPlane();

  bool isWebMercator() const { return projection_ == nullptr; }
  // "Web Mercator", "UTM 30T", "Lambert 2SP".
  std::string name() const;
  // Metres, or degrees for a geographic plane; web Mercator counts in metres of its sphere.
  PlaneUnit unit() const;

  // A position in a datum of the table (kWorkingDatum for the document's) to the world; false when
  // the projection cannot take it.
  bool toWorld(const TCoord& position, int datum, WorldPoint& out) const;
  // Many positions of one datum at once (a track); those that cannot be projected are left out of
  // `ok` (same length as `positions`).
  void toWorld(std::span<const TCoord> positions, int datum, std::vector<WorldPoint>& out,
               std::vector<char>& ok) const;
  // Back to geographic degrees in `datum`; false off the projection's domain.
  bool toGeo(const WorldPoint& world, int datum, TCoord& out) const;

  // The plane's own coordinates (easting, northing) of a world point and the world per plane unit.
  double eastingOf(double worldX) const { return worldX / worldPerUnit_; }
  double northingOf(double worldY) const { return -worldY / worldPerUnit_; }
  double worldPerUnit() const { return worldPerUnit_; }
  // Ground metres per world unit around a world point (for the scale bar); 0 when unknown.
  double groundMetresPerWorld(const WorldPoint& at) const;
  // The y range the plane covers (web Mercator's square world ends at about 85 degrees).
  bool boundedVertically() const { return isWebMercator(); }

 private:
  std::unique_ptr<TProyeccion> projection_;
  double worldPerUnit_ = 1.0;
};

}  // namespace pixtrail::gui
