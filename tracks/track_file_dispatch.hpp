#pragma once
// Opening and saving tracks: the reader or writer is chosen by the file name's extension (compared
// without regard to case), first match wins. Names of the flight logbook bypass both.

#include <filesystem>
#include <string>
#include <string_view>

#include "tracks/TVolGPS.hpp"
#include "tracks/track_formats_foreign.hpp"

namespace pixtrail {

// "FBK:", "FBK|", "MDB|", "MDB:" (exact): tracks held in the flight logbook database.
bool isLogbookTrackName(std::string_view name);

// Fills `track` from the file and recalculates it; the track's file name becomes `file`.
// Unknown extension: "Unknown file format opening track: " and the extension.
bool openTrack(const std::filesystem::path& file, TVolGPS& track, const TrackFileSettings& settings,
               std::string& message);

// Saves `track` in the format of `file`'s extension (or natively when the track came from a PLE
// file). The track's file name becomes the name actually written.
// Unknown extension: "Unknown file format saving tracks: " and the extension.
bool saveTrack(TVolGPS& track, const std::filesystem::path& file, const TrackFileSettings& settings,
               std::string& message);

// The native reader and writer in the dispatchers' shape.
bool readNativeTrackFile(const std::filesystem::path& file, TVolGPS& track, const TrackFileSettings& settings,
                         std::string& message);
bool writeNativeTrackFile(const TVolGPS& track, const std::filesystem::path& file,
                          const TrackFileSettings& settings, std::string& message);

// The extension without its dot, as given ("" when none).
std::string extensionOf(const std::filesystem::path& file);

}  // namespace pixtrail
