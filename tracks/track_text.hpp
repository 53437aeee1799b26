#pragma once
// Text conversions shared by the native track, waypoint and route files: the date "DD-MMM-YY", the
// time "HH:MM:SS", the time offset "[-]HH:MM:SS", the file's coordinate modes (three blank-separated
// fields per position) and the conversion between the file's datum and the working datum.

#include <string>
#include <string_view>

#include "core/TCoord.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// Coordinate modes of the "U" line: modes 0 to 4 are the angle formats of the coordinate texts
// (decimal degrees, degrees and minutes, degrees minutes seconds, grads from Paris, signed
// degrees) with "-" in the first field; mode 5 is UTM, "30T 440298 4474257": zone and band, easting
// and northing in whole metres.
enum FileCoordinateMode : int {
  kFileDegrees = 0,
  kFileDegreesMinutes = 1,
  kFileDegreesMinutesSeconds = 2,
  kFileParisGrads = 3,
  kFileSignedDegrees = 4,
  kFileUtm = 5,
};
inline constexpr int kFileCoordinateModeCount = 6;
bool isFileCoordinateMode(int mode);

// How a file gives its positions: the datum (index in the datum table) and the coordinate mode.
struct FileCoordinates {
  int datum = kDatumWgs84;
  int mode = kFileDegrees;
};

// Appends the three fields of `position` (held in the working datum) to `out`, blank-separated.
// False with a message when the position cannot be given in the mode (UTM near the poles).
bool appendPositionFields(const TCoord& position, const FileCoordinates& file, std::string& out,
                          std::string& message);
// Reads the three fields back into the working datum. The altitude of `position` is kept.
bool readPositionFields(std::string_view zone, std::string_view first, std::string_view second,
                        const FileCoordinates& file, TCoord& position, std::string& message);

// "DD-MMM-YY": month "NUL" for an undefined month, year modulo 100.
void appendPointDate(const TPuntTiempo& time, std::string& out);
// Whether appendPointDate's two-digit year reads back as the same year (1951 to 2050; dates
// without day or month keep their year as written and always pass).
bool pointDateFits(const TPuntTiempo& time);
inline constexpr int kFirstTwoDigitYear = 1951;
inline constexpr int kLastTwoDigitYear = 2050;
// "HH:MM:SS", seconds truncated.
void appendPointTime(const TPuntTiempo& time, std::string& out);
// Date by fixed positions; years below 51 are 20YY, from 51 on 19YY (only for a defined date).
// False on an unknown month name; `time` keeps its time fields.
bool parsePointDate(std::string_view text, TPuntTiempo& time);
// Optional leading "-" negating the hours; valid only below 24 h, 60 min, 60 s.
bool parsePointTime(std::string_view text, TPuntTiempo& time);
// "[-]HH:MM:SS" of a signed offset in seconds.
std::string formatTimeOffset(double seconds);
bool parseTimeOffset(std::string_view text, double& seconds);

// Shortest text that reads back to the same float ("12.5", "-1", "1e-05").
void appendReal(float value, std::string& out);
void appendDouble(double value, std::string& out);
void appendInteger(long long value, std::string& out);

}  // namespace pixtrail
