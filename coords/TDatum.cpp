#include "coords/TDatum.hpp"

#include <cmath>

#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

TDatum::TDatum(const TDatum& other)
    : name(other.name),
      alternativeNames(other.alternativeNames),
      deviceDatumNumber(other.deviceDatumNumber),
      ecwName(other.ecwName),
      inverseFlattening(other.inverseFlattening),
      a(other.a),
      dX(other.dX),
      dY(other.dY),
      dZ(other.dZ) {
  deriveShape();
}

TDatum& TDatum::operator=(const TDatum& other) {
  if (this == &other) return *this;
  name = other.name;
  alternativeNames = other.alternativeNames;
  deviceDatumNumber = other.deviceDatumNumber;
  ecwName = other.ecwName;
  inverseFlattening = other.inverseFlattening;
  a = other.a;
  dX = other.dX;
  dY = other.dY;
  dZ = other.dZ;
  grid.reset();
  deriveShape();
  return *this;
}

void TDatum::deriveShape() {
  f = 1.0 / inverseFlattening;
  if (!(f >= 0)) fatalError(kDatumShapeError);
  e = std::sqrt(2 * f - f * f);
  e2 = e * e;
  ep2 = e2 / (1 - e2);
  b = std::sqrt(1 - e2) * a;
  c = a * a / b;
  e1 = (1 - std::sqrt(1 - e2)) / (1 + std::sqrt(1 - e2));
  alternativeNameList.clear();
  if (!alternativeNames.empty())
    for (std::string_view part : splitFields(alternativeNames, ';')) alternativeNameList.emplace_back(part);
}

}  // namespace pixtrail
