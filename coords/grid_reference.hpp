#pragma once
// Letter grid references of the British and Irish national grids.
// Method: the 100 km squares are lettered from a 5 x 5 table without "I" whose rows, south to
// north, are "VWXYZ", "QRSTU", "LMNOP", "FGHJK", "ABCDE". British references take two letters:
// the first names the 500 km square (the grid's false origin lies in "S"), the second the 100 km
// square inside it ("SV" holds easting 0-100 km, northing 0-100 km). Irish references take one
// letter, the 100 km square itself ("V" at the origin). Then the easting and the northing inside
// the square, each with half the digits (1 to 5: 10 km down to 1 m), truncated, not rounded,
// as the Ordnance Survey writes them: "TG 51409 13177".

#include <string>

namespace pixtrail {

bool britishGridReference(double easting, double northing, int digits, std::string& out,
                          std::string& message);
bool irishGridReference(double easting, double northing, int digits, std::string& out,
                        std::string& message);

}  // namespace pixtrail
