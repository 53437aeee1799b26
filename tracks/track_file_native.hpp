#pragma once
// The native track file (extension TRK, or PLE for the same format): 8-bit text, one record per
// line keyed by its first letter, CR LF line ends. Header lines first, then one "T" line per point,
// each followed by its course-point ("t") and linked-object lines when it has them.

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "tracks/TVolGPS.hpp"
#include "tracks/track_text.hpp"

namespace pixtrail {

struct NativeTrackWriteOptions {
  FileCoordinates file;   // datum and coordinate mode of the file setting
  bool preferGpsAltitude = true;
};

// Up to this many blank-separated fields of a point line are read.
inline constexpr std::size_t kMaxPointFields = 100;
inline constexpr std::string_view kAberrantPointsMessage = "There are some aberrant points in this track";

// Fills `point` from one "T" line; false (point partly filled, to be dropped) when unusable.
bool parsePointLine(std::string_view line, const FileCoordinates& file, TPuntVol& point);
// Appends the "T" line of `point`, without line end.
bool appendPointLine(const TPuntVol& point, const FileCoordinates& file, bool preferGpsAltitude,
                     std::string& out, std::string& message);

// The name the native writer uses: the extensions "PLE" and "TRK" are kept as typed (any case),
// any other becomes "TRK".
std::filesystem::path nativeTrackFileName(const std::filesystem::path& requested);

// The whole file as text.
bool formatNativeTrack(const TVolGPS& track, const NativeTrackWriteOptions& options, std::string& out,
                       std::string& message);

// Parses file text into `track` (appending points). Bad point lines are dropped with
// kAberrantPointsMessage; the points that parse are kept. `file` receives the file's datum and mode.
bool parseNativeTrack(std::string_view text, TVolGPS& track, FileCoordinates& file, std::string& message);
// The same from an open file, read in chunks so that memory holds the points, not the text as well.
bool readNativeTrackStream(std::FILE* in, const std::string& fileName, TVolGPS& track, FileCoordinates& file,
                           std::string& message);

}  // namespace pixtrail
