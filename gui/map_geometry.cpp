#include "gui/map_geometry.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/angles.hpp"

namespace pixtrail::gui {

namespace {
constexpr double kFitMargin = 0.9;  // leave a tenth of the view around what is fitted
}  // namespace

WorldPoint worldFromGeo(double lat, double lon) {
  const double clampedLat = std::clamp(lat, -kMercatorLimitDeg, kMercatorLimitDeg);
  const double phi = clampedLat * kPi / kHalfTurnDeg;
  WorldPoint p;
  p.x = (lon + kHalfTurnDeg) / kFullTurnDeg * kTileSizePx;
  p.y = (1.0 - std::log(std::tan(phi) + 1.0 / std::cos(phi)) / kPi) / 2.0 * kTileSizePx;
  return p;
}

void geoFromWorld(const WorldPoint& p, double& lat, double& lon) {
  lon = p.x / kTileSizePx * kFullTurnDeg - kHalfTurnDeg;
  const double n = kPi * (1.0 - 2.0 * p.y / kTileSizePx);
  lat = std::atan(std::sinh(n)) * kHalfTurnDeg / kPi;
}

double metresPerPixel(double lat, double zoom) {
  const double equatorM = 2.0 * kPi * kEarthRadiusM;
  return equatorM * std::cos(lat * kPi / kHalfTurnDeg) / (kTileSizePx * std::exp2(zoom));
}

double niceScaleLengthM(double maxM) {
  if (!(maxM > 0.0) || !std::isfinite(maxM)) return 0.0;
  const double power = std::pow(10.0, std::floor(std::log10(maxM)));
  for (const double step : {5.0, 2.0, 1.0})
    if (step * power <= maxM * (1.0 + 1e-12)) return step * power;
  return power;
}

std::string lengthLabel(double metres) {
  char text[32];
  if (metres >= 1000.0) {
    const double km = metres / 1000.0;
    std::snprintf(text, sizeof text, km == std::floor(km) ? "%.0f km" : "%.1f km", km);
  } else {
    std::snprintf(text, sizeof text, metres == std::floor(metres) ? "%.0f m" : "%.1f m", metres);
  }
  return text;
}

std::string gridLabel(double value, double spacing, bool degrees, bool easting) {
  const int decimals = spacing > 0.0 ? std::clamp(static_cast<int>(-std::floor(std::log10(spacing) + 1e-9)), 0, 8) : 0;
  char text[64];
  if (degrees) {
    const char hemisphere = easting ? (value < 0 ? 'W' : 'E') : (value < 0 ? 'S' : 'N');
    std::snprintf(text, sizeof text, "%.*f\xC2\xB0 %c", decimals, std::fabs(value), hemisphere);
    return text;
  }
  std::snprintf(text, sizeof text, "%.*f", decimals, std::fabs(value));
  // Thousands apart by spaces: a long row of digits is misread at a glance.
  std::string digits = text;
  const std::size_t point = std::min(digits.find('.'), digits.size());
  for (std::size_t at = point; at > 3; at -= 3) digits.insert(at - 3, " ");
  return (value < 0 ? "-" : "") + digits + (easting ? " E" : " N");
}

bool tileUrl(std::string_view urlTemplate, int z, int x, int y, std::string& url) {
  std::string out(urlTemplate);
  bool seenZ = false, seenX = false, seenY = false;
  auto replace = [&out](std::string_view key, const std::string& value) {
    bool found = false;
    for (std::size_t at = out.find(key); at != std::string::npos; at = out.find(key, at + value.size())) {
      out.replace(at, key.size(), value);
      found = true;
    }
    return found;
  };
  seenZ = replace("{z}", std::to_string(z));
  seenX = replace("{x}", std::to_string(x));
  seenY = replace("{y}", std::to_string(y));
  // Servers behind {s} share the load; the same tile always goes to the same one so caches agree.
  static constexpr char kServers[] = {'a', 'b', 'c'};
  replace("{s}", std::string(1, kServers[static_cast<unsigned>(x + y) % 3]));
  if (!seenZ || !seenX || !seenY) return false;
  url = std::move(out);
  return true;
}

double zoomToFit(double worldWidth, double worldHeight, int viewWidth, int viewHeight) {
  if (viewWidth <= 0 || viewHeight <= 0) return kMinZoom;
  const double w = std::max(worldWidth, 1e-9), h = std::max(worldHeight, 1e-9);
  const double scale = std::min(viewWidth * kFitMargin / w, viewHeight * kFitMargin / h);
  return std::clamp(std::log2(scale), static_cast<double>(kMinZoom), static_cast<double>(kMaxZoom));
}

}  // namespace pixtrail::gui
