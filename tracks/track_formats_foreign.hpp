#pragma once
// The slots of the other programs' track formats in the open and save dispatchers. Each slot is
// one function; track_formats_unavailable.cpp defines every slot that has no reader or writer yet
// (it fails with "<format> track files are not available"). A format's own file defines its slot
// and its definition leaves track_formats_unavailable.cpp.

#include <filesystem>
#include <optional>
#include <string>

#include "core/DateTimeRecord.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TVolGPS.hpp"
#include "tracks/track_text.hpp"

namespace pixtrail {

// What every reader and writer of track files may need: the file setting (datum and coordinate
// mode for files the system writes) and the user's track settings.
struct TrackFileSettings {
  FileCoordinates file;
  TrackSettings track;
  WaypointDefaults waypoints;  // the user's defaults for new waypoints
  bool keepBackup = false;  // keep a replaced file as NAME.bak
  bool mustNotExist = false;  // never replace a file (one appearing meanwhile included)
  // The date of logs whose records carry only times of day (NMEA logs of GGA sentences alone).
  std::optional<DateTimeRecord> logDate;
};

using TrackReader = bool (*)(const std::filesystem::path& file, TVolGPS& track,
                             const TrackFileSettings& settings, std::string& message);
using TrackWriter = bool (*)(const TVolGPS& track, const std::filesystem::path& file,
                             const TrackFileSettings& settings, std::string& message);

// Readers.
bool readOziExplorerTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readIgcTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readGpxTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readPackedTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readCompactTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readFugawiTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readMapSourceTextTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readHeartRateTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readCsvTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readAprsTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readNmeaTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);
bool readMagellanTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string&);

// Writers. The IGC writer writes exactly the name it is given: the save dispatcher gives it the
// temporary name and does the renaming itself.
bool writeIgcTrack(const TVolGPS&, const std::filesystem::path&, const TrackFileSettings&, std::string&);
bool writeOziExplorerTrack(const TVolGPS&, const std::filesystem::path&, const TrackFileSettings&, std::string&);
bool writeGpxTrack(const TVolGPS&, const std::filesystem::path&, const TrackFileSettings&, std::string&);
bool writeMagellanTrack(const TVolGPS&, const std::filesystem::path&, const TrackFileSettings&, std::string&);
bool writePackedTrack(const TVolGPS&, const std::filesystem::path&, const TrackFileSettings&, std::string&);
// Vector export through a map projection (E00, SHP, DGN, DXF, DWG).
bool writeVectorTrack(const TVolGPS&, const std::filesystem::path&, const TrackFileSettings&, std::string&);

}  // namespace pixtrail
