#include "coords/TProyeccion.hpp"

#include <cstdio>

#include "coords/TListaDatums.hpp"
#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {
TProyeccion::TProyeccion(PlaneUnit unit) : unit_(unit) {}

TProyeccion::~TProyeccion() = default;

std::vector<std::string> TProyeccion::writeParameters() const {
  std::vector<std::string> fields;
  const auto declarations = parameterDeclarations();
  for (std::size_t i = 0; i < declarations.size(); ++i) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.10g", parameters_[i]);
    fields.emplace_back(buffer);
  }
  return fields;
}

bool TProyeccion::readParameters(const std::vector<std::string>& fields) {
  const auto declarations = parameterDeclarations();
  if (fields.size() < declarations.size()) return false;
  std::array<double, kMaxParameters> values = parameters_;
  for (std::size_t i = 0; i < declarations.size(); ++i) {
    const auto value = parseDouble(fields[i]);
    if (!value || *value < declarations[i].minimum || *value > declarations[i].maximum) return false;
    values[i] = *value;
  }
  parameters_ = values;
  parametersChanged();
  return true;
}

std::string TProyeccion::description(bool maintenanceMode) const {
  if (!maintenanceMode) return secondName();
  return secondName() + (unit_ == PlaneUnit::kMetres ? " meters" : " degrees");
}

std::span<const ParameterDeclaration> TProyeccion::parameterDeclarations() const { return {}; }

bool TProyeccion::projectPoint(const TCoord& pointPosition, int datum, GridCoord& out,
                               std::string& message) const {
  GridCoord grid;
  if (!project(pointPosition, datum, grid, message)) return false;
  grid.alt = pointPosition.alt;
  out = grid;
  return true;
}

bool TProyeccion::unprojectPoint(const GridCoord& grid, int datum, TCoord& out, std::string& message) const {
  TCoord position;
  if (!unproject(grid, datum, position, message)) return false;
  position.alt = grid.alt;
  out = position;
  return true;
}

void TProyeccion::localScaleFactors(const TCoord&, int, double& kx, double& ky) const {
  kx = 1.0;
  ky = 1.0;
}

bool TProyeccion::gridReference(const GridCoord&, int, std::string&, std::string& message) const {
  appendMessage(message, "No grid reference for " + shortName());
  return false;
}

void TProyeccion::initialiseParameters() {
  const auto declarations = parameterDeclarations();
  if (declarations.size() > kMaxParameters) fatalError("TProyeccion: too many parameters");
  for (std::size_t i = 0; i < declarations.size(); ++i) parameters_[i] = declarations[i].initial;
  parametersChanged();
}

bool TProyeccion::setParameter(std::string_view key, double value, std::string& message) {
  const auto declarations = parameterDeclarations();
  for (std::size_t i = 0; i < declarations.size(); ++i) {
    if (!equalsIgnoreCase(declarations[i].key, key)) continue;
    if (!(value >= declarations[i].minimum && value <= declarations[i].maximum)) {
      char range[96];
      std::snprintf(range, sizeof range, " must lie between %g and %g", declarations[i].minimum,
                    declarations[i].maximum);
      appendMessage(message, std::string(declarations[i].label) + range);
      return false;
    }
    parameters_[i] = value;
    parametersChanged();
    return true;
  }
  appendMessage(message, "Unknown parameter " + std::string(key) + " for " + shortName());
  return false;
}

bool TProyeccion::setParameterText(std::string_view key, std::string_view value, std::string& message) {
  const auto number = parseDouble(value);
  if (!number) {
    appendMessage(message, "Invalid number for " + std::string(key) + ": " + std::string(value));
    return false;
  }
  return setParameter(key, *number, message);
}

bool TProyeccion::parameter(std::string_view key, double& value) const {
  const auto declarations = parameterDeclarations();
  for (std::size_t i = 0; i < declarations.size(); ++i) {
    if (equalsIgnoreCase(declarations[i].key, key)) {
      value = parameters_[i];
      return true;
    }
  }
  return false;
}

void TProyeccion::useFixedDatum(std::string_view datumName) {
  fixedDatumName_ = datumName;
  const int index = datumTable().findByName(datumName);
  fixedDatum_ = index < 0 ? kDatumNotFound : index;
}

bool TProyeccion::workingDatumFor(int datum, int& projectionDatum, std::string& message) const {
  if (fixedDatum_ == kDatumNotFound) {
    appendMessage(message, "Datum not found: " + fixedDatumName_);
    return false;
  }
  projectionDatum = fixedDatum_ == kWorkingDatum ? datum : fixedDatum_;
  return true;
}

bool TProyeccion::toOwnDatum(TCoord& position, int datum, int& own, std::string& message) const {
  return workingDatumFor(datum, own, message) &&
         datumTable().Transforma_Grados_Datum(position, datum, own, message);
}

bool TProyeccion::fromOwnDatum(TCoord& position, int own, int datum, std::string& message) const {
  return datumTable().Transforma_Grados_Datum(position, own, datum, message);
}

EllipsoidShape ellipsoidOfDatum(int datum) {
  const TDatum& row = datumTable().datum(datum);
  return EllipsoidShape::from(row.a, row.e2, row.ep2, row.e1);
}

double meridianArcOnDatum(double lat, int datum) {
  return meridianArc(lat * kRadPerDeg, ellipsoidOfDatum(datum));
}

double footpointLatitudeOnDatum(double arcM, int datum) {
  return footpointLatitude(arcM, ellipsoidOfDatum(datum)) * kDegPerRad;
}

bool primeVerticalRadiusOnDatum(double lat, int datum, double& radiusM) {
  return primeVerticalRadius(lat * kRadPerDeg, ellipsoidOfDatum(datum), radiusM);
}

}  // namespace pixtrail
