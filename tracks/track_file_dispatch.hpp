#pragma once
// Opening and saving track, waypoint and route files. Every format is one row of one table: its
// extensions, its name, the kind of data it holds, its text codecs and how a save names and
// replaces the file. The dispatcher reads the file (whole, streamed or unpacked, as the row says),
// hands the text to the row's reader, and writes what the row's writer produces through a
// temporary file and a rename. Extensions are compared without regard to case; first match wins.

#include <cstdio>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "tracks/TBalizas.hpp"
#include "tracks/TRuta.hpp"
#include "tracks/TVolGPS.hpp"
#include "tracks/track_file_settings.hpp"

namespace pixtrail {

enum class DataKind { Track, Waypoints, Routes };

// How a save names the file and what it keeps of the one it replaces.
enum class SavePolicy {
  AsNamed,   // the name as given
  FlightLog, // the extension becomes the row's first (in any case already), and the track's own
             // backup flag also keeps the old log as NAME.bak
  Native,    // "PLE" and "TRK" kept as typed, any other extension becomes "TRK"
};

// How the dispatcher hands a file to the reader.
enum class Packing {
  Text,    // the whole file as text
  Stream,  // the open file, read piecewise (memory grows with the points, not with the text)
  Zip,     // the first entry of a zip archive, unpacked in memory, as text
  Unread,  // not read at all: the reader only explains why it cannot read the format
};

// What a reader gets: the text (Text and Zip) or the open file (Stream), and the file's name for
// its messages.
struct FileInput {
  std::string_view text;
  std::FILE* stream = nullptr;
  std::string name;
};

using TrackReader = bool (*)(const FileInput& in, const TrackFileSettings& settings, TVolGPS& track,
                             std::string& message);
using TrackWriter = bool (*)(const TVolGPS& track, const TrackFileSettings& settings, std::string& out,
                             std::string& message);
using WaypointReader = bool (*)(const FileInput& in, const TrackFileSettings& settings, TBalizas& waypoints,
                                std::string& message);
using WaypointWriter = bool (*)(const TBalizas& waypoints, const TrackFileSettings& settings, std::string& out,
                                std::string& message);
using RouteReader = bool (*)(const FileInput& in, const TrackFileSettings& settings, TRutas& routes,
                             std::string& message);
using RouteWriter = bool (*)(const TRutas& routes, const TrackFileSettings& settings, std::string& out,
                             std::string& message);

// One format. Only the codecs of its kind are set; a null reader or writer means the format is
// not opened or not saved. Extensions are blank-separated; "*" takes any name of the row's kind
// that no row before it takes (waypoint and route files are read by content, whatever the name).
struct DataFormat {
  std::string_view extensions;
  std::string_view name;
  DataKind kind = DataKind::Track;
  Packing packing = Packing::Text;
  SavePolicy save = SavePolicy::AsNamed;
  TrackReader readTrack = nullptr;
  TrackWriter writeTrack = nullptr;
  WaypointReader readWaypoints = nullptr;
  WaypointWriter writeWaypoints = nullptr;
  RouteReader readRoutes = nullptr;
  RouteWriter writeRoutes = nullptr;

  bool opens() const { return readTrack || readWaypoints || readRoutes; }
  bool saves() const { return writeTrack || writeWaypoints || writeRoutes; }
};

// Every format, in the order the dispatchers try them.
std::span<const DataFormat> dataFormats();

// The first row of `kind` that names `file`'s extension (or takes any name); nullptr when none.
const DataFormat* findDataFormat(const std::filesystem::path& file, DataKind kind);

// What `file` holds by its extension: waypoints or routes when a row of those kinds names it,
// else a track (tracks come first, so a GPX file is a track).
DataKind dataKindOf(const std::filesystem::path& file);

// "FBK:", "FBK|", "MDB|", "MDB:" (exact): tracks held in the flight logbook database.
bool isLogbookTrackName(std::string_view name);

// Fills `track` from the file and recalculates it; the track's file name becomes `file`.
// Unknown extension: "Unknown file format opening track: " and the extension.
bool openTrack(const std::filesystem::path& file, TVolGPS& track, const TrackFileSettings& settings,
               std::string& message);

// Saves `track` in the format of `file`'s extension (or natively when the track came from a PLE
// file, unless the name asks for a flight log). The track's file name becomes the name written.
// Unknown extension: "Unknown file format saving tracks: " and the extension.
bool saveTrack(TVolGPS& track, const std::filesystem::path& file, const TrackFileSettings& settings,
               std::string& message);

// Whether saveTrack has a writer for `file`'s extension, to be asked before work that a save
// failing at the end would waste.
bool isTrackSaveExtension(const std::filesystem::path& file);

// The name saveTrack writes for `file` (the flight log and native writers change the extension).
std::filesystem::path savedTrackFileName(const TVolGPS& track, const std::filesystem::path& file);

// Saves segment k of `track` as a native track of its own named after the track plus
// "_subtrack.TRK"; an existing file of that name is not replaced. `written` receives the name.
bool exportSegment(const TVolGPS& track, std::size_t k, const TrackFileSettings& settings,
                   std::filesystem::path& written, std::string& message);

// Waypoint and route files; the file name of the set read becomes `file`. A name no row of the
// kind knows is read as the system's own file (which also recognises foreign ones by content).
bool openWaypoints(const std::filesystem::path& file, TBalizas& waypoints, const TrackFileSettings& settings,
                   std::string& message);
bool saveWaypoints(const TBalizas& waypoints, const std::filesystem::path& file, const TrackFileSettings& settings,
                   std::string& message);
bool openRoutes(const std::filesystem::path& file, TRutas& routes, const TrackFileSettings& settings,
                std::string& message);
bool saveRoutes(const TRutas& routes, const std::filesystem::path& file, const TrackFileSettings& settings,
                std::string& message);

// The extension without its dot, as given ("" when none).
std::string extensionOf(const std::filesystem::path& file);

}  // namespace pixtrail
