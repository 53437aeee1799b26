#pragma once
// OziExplorer waypoint files ("OziExplorer Waypoint File Version 1.1"): four header lines
// (title, datum name, two reserved lines), then one waypoint per line:
//   number, name, latitude, longitude, date (days since 1899-12-30), symbol, status (1),
//   display format, foreground colour, background colour, description, pointer direction,
//   Garmin display format, proximity distance (m), altitude (feet, -777: none), font size,
//   font style, symbol size.
// Commas inside names and descriptions are stored as the character 209. The file is recognised by
// its title in the waypoint file reader (TBalizas.cpp), which calls the line reader here.
#include <string>

#include "tracks/TBalizas.hpp"

namespace pixtrail {

// Reading is readOziExplorerWaypointLine (declared in TBalizas.hpp): the position comes back in
// the file's datum, as written.
std::string oziWaypointFileText(const TBalizas& file);

}  // namespace pixtrail
