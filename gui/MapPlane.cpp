#include "gui/MapPlane.hpp"

#include <numbers>

#include "coords/TListaDatums.hpp"
#include "coords/TProyeccionECEF.hpp"
#include "coords/TProyeccionUTM.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail::gui {

namespace {

// The tile servers' world is 256 pixels round the equator; projected metres use the same size.
constexpr double kWorldPerMetre = kTileSizePx / (2.0 * std::numbers::pi * kEarthRadiusM);
constexpr double kWorldPerDegree = kTileSizePx / 360.0;
// Half the step over which the scale bar measures the ground: small against any view.
constexpr double kScaleProbeWorld = 1e-4;

bool shift(TCoord& p, int from, int to) {
  if (from == to) return true;
  std::string ignored;
  return datumTable().Transforma_Grados_Datum(p, from, to, ignored);
}

// A UTM that would choose its zone point by point, made to keep the zone and band of `centre`.
std::unique_ptr<TProyeccion> pinnedUtm(const TProyeccion& chosen, const TCoord& centre) {
  const auto* utm = dynamic_cast<const TProyeccionUTM*>(&chosen);
  if (utm == nullptr) return chosen.clone();
  // The automatic choice has no zone to set; a plain UTM does the same with one.
  std::unique_ptr<TProyeccion> out = utm->parameterDeclarations().empty() ? std::make_unique<TProyeccionUTM>()
                                                                          : chosen.clone();
  const auto& pinned = static_cast<const TProyeccionUTM&>(*out);
  if (pinned.zone() != 0) return out;
  std::string ignored;
  const char band = pinned.band() != 0 ? pinned.band() : utmBandLetter(centre.lat, 'N');
  out->setParameter("zone", utmZone(centre.lon), ignored);
  out->setParameter("band", band, ignored);
  out->setParameter("hemisphere", band <= 'M' ? 1 : 0, ignored);
  return out;
}

}  // namespace

MapPlane::MapPlane() : worldPerUnit_(kWorldPerMetre) {}

MapPlane::MapPlane(const TProyeccion* projection, const TCoord& centre) : MapPlane() {
  // Geocentric X and Y are no map: the map stays in web Mercator (the status bar still shows them).
  if (projection == nullptr || dynamic_cast<const TProyeccionECEF*>(projection) != nullptr) return;
  projection_ = pinnedUtm(*projection, centre);
  worldPerUnit_ = projection_->unit() == PlaneUnit::kDegrees ? kWorldPerDegree : kWorldPerMetre;
}

MapPlane::MapPlane(const MapPlane& other)
    : projection_(other.projection_ ? other.projection_->clone() : nullptr), worldPerUnit_(other.worldPerUnit_) {}

MapPlane& MapPlane::operator=(const MapPlane& other) {
  if (this != &other) *this = MapPlane(other);
  return *this;
}

MapPlane::~MapPlane() = default;

std::string MapPlane::name() const {
  if (projection_ == nullptr) return "Web Mercator";
  if (const auto* utm = dynamic_cast<const TProyeccionUTM*>(projection_.get()); utm && utm->zone() != 0) {
    std::string text = "UTM " + std::to_string(utm->zone());
    if (utm->band() != 0) text += utm->band();
    return text;
  }
  return projection_->shortName();
}

PlaneUnit MapPlane::unit() const { return projection_ ? projection_->unit() : PlaneUnit::kMetres; }

bool MapPlane::toWorld(const TCoord& position, int datum, WorldPoint& out) const {
  TCoord p = position;
  if (projection_ == nullptr) {
    if (!shift(p, datum, kDatumWgs84)) return false;
    out = worldFromGeo(p.lat, p.lon);
    return true;
  }
  // Projections without a datum of their own run on the document's, so every object shares one grid.
  if (datum != kWorkingDatum && !shift(p, datum, kWorkingDatum)) return false;
  GridCoord grid;
  std::string ignored;
  if (!projection_->project(p, kWorkingDatum, grid, ignored)) return false;
  out = {grid.x * worldPerUnit_, -grid.y * worldPerUnit_};
  return std::isfinite(out.x) && std::isfinite(out.y);
}

void MapPlane::toWorld(std::span<const TCoord> positions, int datum, std::vector<WorldPoint>& out,
                       std::vector<char>& ok) const {
  std::vector<TCoord> shifted(positions.begin(), positions.end());
  const int target = projection_ == nullptr ? kDatumWgs84 : kWorkingDatum;
  std::string ignored;
  // One call for the lot: the table's batch shift is far cheaper than a shift per point.
  if (datum != target) datumTable().Transforma_Grados_Datum(std::span<TCoord>(shifted), datum, target, ignored);
  out.assign(shifted.size(), {});
  ok.assign(shifted.size(), 0);
  for (std::size_t i = 0; i < shifted.size(); ++i) {
    if (projection_ == nullptr) {
      out[i] = worldFromGeo(shifted[i].lat, shifted[i].lon);
      ok[i] = 1;
    } else {
      ok[i] = toWorld(shifted[i], kWorkingDatum, out[i]);
    }
  }
}

bool MapPlane::toGeo(const WorldPoint& world, int datum, TCoord& out) const {
  TCoord p;
  if (projection_ == nullptr) {
    geoFromWorld(world, p.lat, p.lon);
    if (!shift(p, kDatumWgs84, datum)) return false;
  } else {
    GridCoord grid;
    grid.x = eastingOf(world.x);
    grid.y = northingOf(world.y);
    std::string ignored;
    if (!projection_->unproject(grid, kWorkingDatum, p, ignored)) return false;
    if (datum != kWorkingDatum && !shift(p, kWorkingDatum, datum)) return false;
  }
  if (!std::isfinite(p.lat) || !std::isfinite(p.lon)) return false;
  out = p;
  return true;
}

double MapPlane::groundMetresPerWorld(const WorldPoint& at) const {
  if (projection_ == nullptr) {
    double lat = 0.0, lon = 0.0;
    geoFromWorld(at, lat, lon);
    return metresPerPixel(lat, 0.0);
  }
  TCoord west, east;
  if (!toGeo({at.x - kScaleProbeWorld, at.y}, kDatumWgs84, west) ||
      !toGeo({at.x + kScaleProbeWorld, at.y}, kDatumWgs84, east))
    return 0.0;
  return stepDistanceM(west, east) / (2.0 * kScaleProbeWorld);
}

}  // namespace pixtrail::gui
