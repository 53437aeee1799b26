#include "coords/grid_reference.hpp"

#include <cmath>
#include <cstdio>

#include "core/messages.hpp"

namespace pixtrail {
namespace {

constexpr char kLetterRows[5][6] = {"VWXYZ", "QRSTU", "LMNOP", "FGHJK", "ABCDE"};  // south first
constexpr double kSquareM = 100000.0;
constexpr int kSquaresPerBlock = 5;
// The British false origin lies in the first letter's square "S": row 1, column 2.
constexpr int kBritishOriginRow = 1;
constexpr int kBritishOriginColumn = 2;

bool letterAt(int row, int column, char& letter) {
  if (row < 0 || row >= kSquaresPerBlock || column < 0 || column >= kSquaresPerBlock) return false;
  letter = kLetterRows[row][column];
  return true;
}

int floorDiv(int value, int divisor) {
  return value >= 0 ? value / divisor : -((-value + divisor - 1) / divisor);
}

bool digitsWithinSquare(double easting, double northing, int digits, std::string& out,
                        std::string& message, int& squareE, int& squareN) {
  if (digits < 2 || digits > 10 || digits % 2 != 0) {
    appendMessage(message, "A grid reference takes 2, 4, 6, 8 or 10 digits");
    return false;
  }
  if (!std::isfinite(easting) || !std::isfinite(northing) || std::fabs(easting) > 1e8 ||
      std::fabs(northing) > 1e8) {
    appendMessage(message, "Position outside the grid");
    return false;
  }
  squareE = static_cast<int>(std::floor(easting / kSquareM));
  squareN = static_cast<int>(std::floor(northing / kSquareM));
  const int perAxis = digits / 2;
  const double unit = std::pow(10.0, 5 - perAxis);
  const int e = static_cast<int>(std::floor((easting - squareE * kSquareM) / unit));
  const int n = static_cast<int>(std::floor((northing - squareN * kSquareM) / unit));
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, " %0*d %0*d", perAxis, e, perAxis, n);
  out = buffer;
  return true;
}

}  // namespace

bool britishGridReference(double easting, double northing, int digits, std::string& out,
                          std::string& message) {
  std::string numbers;
  int squareE = 0, squareN = 0;
  if (!digitsWithinSquare(easting, northing, digits, numbers, message, squareE, squareN)) return false;
  char first = 0, second = 0;
  if (!letterAt(kBritishOriginRow + floorDiv(squareN, kSquaresPerBlock),
                kBritishOriginColumn + floorDiv(squareE, kSquaresPerBlock), first) ||
      !letterAt(squareN - kSquaresPerBlock * floorDiv(squareN, kSquaresPerBlock),
                squareE - kSquaresPerBlock * floorDiv(squareE, kSquaresPerBlock), second)) {
    appendMessage(message, "Position outside the grid");
    return false;
  }
  out = std::string{first, second} + numbers;
  return true;
}

bool irishGridReference(double easting, double northing, int digits, std::string& out,
                        std::string& message) {
  std::string numbers;
  int squareE = 0, squareN = 0;
  if (!digitsWithinSquare(easting, northing, digits, numbers, message, squareE, squareN)) return false;
  char letter = 0;
  if (!letterAt(squareN, squareE, letter)) {
    appendMessage(message, "Position outside the grid");
    return false;
  }
  out = std::string{letter} + numbers;
  return true;
}

}  // namespace pixtrail
