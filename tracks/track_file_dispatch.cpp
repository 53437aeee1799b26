#include "tracks/track_file_dispatch.hpp"

#include <unzip.h>

#include <array>
#include <memory>

#include "core/SafeFile.hpp"
#include "core/input_limits.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_file_native.hpp"
#include "tracks/track_format_aprs.hpp"
#include "tracks/track_format_csv.hpp"
#include "tracks/track_format_gpx.hpp"
#include "tracks/track_format_hrm.hpp"
#include "tracks/track_format_igc.hpp"
#include "tracks/track_format_magellan.hpp"
#include "tracks/track_format_nmea.hpp"
#include "tracks/track_format_ozi.hpp"
#include "tracks/track_format_txt.hpp"
#include "tracks/waypoint_format_gpx.hpp"

namespace pixtrail {

namespace {
namespace fs = std::filesystem;

constexpr std::array<std::string_view, 4> kLogbookPrefixes = {"FBK:", "FBK|", "MDB|", "MDB:"};
constexpr std::size_t kUnzipBufferBytes = 1 << 16;

// Adapters from the formats' text functions to the table's codec shapes.
template <bool (*read)(std::string_view, const std::string&, TVolGPS&, std::string&)>
bool trackText(const FileInput& in, const TrackFileSettings&, TVolGPS& track, std::string& message) {
  return read(in.text, in.name, track, message);
}
template <std::string (*write)(const TVolGPS&, const TrackSettings&)>
bool trackTextOut(const TVolGPS& track, const TrackFileSettings& settings, std::string& out, std::string&) {
  out = write(track, settings.track);
  return true;
}

bool nativeIn(const FileInput& in, const TrackFileSettings&, TVolGPS& track, std::string& message) {
  FileCoordinates inFile;
  return readNativeTrackStream(in.stream, in.name, track, inFile, message);
}
bool nativeOut(const TVolGPS& track, const TrackFileSettings& settings, std::string& out, std::string& message) {
  return formatNativeTrack(track, NativeTrackWriteOptions{settings.file, settings.track.preferGpsAltitude}, out,
                           message);
}
bool igcOut(const TVolGPS& track, const TrackFileSettings&, std::string& out, std::string&) {
  out = igcTrackText(track);
  return true;
}
bool gpxIn(const FileInput& in, const TrackFileSettings&, TVolGPS& track, std::string& message) {
  return readGpxTrackStream(in.stream, in.name, track, message);
}
bool nmeaIn(const FileInput& in, const TrackFileSettings& settings, TVolGPS& track, std::string& message) {
  return readNmeaLogText(in.text, in.name, NmeaLogOptions{settings.logDate}, track, message);
}
bool logIn(const FileInput& in, const TrackFileSettings& settings, TVolGPS& track, std::string& message) {
  return readLogFileText(in.text, in.name, NmeaLogOptions{settings.logDate}, track, message);
}

// The program's own formats whose layout is not documented: guessing a binary layout would turn a
// user's file into wrong points, so these say plainly that they cannot read it.
bool undocumented(std::string_view extension, std::string_view what, std::string& message) {
  appendMessage(message, std::string(extension) + " track files cannot be read or written: " + std::string(what) +
                             " is not documented");
  return false;
}
bool packedIn(const FileInput&, const TrackFileSettings&, TVolGPS&, std::string& message) {
  return undocumented("FPT", "the program's packed track format", message);
}
bool packedOut(const TVolGPS&, const TrackFileSettings&, std::string&, std::string& message) {
  return undocumented("FPT", "the program's packed track format", message);
}
bool compactIn(const FileInput&, const TrackFileSettings&, TVolGPS&, std::string& message) {
  return undocumented("CMP", "the program's compact track format", message);
}
bool fugawiIn(const FileInput&, const TrackFileSettings&, TVolGPS&, std::string& message) {
  return undocumented("FugawiKK", "the layout of this Fugawi track export", message);
}
// Vector export goes through the map plug-ins, which this edition does not have.
bool vectorOut(const TVolGPS&, const TrackFileSettings&, std::string&, std::string& message) {
  appendMessage(message, "Vector export track files are not available");
  return false;
}

bool waypointFileIn(const FileInput& in, const TrackFileSettings& settings, TBalizas& w, std::string& message) {
  return parseWaypointFile(in.text, w, message, settings.waypoints);
}
bool waypointFileOut(const TBalizas& w, const TrackFileSettings& settings, std::string& out, std::string& message) {
  return formatWaypointFile(w, settings.file, settings.waypoints, out, message);
}
bool magellanWaypointsOut(const TBalizas& w, const TrackFileSettings&, std::string& out, std::string&) {
  out = magellanWaypointText(w);
  return true;
}
bool gpxWaypointsIn(const FileInput& in, const TrackFileSettings&, TBalizas& w, std::string& message) {
  return readGpxWaypointsStream(in.stream, in.name, w, message);
}
bool gpxWaypointsOut(const TBalizas& w, const TrackFileSettings&, std::string& out, std::string&) {
  out = gpxWaypointsText(w);
  return true;
}

bool routeFileIn(const FileInput& in, const TrackFileSettings& settings, TRutas& r, std::string& message) {
  return parseRouteFile(in.text, r, message, settings.waypoints);
}
bool routeFileOut(const TRutas& r, const TrackFileSettings& settings, std::string& out, std::string& message) {
  return formatRouteFile(r, settings.file, settings.waypoints, out, message);
}
// Routes read from a Magellan text go back as one under the Magellan unit's own extension.
bool rteOut(const TRutas& r, const TrackFileSettings& settings, std::string& out, std::string& message) {
  if (!r.magellanText) return routeFileOut(r, settings, out, message);
  out = magellanRouteText(r);
  return true;
}

using enum DataKind;
using enum Packing;
using enum SavePolicy;
// Tracks first (open order; the save order follows from the special cases in saveTrack), then
// waypoints and routes, each kind ending in the row that takes any other name.
constexpr std::array kFormats = {
    DataFormat{"TRK", "native track", Track, Stream, Native, &nativeIn, &nativeOut},
    // The same format; saved only for a track loaded from it (see trackSaveFormat).
    DataFormat{"PLE", "native track", Track, Stream, Native, &nativeIn},
    DataFormat{"PLT", "OziExplorer track", Track, Text, AsNamed, &trackText<readOziTrackText>,
               &trackTextOut<oziTrackText>},
    DataFormat{"IGC", "IGC flight log", Track, Text, FlightLog, &trackText<readIgcTrackText>, &igcOut},
    DataFormat{"IGZ", "zipped IGC flight log", Track, Zip, AsNamed, &trackText<readIgcTrackText>},
    DataFormat{"GPX", "GPX track", Track, Stream, AsNamed, &gpxIn, &trackTextOut<gpxTrackText>},
    DataFormat{"FPT", "packed track", Track, Unread, AsNamed, &packedIn, &packedOut},
    DataFormat{"CMP", "compact track", Track, Unread, AsNamed, &compactIn},
    DataFormat{"FugawiKK", "Fugawi track export", Track, Unread, AsNamed, &fugawiIn},
    DataFormat{"TXT", "MapSource text export", Track, Text, AsNamed, &trackText<readMapSourceTextTrackText>},
    DataFormat{"HRM", "Polar heart-rate file", Track, Text, AsNamed, &trackText<readHeartRateTrackText>},
    DataFormat{"CSV", "comma-separated track", Track, Text, AsNamed, &trackText<readCsvTrackText>},
    DataFormat{"APRS", "APRS position log", Track, Text, AsNamed, &trackText<readAprsTrackText>},
    DataFormat{"NMEA", "NMEA sentence log", Track, Text, AsNamed, &nmeaIn},
    DataFormat{"LOG", "Magellan track log", Track, Text, AsNamed, &logIn, &trackTextOut<magellanLogText>},
    DataFormat{"E00 SHP DGN DXF DWG", "vector export", Track, Text, AsNamed, nullptr, &vectorOut},
    DataFormat{.extensions = "UPT", .name = "Magellan waypoints", .kind = Waypoints,
               .readWaypoints = &waypointFileIn, .writeWaypoints = &magellanWaypointsOut},
    DataFormat{.extensions = "GPX", .name = "GPX waypoints", .kind = Waypoints, .packing = Stream,
               .readWaypoints = &gpxWaypointsIn, .writeWaypoints = &gpxWaypointsOut},
    DataFormat{.extensions = "WPT *", .name = "waypoint file", .kind = Waypoints,
               .readWaypoints = &waypointFileIn, .writeWaypoints = &waypointFileOut},
    DataFormat{.extensions = "RTE", .name = "route file", .kind = Routes, .readRoutes = &routeFileIn,
               .writeRoutes = &rteOut},
    DataFormat{.extensions = "*", .name = "route file", .kind = Routes, .readRoutes = &routeFileIn,
               .writeRoutes = &routeFileOut},
};

bool namesExtension(const DataFormat& row, std::string_view ext, bool anyName) {
  for (std::string_view rest = row.extensions; !rest.empty();) {
    const std::size_t blank = rest.find(' ');
    const std::string_view one = rest.substr(0, blank);
    if ((anyName && one == "*") || (one != "*" && equalsIgnoreCase(ext, one))) return true;
    rest = blank == std::string_view::npos ? std::string_view() : rest.substr(blank + 1);
  }
  return false;
}

const DataFormat& row(std::string_view extensions, DataKind kind) {
  for (const DataFormat& f : kFormats)
    if (f.kind == kind && f.extensions == extensions) return f;
  fatalError("No such format row");
}

// The first entry of a zip archive, unpacked into memory, never beside the archive (a read-only
// folder, a planted link or a zip bomb there would all hurt).
bool unzipFirstEntry(const fs::path& file, std::string& text, std::string& message) {
  // The archive itself is checked like any input (a FIFO or a device is refused by name).
  std::FILE* archive = openRegularFile(file, message);
  if (archive == nullptr) return false;
  std::fclose(archive);
  bool ok = false, tooLarge = false;
  if (unzFile zip = unzOpen64(file.c_str())) {
    if (unzGoToFirstFile(zip) == UNZ_OK && unzOpenCurrentFile(zip) == UNZ_OK) {
      std::array<char, kUnzipBufferBytes> buffer{};
      int n = 0;
      while ((n = unzReadCurrentFile(zip, buffer.data(), static_cast<unsigned>(buffer.size()))) > 0) {
        if (text.size() + static_cast<std::size_t>(n) > limits::kMaxUnpackedBytes) {
          tooLarge = true;
          break;
        }
        text.append(buffer.data(), static_cast<std::size_t>(n));
      }
      ok = n == 0 && !tooLarge;
      unzCloseCurrentFile(zip);
    }
    unzClose(zip);
  }
  if (tooLarge) {
    appendMessage(message, file.string() + ": the log in the archive is too large (over " +
                               std::to_string(limits::kMaxUnpackedBytes / limits::kMiB) + " MiB)");
    return false;
  }
  if (!ok) appendMessage(message, "Error unziping file in IGZ");
  return ok;
}

// Reads `file` as the row's packing asks and hands it to `read`.
template <typename Reader, typename Data>
bool readFile(const DataFormat& format, Reader read, const fs::path& file, const TrackFileSettings& settings,
              Data& data, std::string& message) {
  FileInput in;
  in.name = file.string();
  std::string text;
  switch (format.packing) {
    case Stream: {
      const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(openRegularFile(file, message), &std::fclose);
      if (!stream) return false;
      in.stream = stream.get();
      return read(in, settings, data, message);
    }
    case Zip:
      if (!unzipFirstEntry(file, text, message)) return false;
      break;
    case Text:
      if (!readWholeFile(file, text, message)) return false;
      break;
    case Unread:
      break;
  }
  in.text = text;
  return read(in, settings, data, message);
}

// Writes what `write` makes of `data` under `target`, through a temporary file and a rename.
template <typename Writer, typename Data>
bool writeFile(const DataFormat& format, Writer write, const Data& data, const fs::path& target,
               const TrackFileSettings& settings, bool keepBackup, std::string& message) {
  std::string text;
  if (!write(data, settings, text, message)) return false;
  SafeWriteOptions options;
  options.keepBackup = keepBackup;
  options.mustNotExist = settings.mustNotExist;
  std::string reason;
  if (writeFileSafely(target, text, options, reason)) return true;
  if (format.save == Native) appendMessage(message, messageText(msg::kErrorCreatingFile, target.string()));
  appendMessage(message, reason);
  if (format.save == FlightLog) appendMessage(message, "Error renaming the tmp file to igc");
  return false;
}

// The row that saves `track` under `file`: the one naming the extension, except that a track
// loaded from a PLE file stays native unless a flight log is asked for.
const DataFormat* trackSaveFormat(const TVolGPS& track, const fs::path& file) {
  const DataFormat* named = nullptr;
  for (const DataFormat& f : kFormats)
    if (f.kind == Track && f.writeTrack && namesExtension(f, extensionOf(file), false)) {
      named = &f;
      break;
    }
  if (equalsIgnoreCase(extensionOf(track.fileName), "PLE") && (named == nullptr || named->save != FlightLog))
    return &row("TRK", Track);
  return named;
}

fs::path savedName(const DataFormat& format, const fs::path& file) {
  switch (format.save) {
    case Native: return nativeTrackFileName(file);
    case FlightLog: {
      const std::string ext(format.extensions.substr(0, format.extensions.find(' ')));
      if (equalsIgnoreCase(extensionOf(file), ext)) return file;
      return fs::path(file).replace_extension("." + ext);
    }
    case AsNamed: break;
  }
  return file;
}

bool refuseLogbook(const fs::path& file, std::string& message) {
  if (!isLogbookTrackName(file.string())) return false;
  appendMessage(message, "The flight logbook is not available: " + file.string());
  return true;
}
}  // namespace

std::span<const DataFormat> dataFormats() { return kFormats; }

const DataFormat* findDataFormat(const fs::path& file, DataKind kind) {
  const std::string ext = extensionOf(file);
  for (const DataFormat& f : kFormats)
    if (f.kind == kind && namesExtension(f, ext, true)) return &f;
  return nullptr;
}

DataKind dataKindOf(const fs::path& file) {
  const std::string ext = extensionOf(file);
  for (const DataFormat& f : kFormats)
    if (namesExtension(f, ext, false)) return f.kind;
  return Track;
}

std::string extensionOf(const fs::path& file) {
  const std::string ext = file.extension().string();
  return ext.empty() ? ext : ext.substr(1);
}

bool isLogbookTrackName(std::string_view name) {
  for (const std::string_view prefix : kLogbookPrefixes)
    if (name.substr(0, prefix.size()) == prefix) return true;
  return false;
}

bool openTrack(const fs::path& file, TVolGPS& track, const TrackFileSettings& settings, std::string& message) {
  if (refuseLogbook(file, message)) return false;
  const std::string ext = extensionOf(file);
  for (const DataFormat& f : kFormats) {
    if (f.kind != Track || !f.readTrack || !namesExtension(f, ext, false)) continue;
    if (!readFile(f, f.readTrack, file, settings, track, message)) return false;
    track.fileName = file.string();
    return track.Recalculate(settings.track, message);
  }
  // The map plug-ins that could read further extensions are not part of this edition.
  appendMessage(message, "Unknown file format opening track: " + ext);
  return false;
}

fs::path savedTrackFileName(const TVolGPS& track, const fs::path& file) {
  const DataFormat* format = trackSaveFormat(track, file);
  return format ? savedName(*format, file) : file;
}

bool isTrackSaveExtension(const fs::path& file) {
  for (const DataFormat& f : kFormats)
    if (f.kind == Track && f.writeTrack && namesExtension(f, extensionOf(file), false)) return true;
  return false;
}

bool saveTrack(TVolGPS& track, const fs::path& file, const TrackFileSettings& settings, std::string& message) {
  if (refuseLogbook(file, message)) return false;
  const DataFormat* format = trackSaveFormat(track, file);
  if (format == nullptr) {
    appendMessage(message, "Unknown file format saving tracks: " + extensionOf(file));
    return false;
  }
  const fs::path target = savedName(*format, file);
  // A flight log keeps the one it replaces when the track asks for it, whatever the caller says.
  const bool keepBackup = settings.keepBackup || (format->save == FlightLog && track.backupOnIgcSave);
  if (!writeFile(*format, format->writeTrack, track, target, settings, keepBackup, message)) return false;
  track.fileName = target.string();
  return true;
}

bool exportSegment(const TVolGPS& track, std::size_t k, const TrackFileSettings& settings, fs::path& written,
                   std::string& message) {
  const std::unique_ptr<TVolGPS> segment = track.segmentAsTrack(k);
  if (!segment) {
    appendMessage(message, "No segment " + std::to_string(k + 1) + " in " + track.fileName);
    return false;
  }
  std::error_code ec;
  if (fs::exists(segment->fileName, ec)) {
    appendMessage(message, "File already exists: " + segment->fileName);
    return false;
  }
  std::string ignored;
  segment->Recalculate(settings.track, ignored);
  TrackFileSettings newFile = settings;
  newFile.mustNotExist = true;  // also when the name appears between the check and the write
  const DataFormat& native = row("TRK", Track);
  written = savedName(native, segment->fileName);
  return writeFile(native, native.writeTrack, *segment, written, newFile, settings.keepBackup, message);
}

namespace {
// Waypoint and route files: the row of the kind naming the file, else the kind's catch-all.
template <typename Data, typename Reader>
bool openSet(const fs::path& file, DataKind kind, Reader DataFormat::*read, Data& data,
             const TrackFileSettings& settings, std::string& message) {
  const DataFormat& format = *findDataFormat(file, kind);
  if (!readFile(format, format.*read, file, settings, data, message)) return false;
  data.fileName = file.string();
  return true;
}
template <typename Data, typename Writer>
bool saveSet(const fs::path& file, DataKind kind, Writer DataFormat::*write, const Data& data,
             const TrackFileSettings& settings, std::string& message) {
  const DataFormat& format = *findDataFormat(file, kind);
  return writeFile(format, format.*write, data, file, settings, settings.keepBackup, message);
}
}  // namespace

bool openWaypoints(const fs::path& file, TBalizas& waypoints, const TrackFileSettings& settings,
                   std::string& message) {
  return openSet(file, Waypoints, &DataFormat::readWaypoints, waypoints, settings, message);
}
bool saveWaypoints(const TBalizas& waypoints, const fs::path& file, const TrackFileSettings& settings,
                   std::string& message) {
  return saveSet(file, Waypoints, &DataFormat::writeWaypoints, waypoints, settings, message);
}
bool openRoutes(const fs::path& file, TRutas& routes, const TrackFileSettings& settings, std::string& message) {
  return openSet(file, Routes, &DataFormat::readRoutes, routes, settings, message);
}
bool saveRoutes(const TRutas& routes, const fs::path& file, const TrackFileSettings& settings,
                std::string& message) {
  return saveSet(file, Routes, &DataFormat::writeRoutes, routes, settings, message);
}

}  // namespace pixtrail
