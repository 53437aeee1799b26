#include "coords/TProyeccionTransversalMercator.hpp"

#include <array>

#include "coords/TListaDatums.hpp"
#include "coords/grid_reference.hpp"
#include "core/SafeFile.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {
namespace {

constexpr ParameterDeclaration kTMParameters[] = {
    {"lon0", "Longitude of Origin", -180, 180, 0},
    {"lat0", "Latitude of Origin", -90, 90, 0},
    {"k0", "Scale Factor", 0.1, 10, 1},
    {"fe", "False Easting", -1e8, 1e8, 0},
    {"fn", "False Northing", -1e8, 1e8, 0},
};
enum { kLon0, kLat0, kK0, kFalseEasting, kFalseNorthing };

constexpr char kFileProjectionWord[] = "Transveral Mercator";  // the files' own spelling
constexpr char kBadFileMessage[] = "Invalid Transverse Mercator file";

}  // namespace

TProyeccionTransversalMercator::TProyeccionTransversalMercator() : TProyeccion(PlaneUnit::kMetres) {
  initialiseParameters();
}

TProyeccionTransversalMercator::TProyeccionTransversalMercator(const TMParameters& fixed,
                                                               std::string_view datumName)
    : TProyeccion(PlaneUnit::kMetres), tm_(fixed) {
  useFixedDatum(datumName);
}

void TProyeccionTransversalMercator::parametersChanged() {
  tm_ = {param(kLon0), param(kLat0), param(kK0), param(kFalseEasting), param(kFalseNorthing)};
}

bool TProyeccionTransversalMercator::project(const TCoord& geo, int datum, GridCoord& out,
                                             std::string& message) const {
  return forwardVia(geo, datum, out, message, [this](const TCoord& p, int own, GridCoord& grid) {
    return tmForward(tm_, ellipsoidOfDatum(own), p.lon, p.lat, grid.x, grid.y);
  });
}

bool TProyeccionTransversalMercator::unproject(const GridCoord& grid, int datum, TCoord& out,
                                               std::string& message) const {
  return inverseVia(
      grid, datum, out, message,
      [this](const GridCoord& g, int own, TCoord& p) {
        return tmInverse(tm_, ellipsoidOfDatum(own), g.x, g.y, p.lon, p.lat);
      },
      "error in TM_a_Grados");
}

std::unique_ptr<TProyeccion> TProyeccionTransversalMercator::clone() const {
  return std::make_unique<TProyeccionTransversalMercator>(*this);
}
std::string TProyeccionTransversalMercator::shortName() const { return "Transversal Mercator"; }
std::string TProyeccionTransversalMercator::secondName() const { return "Transversal Mercator"; }
std::span<const ParameterDeclaration> TProyeccionTransversalMercator::parameterDeclarations() const {
  return kTMParameters;
}

bool TProyeccion_TM_BNG::gridReference(const GridCoord& grid, int digits, std::string& out,
                                       std::string& message) const {
  return britishGridReference(grid.x, grid.y, digits, out, message);
}

bool TProyeccion_TM_Irish::gridReference(const GridCoord& grid, int digits, std::string& out,
                                         std::string& message) const {
  return irishGridReference(grid.x, grid.y, digits, out, message);
}

bool TProyeccion_TM_File::load(const std::filesystem::path& file, std::string& message) {
  std::string text;
  if (!readWholeFile(file, text, message)) return false;
  return parse(text, message);
}

bool TProyeccion_TM_File::parse(std::string_view text, std::string& message) {
  TMParameters parameters;
  std::string name, datumName;
  bool versionSeen = false, projectionSeen = false;
  auto reject = [&](std::string_view why) {
    appendMessage(message, std::string(kBadFileMessage) + ": " + std::string(why));
    return false;
  };
  // Number-valued keys and where each one goes.
  const std::array<std::pair<std::string_view, double*>, 5> numbers = {{
      {"LON_ORIGIN", &parameters.lon0}, {"LAT_ORIGIN", &parameters.lat0},
      {"SCALE_FACTOR", &parameters.k0}, {"FN", &parameters.falseNorthing},
      {"FE", &parameters.falseEasting}}};
  for (std::string_view line : splitFields(text, '\n')) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (trim(line).empty()) continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return reject(line);
    const std::string key = toUpperAscii(trim(line.substr(0, equals)));
    const std::string_view value = trim(line.substr(equals + 1));
    if (key == "VERSION") {
      if (parseInteger(value) != 1) return reject("VERSION must be 1");
      versionSeen = true;
    } else if (key == "PROJECTION") {
      if (value != kFileProjectionWord) return reject(value);
      projectionSeen = true;
    } else if (key == "NAME") {
      name = value;
    } else if (key == "PREFERED_DATUM") {
      datumName = value;
    } else {
      bool known = false;
      for (const auto& [numberKey, target] : numbers) {
        if (key != numberKey) continue;
        const auto number = parseDouble(value);
        if (!number) return reject(line);
        *target = *number;
        known = true;
      }
      if (!known) return reject(key);
    }
  }
  if (!versionSeen || !projectionSeen) return reject("VERSION and PROJECTION are required");
  if (!(parameters.k0 > 0)) return reject("SCALE_FACTOR");
  if (!datumName.empty() && datumTable().findByName(datumName) < 0)
    return reject("datum not found: " + datumName);
  name_ = name;
  setFixedParameters(parameters);
  if (datumName.empty()) usePositionDatum();
  else useFixedDatum(datumName);
  return true;
}

std::unique_ptr<TProyeccion> TProyeccion_TM_File::clone() const {
  return std::make_unique<TProyeccion_TM_File>(*this);
}

}  // namespace pixtrail
