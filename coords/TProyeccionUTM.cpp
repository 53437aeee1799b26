// The UTM rules of the program, kept exactly, quirks included:
// - the zone comes from trunc(lon/6) - (lon < 0) + 31, so -6 falls in zone 29 and 180 in 61;
// - bands are exclusive below and inclusive above: the equator is in "M" (southern, with the
//   10 000 km false northing), 84 is still "X";
// - two edges give no usable grid position: longitude -180 gives zone 0 and latitude exactly -80
//   leaves the letter as it was (none, for a first point). By default -180 is taken as zone 1
//   (the meridian it shares with 180) and -80 as band "C", the band it bounds, so that every
//   projected point can be unprojected; UtmEdges::kExact keeps the described results;
// - no Norway or Svalbard exceptions;
// - the inverse refuses |northing| >= 9886785 with the program's message.
#include "coords/TProyeccionUTM.hpp"

#include <array>
#include <algorithm>
#include <cmath>

#include "coords/TListaDatums.hpp"
#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {
namespace {

constexpr double kDegreesPerZone = 6.0;
constexpr int kZoneOffset = 31;
constexpr double kZoneMeridianOffsetDeg = 183.0;

// Upper (inclusive) latitude of each 8-degree band, south to north, and its letter.
struct BandRow {
  double top;
  char letter;
};
constexpr std::array kBands = {
    BandRow{-72, 'C'}, BandRow{-64, 'D'}, BandRow{-56, 'E'}, BandRow{-48, 'F'}, BandRow{-40, 'G'},
    BandRow{-32, 'H'}, BandRow{-24, 'J'}, BandRow{-16, 'K'}, BandRow{-8, 'L'},  BandRow{0, 'M'},
    BandRow{8, 'N'},   BandRow{16, 'P'},  BandRow{24, 'Q'},  BandRow{32, 'R'},  BandRow{40, 'S'},
    BandRow{48, 'T'},  BandRow{56, 'U'},  BandRow{64, 'V'},  BandRow{72, 'W'},  BandRow{84, 'X'}};
constexpr double kSouthernmostBandBottom = -80.0;

constexpr ParameterDeclaration kUtmParameters[] = {
    {"zone", "Zone", 0, 60, 0},
    {"hemisphere", "Hemisphere", 0, 1, 0},  // 0 north, 1 south
    {"band", "Band", 0, 'Z', 0},            // a letter's code; 0 = from the latitude
    {"exact_edges", "Exact zone and band edges", 0, 1, 0},  // 1: UtmEdges::kExact
};
enum { kZone, kHemisphere, kBand, kExactEdges };

}  // namespace

constexpr double kMaxLongitudeForZone = 1.0e6;

int utmZone(double lon, UtmEdges edges) {
  // Out-of-range input gives a meaningless zone, but never an out-of-range conversion to int.
  if (std::isnan(lon)) return 0;
  if (lon == -kHalfTurnDeg && edges == UtmEdges::kUsable) return 1;
  lon = std::clamp(lon, -kMaxLongitudeForZone, kMaxLongitudeForZone);
  return static_cast<int>(lon / kDegreesPerZone) - (lon < 0 ? 1 : 0) + kZoneOffset;
}

char utmBandLetter(double lat, char current, UtmEdges edges) {
  if (lat > kBands.back().top) return 'Z';
  if (lat < kSouthernmostBandBottom) return 'A';
  if (lat == kSouthernmostBandBottom && edges == UtmEdges::kUsable) return kBands.front().letter;
  if (!(lat > kSouthernmostBandBottom)) return current;  // exactly -80, or NaN
  // The first band whose top is at or above lat. Compared with the whole-degree tops themselves,
  // so that an edge never lands in the wrong band through a division's rounding.
  for (const BandRow& band : kBands)
    if (lat <= band.top) return band.letter;
  return kBands.back().letter;
}

bool utmParameters(int zone, char letter, TMParameters& parameters) {
  if (letter < 'A' || letter > 'Z') return false;
  parameters.lon0 = zone * kDegreesPerZone - kZoneMeridianOffsetDeg;
  parameters.lat0 = 0.0;
  parameters.k0 = kUtmScaleFactor;
  parameters.falseEasting = kUtmFalseEasting;
  parameters.falseNorthing = letter <= 'M' ? kUtmSouthFalseNorthing : 0.0;
  return true;
}

bool geographicToUtm(const TCoord& geo, int sourceDatum, int targetDatum, GridCoord& out,
                     std::string& message, int forcedZone, char forcedLetter, UtmEdges edges) {
  TCoord position = geo;
  if (sourceDatum != targetDatum &&
      !datumTable().Transforma_Grados_Datum(position, sourceDatum, targetDatum, message))
    return false;
  const bool forced = forcedZone != 0;
  if (!forced && !std::isfinite(position.lon)) {
    appendMessage(message, "Invalid longitude");
    return false;
  }
  const int zone = forced ? forcedZone : utmZone(position.lon, edges);
  const char letter =
      forced && forcedLetter != 0 ? forcedLetter : utmBandLetter(position.lat, out.band, edges);
  TMParameters parameters;
  if (!utmParameters(zone, letter, parameters)) {
    appendMessage(message, "Invalid UTM band letter");
    return false;
  }
  GridCoord grid;
  if (!tmForward(parameters, ellipsoidOfDatum(targetDatum), position.lon, position.lat,
                 grid.x, grid.y))
    return false;
  grid.alt = geo.alt;
  grid.zone = zone;
  grid.band = letter;
  out = grid;
  return true;
}

bool utmToGeographic(const GridCoord& utm, int sourceDatum, int targetDatum, TCoord& out,
                     std::string& message) {
  if (!(std::fabs(utm.y) < kUtmNorthingLimit)) {
    appendMessage(message, "utm.y superior a 9886785");
    return false;
  }
  TMParameters parameters;
  if (!utmParameters(utm.zone, utm.band, parameters)) {
    appendMessage(message, "Invalid UTM band letter");
    return false;
  }
  TCoord position;
  if (!tmInverse(parameters, ellipsoidOfDatum(sourceDatum), utm.x, utm.y, position.lon,
                 position.lat)) {
    appendMessage(message, "error in TM_a_Grados");
    return false;
  }
  position.alt = utm.alt;
  if (sourceDatum != targetDatum &&
      !datumTable().Transforma_Grados_Datum(position, sourceDatum, targetDatum, message))
    return false;
  out = position;
  return true;
}

TProyeccionUTM::TProyeccionUTM() : TProyeccion(PlaneUnit::kMetres) { initialiseParameters(); }

int TProyeccionUTM::zone() const { return static_cast<int>(param(kZone)); }
char TProyeccionUTM::band() const { return static_cast<char>(param(kBand)); }
bool TProyeccionUTM::south() const { return param(kHemisphere) != 0; }

bool TProyeccionUTM::project(const TCoord& geo, int datum, GridCoord& out, std::string& message) const {
  return geographicToUtm(geo, datum, datum, out, message, zone(), band(),
                         param(kExactEdges) != 0 ? UtmEdges::kExact : UtmEdges::kUsable);
}

bool TProyeccionUTM::unproject(const GridCoord& grid, int datum, TCoord& out, std::string& message) const {
  GridCoord utm = grid;
  if (utm.zone == 0) utm.zone = zone();
  if (utm.band == 0) utm.band = band() != 0 ? band() : (south() ? 'M' : 'N');
  if (utm.zone < 1 || utm.zone > 61) {  // 61: what the zone rule gives for 180
    appendMessage(message, "Invalid UTM zone");
    return false;
  }
  return utmToGeographic(utm, datum, datum, out, message);
}

std::unique_ptr<TProyeccion> TProyeccionUTM::clone() const {
  return std::make_unique<TProyeccionUTM>(*this);
}
std::string TProyeccionUTM::shortName() const { return "UTM"; }
std::string TProyeccionUTM::secondName() const { return "Universal Transverse Mercator"; }
std::span<const ParameterDeclaration> TProyeccionUTM::parameterDeclarations() const {
  return kUtmParameters;
}

bool TProyeccionUTM::setParameterText(std::string_view key, std::string_view value, std::string& message) {
  if (equalsIgnoreCase(key, "band") && trim(value).size() == 1) {
    const char letter = toUpperAscii(trim(value))[0];
    if (letter >= 'A' && letter <= 'Z') return setParameter(key, letter, message);
  }
  return TProyeccion::setParameterText(key, value, message);
}

TProyeccionDefault::TProyeccionDefault() = default;
std::unique_ptr<TProyeccion> TProyeccionDefault::clone() const {
  return std::make_unique<TProyeccionDefault>(*this);
}
std::string TProyeccionDefault::shortName() const { return "Automatic"; }
std::string TProyeccionDefault::secondName() const { return "Automatic UTM zone"; }
std::span<const ParameterDeclaration> TProyeccionDefault::parameterDeclarations() const { return {}; }

}  // namespace pixtrail
