#pragma once
// GPS values as EXIF rationals, by the system's rules: thousandths when there is a fraction, else
// a whole number, both truncated toward zero; read back, a numerator of 1 or less is the value.

#include <cstddef>
#include <string>

namespace pixtrail {

// The value of the rational at `index` of little-endian RATIONAL data (0 when it is missing).
double rationalValue(const std::string& data, std::size_t index);
// Appends x as one little-endian rational. With `decimal`, a value that is a whole number of
// thousandths but lies a hair below it in binary (465.4 is 465.39999...) keeps its last unit.
void appendRational(std::string& out, double x, bool decimal);
// A single-precision value as the decimal it was read from: the shortest text that gives back
// the same float ("465.4", not 465.399993896484375).
double decimalOf(float x);
// Degrees, minutes and seconds of v >= 0 as three rationals. With `decimal` the split is done in
// whole thousandths of a second, so that 40.4 degrees gives 40 24 0 rather than 40 23 59.999.
std::string degreesMinutesSeconds(double v, bool decimal);

}  // namespace pixtrail
