#pragma once
// Comma-separated tracks with a header row naming the columns, as data loggers and gpsbabel's
// unicsv write them ("No,Latitude,Longitude,Altitude,Date,Time", "lat,lon,ele,time", ...). The
// separator is the one of comma, semicolon, tab or bar the header uses most; fields may be quoted.
// Column names are compared without regard to case; an altitude column may name its unit ("ele
// Ft"). Rows without a readable position are skipped and counted. Positions are WGS 84.
#include <string>
#include <string_view>
#include <vector>

#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// Splits one line at `separator`; a field in double quotes may hold the separator and "" for ".
std::vector<std::string> splitCsvLine(std::string_view line, char separator);

bool readCsvTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                      std::string& message);

}  // namespace pixtrail
