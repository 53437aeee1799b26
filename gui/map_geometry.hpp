#pragma once
// The geometry of the map canvas: the spherical ("web") Mercator of the tile servers, in pixels of
// a 256-pixel world at zoom 0, so that tracks and tiles share one plane. Positions are WGS 84.
// Reference: the tile numbering of the OpenStreetMap wiki ("Slippy map tilenames").

#include <string>
#include <string_view>

namespace pixtrail::gui {

inline constexpr int kTileSizePx = 256;
inline constexpr int kMinZoom = 0;
inline constexpr int kMaxZoom = 19;
// Beyond this latitude the square world of the tile servers ends (atan(sinh(pi)), degrees).
inline constexpr double kMercatorLimitDeg = 85.0511287798066;
inline constexpr double kEarthRadiusM = 6378137.0;  // sphere of the tile servers

struct WorldPoint {
  double x = 0.0, y = 0.0;  // pixels of the zoom-0 world, y down
};

// Latitudes beyond kMercatorLimitDeg land on the world's edge instead of at infinity.
WorldPoint worldFromGeo(double lat, double lon);
void geoFromWorld(const WorldPoint& p, double& lat, double& lon);
// Ground metres covered by one screen pixel at a latitude and a zoom.
double metresPerPixel(double lat, double zoom);
// The longest 1, 2 or 5 times a power of ten that is not above `maxM` (0 for nothing positive).
double niceScaleLengthM(double maxM);
// "500 m", "2 km", "1.5 km" style label of a length.
std::string lengthLabel(double metres);
// A grid line's label in the plane's units, with as many decimals as the spacing needs: metres in
// groups of three ("4 474 000 N", "441 500 E"), degrees with their hemisphere ("40.25° N", "3.5° W").
std::string gridLabel(double value, double spacing, bool degrees, bool easting);
// A tile address from a template with {z}, {x} and {y} (and an optional {s} server letter);
// false when the template lacks one of the three.
bool tileUrl(std::string_view urlTemplate, int z, int x, int y, std::string& url);

// The zoom (possibly fractional, clamped to the tile levels) at which a box of `worldWidth` by
// `worldHeight` zoom-0 pixels fills `viewWidth` by `viewHeight` screen pixels with a margin.
double zoomToFit(double worldWidth, double worldHeight, int viewWidth, int viewHeight);

}  // namespace pixtrail::gui
