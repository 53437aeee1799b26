#pragma once
// One row of the datum table: a geodetic datum's ellipsoid (a and 1/f, with the shape constants
// derived from them) and its geocentric shift dX, dY, dZ to WGS 84, in metres; optionally an NTv2
// grid to WGS 84 that the table attaches and a copy never takes.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "coords/TDatumFileNTV2.hpp"

namespace pixtrail {

// The text deriveShape stops with, and a table load reports for a row that would make it stop;
// it names the method by its old name, and users compare it byte for byte.
inline constexpr char kDatumShapeError[] = "Error de sqrt en TDatum::Calcula()";

class TDatum {
 public:
  std::string name;
  std::string alternativeNames;  // ";"-separated
  std::vector<std::string> alternativeNameList;
  std::int32_t deviceDatumNumber = 0;
  std::string ecwName;
  double inverseFlattening = 298.257223563;
  double a = 6378137.0;
  double dX = 0, dY = 0, dZ = 0;
  // Derived by deriveShape(); f = 1 / inverseFlattening.
  double e = 0, e2 = 0, ep2 = 0, b = 0, c = 0, e1 = 0, f = 0;
  std::unique_ptr<TDatumFileNTV2> grid;

  TDatum() { deriveShape(); }
  // A copy takes the names, the five numbers and the device number; never the grid.
  TDatum(const TDatum& other);
  TDatum& operator=(const TDatum& other);
  TDatum(TDatum&&) = default;
  TDatum& operator=(TDatum&&) = default;

  // Derives e, e2, ep2, b, c, e1 and the alternative name list. A negative (or NaN) flattening
  // stops the program.
  void deriveShape();
};

}  // namespace pixtrail
