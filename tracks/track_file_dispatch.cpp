#include "tracks/track_file_dispatch.hpp"

#include <unzip.h>

#include <array>
#include <cstdio>
#include <filesystem>

#include "core/SafeFile.hpp"
#include "core/input_limits.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_file_native.hpp"
#include "tracks/track_format_igc.hpp"

namespace pixtrail {

namespace {
namespace fs = std::filesystem;

constexpr std::array<std::string_view, 4> kLogbookPrefixes = {"FBK:", "FBK|", "MDB|", "MDB:"};
constexpr std::size_t kUnzipBufferBytes = 1 << 16;

// The IGC writer's name: the extension becomes "IGC", unless it is that already in another case.
fs::path savedIgcFileName(const fs::path& requested) {
  if (equalsIgnoreCase(requested.extension().string(), ".IGC")) return requested;
  return fs::path(requested).replace_extension(".IGC");
}

// An IGZ file is a zip archive holding the IGC log: its first entry is unpacked into memory, never
// beside the archive (a read-only folder, a planted link or a zip bomb there would all hurt).
bool readZippedIgcTrack(const fs::path& file, TVolGPS& track, const TrackFileSettings&, std::string& message) {
  // The archive itself is checked like any input (a FIFO or a device is refused by name).
  std::FILE* archive = openRegularFile(file, message);
  if (archive == nullptr) return false;
  std::fclose(archive);
  std::string log;
  bool ok = false, tooLarge = false;
  if (unzFile zip = unzOpen64(file.c_str())) {
    if (unzGoToFirstFile(zip) == UNZ_OK && unzOpenCurrentFile(zip) == UNZ_OK) {
      std::array<char, kUnzipBufferBytes> buffer{};
      int n = 0;
      while ((n = unzReadCurrentFile(zip, buffer.data(), static_cast<unsigned>(buffer.size()))) > 0) {
        if (log.size() + static_cast<std::size_t>(n) > limits::kMaxUnpackedBytes) {
          tooLarge = true;
          break;
        }
        log.append(buffer.data(), static_cast<std::size_t>(n));
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
  if (!ok) {
    appendMessage(message, "Error unziping file in IGZ");
    return false;
  }
  return readIgcTrackText(log, file.string(), track, message);
}

// The IGC save: the log is complete on disk before the old file becomes NAME.bak (when the track
// asks for it) and the new one takes the name, in one rename.
bool saveIgcTrack(const TVolGPS& track, const fs::path& requested, const TrackFileSettings& settings,
                  std::string& message) {
  const fs::path target = savedIgcFileName(requested);
  SafeWriteOptions options;
  // The track's own flag, or the caller's request to keep what it replaces (convert --overwrite).
  options.keepBackup = track.backupOnIgcSave || settings.keepBackup;
  options.mustNotExist = settings.mustNotExist;
  std::string reason;
  if (!writeFileSafely(target, igcTrackText(track), options, reason)) {
    appendMessage(message, reason);
    appendMessage(message, "Error renaming the tmp file to igc");
    return false;
  }
  return true;
}

struct OpenRow {
  std::string_view extension;
  TrackReader read;
};
// First match wins.
constexpr std::array kOpenTable = {
    OpenRow{"TRK", &readNativeTrackFile},    OpenRow{"PLE", &readNativeTrackFile},
    OpenRow{"PLT", &readOziExplorerTrack},   OpenRow{"IGC", &readIgcTrack},
    OpenRow{"IGZ", &readZippedIgcTrack},     OpenRow{"GPX", &readGpxTrack},
    OpenRow{"FPT", &readPackedTrack},        OpenRow{"CMP", &readCompactTrack},
    OpenRow{"FugawiKK", &readFugawiTrack},   OpenRow{"TXT", &readMapSourceTextTrack},
    OpenRow{"HRM", &readHeartRateTrack},     OpenRow{"CSV", &readCsvTrack},
    OpenRow{"APRS", &readAprsTrack},         OpenRow{"NMEA", &readNmeaTrack},
    OpenRow{"LOG", &readMagellanTrack},
};

struct SaveRow {
  std::string_view extension;
  TrackWriter write;
};
// First match wins. IGC comes first with its own sequence; the native writer second, also taken
// for a track loaded from a PLE file whatever the new extension (so a .gpx name stays native).
constexpr std::array kSaveTable = {
    SaveRow{"PLT", &writeOziExplorerTrack}, SaveRow{"GPX", &writeGpxTrack},
    SaveRow{"LOG", &writeMagellanTrack},    SaveRow{"FPT", &writePackedTrack},
    SaveRow{"E00", &writeVectorTrack},      SaveRow{"SHP", &writeVectorTrack},
    SaveRow{"DGN", &writeVectorTrack},      SaveRow{"DXF", &writeVectorTrack},
    SaveRow{"DWG", &writeVectorTrack},
};
}  // namespace

std::string extensionOf(const fs::path& file) {
  const std::string ext = file.extension().string();
  return ext.empty() ? ext : ext.substr(1);
}

bool isLogbookTrackName(std::string_view name) {
  for (const std::string_view prefix : kLogbookPrefixes)
    if (name.substr(0, prefix.size()) == prefix) return true;
  return false;
}

bool readNativeTrackFile(const fs::path& file, TVolGPS& track, const TrackFileSettings&, std::string& message) {
  FileCoordinates inFile;
  return readNativeTrack(file, track, inFile, message);
}

bool writeNativeTrackFile(const TVolGPS& track, const fs::path& file, const TrackFileSettings& settings,
                          std::string& message) {
  NativeTrackWriteOptions options;
  options.file = settings.file;
  options.preferGpsAltitude = settings.track.preferGpsAltitude;
  options.keepBackup = settings.keepBackup;
  options.mustNotExist = settings.mustNotExist;
  fs::path written;
  return writeNativeTrack(track, file, options, written, message);
}

bool openTrack(const fs::path& file, TVolGPS& track, const TrackFileSettings& settings, std::string& message) {
  if (isLogbookTrackName(file.string())) {
    appendMessage(message, "The flight logbook is not available: " + file.string());
    return false;
  }
  const std::string ext = extensionOf(file);
  for (const OpenRow& row : kOpenTable) {
    if (!equalsIgnoreCase(ext, row.extension)) continue;
    if (!row.read(file, track, settings, message)) return false;
    track.fileName = file.string();
    return track.Recalculate(settings.track, message);
  }
  // The map plug-ins that could read further extensions are not part of this edition.
  appendMessage(message, "Unknown file format opening track: " + ext);
  return false;
}

namespace {
bool isNativeSave(const TVolGPS& track, const std::string& ext) {
  return equalsIgnoreCase(ext, "TRK") || equalsIgnoreCase(extensionOf(track.fileName), "PLE");
}
}  // namespace

fs::path savedTrackFileName(const TVolGPS& track, const fs::path& file) {
  const std::string ext = extensionOf(file);
  if (equalsIgnoreCase(ext, "IGC")) return savedIgcFileName(file);
  if (isNativeSave(track, ext)) return nativeTrackFileName(file);
  return file;
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
  if (!writeNativeTrackFile(*segment, segment->fileName, newFile, message)) return false;
  written = segment->fileName;
  return true;
}

bool isTrackSaveExtension(const fs::path& file) {
  const std::string ext = extensionOf(file);
  if (equalsIgnoreCase(ext, "IGC") || equalsIgnoreCase(ext, "TRK")) return true;
  for (const SaveRow& row : kSaveTable)
    if (equalsIgnoreCase(ext, row.extension)) return true;
  return false;
}

bool saveTrack(TVolGPS& track, const fs::path& file, const TrackFileSettings& settings, std::string& message) {
  if (isLogbookTrackName(file.string())) {
    appendMessage(message, "The flight logbook is not available: " + file.string());
    return false;
  }
  const std::string ext = extensionOf(file);
  if (equalsIgnoreCase(ext, "IGC")) {
    if (!saveIgcTrack(track, file, settings, message)) return false;
    track.fileName = savedTrackFileName(track, file).string();
    return true;
  }
  if (isNativeSave(track, ext)) {
    if (!writeNativeTrackFile(track, file, settings, message)) return false;
    track.fileName = nativeTrackFileName(file).string();
    return true;
  }
  for (const SaveRow& row : kSaveTable) {
    if (!equalsIgnoreCase(ext, row.extension)) continue;
    if (!row.write(track, file, settings, message)) return false;
    track.fileName = file.string();
    return true;
  }
  appendMessage(message, "Unknown file format saving tracks: " + ext);
  return false;
}

}  // namespace pixtrail
