#include "tracks/track_file_dispatch.hpp"

#include <unzip.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_file_native.hpp"

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

// An IGZ file is a zip archive holding the IGC log: its first entry is unpacked next to it.
bool readZippedIgcTrack(const fs::path& file, TVolGPS& track, const TrackFileSettings& settings,
                        std::string& message) {
  fs::path unpacked = file;
  unpacked += ".igc.tmp";
  bool ok = false;
  if (unzFile zip = unzOpen64(file.c_str())) {
    if (unzGoToFirstFile(zip) == UNZ_OK && unzOpenCurrentFile(zip) == UNZ_OK) {
      std::ofstream out(unpacked, std::ios::binary | std::ios::trunc);
      std::array<char, kUnzipBufferBytes> buffer{};
      int n = 0;
      while (out && (n = unzReadCurrentFile(zip, buffer.data(), static_cast<unsigned>(buffer.size()))) > 0)
        out.write(buffer.data(), n);
      ok = n == 0 && out.good();
      unzCloseCurrentFile(zip);
    }
    unzClose(zip);
  }
  if (!ok) {
    std::error_code ec;
    fs::remove(unpacked, ec);
    appendMessage(message, "Error unziping file in IGZ");
    return false;
  }
  const bool read = readIgcTrack(unpacked, track, settings, message);
  std::error_code ec;
  fs::remove(unpacked, ec);
  return read;
}

// The IGC save sequence: the log goes to NAME.tmp; only when it is complete does the old file
// become NAME.bak (when the track asks for it) and the temporary file take the name.
bool saveIgcTrack(const TVolGPS& track, const fs::path& requested, const TrackFileSettings& settings,
                  std::string& message) {
  const fs::path target = savedIgcFileName(requested);
  fs::path temporary = target;
  temporary += ".tmp";
  std::error_code ec;
  if (!writeIgcTrack(track, temporary, settings, message)) {
    fs::remove(temporary, ec);
    return false;
  }
  // The track's own flag, or the caller's request to keep what it replaces (convert --overwrite).
  if ((track.backupOnIgcSave || settings.keepBackup) && fs::exists(target, ec)) {
    fs::path backup = target;
    backup.replace_extension(".bak");
    fs::remove(backup, ec);
    fs::rename(target, backup, ec);
  }
  // rename() replaces the target in one step, so there is no moment without a file.
  fs::rename(temporary, target, ec);
  if (ec) {
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
  if (!writeNativeTrackFile(*segment, segment->fileName, settings, message)) return false;
  written = segment->fileName;
  return true;
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
