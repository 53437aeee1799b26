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

// Whether saveTrack has a writer for `file`'s extension, to be asked before work that a save
// failing at the end would waste.
bool isTrackSaveExtension(const std::filesystem::path& file);

// Saves segment k of `track` as a native track of its own named after the track plus
// "_subtrack.TRK"; an existing file of that name is not replaced. `written` receives the name.
bool exportSegment(const TVolGPS& track, std::size_t k, const TrackFileSettings& settings,
                   std::filesystem::path& written, std::string& message);

// The name saveTrack writes for `file` (the IGC and native writers change the extension).
std::filesystem::path savedTrackFileName(const TVolGPS& track, const std::filesystem::path& file);

// The native reader and writer in the dispatchers' shape.
bool readNativeTrackFile(const std::filesystem::path& file, TVolGPS& track, const TrackFileSettings& settings,
                         std::string& message);
bool writeNativeTrackFile(const TVolGPS& track, const std::filesystem::path& file,
                          const TrackFileSettings& settings, std::string& message);

// The extension without its dot, as given ("" when none).
std::string extensionOf(const std::filesystem::path& file);

}  // namespace pixtrail
