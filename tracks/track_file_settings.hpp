#pragma once
// What opening and saving track, waypoint and route files may need beyond the file itself: the
// coordinates of files the system writes, the user's track and waypoint settings, and how a save
// treats a file already there.

#include <optional>

#include "core/DateTimeRecord.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TVolGPS.hpp"
#include "tracks/track_text.hpp"

namespace pixtrail {

struct TrackFileSettings {
  FileCoordinates file;  // datum and coordinate mode for files the system writes
  TrackSettings track;
  WaypointDefaults waypoints;  // the user's defaults for new waypoints
  bool keepBackup = false;  // keep a replaced file as NAME.bak
  bool mustNotExist = false;  // never replace a file (one appearing meanwhile included)
  // The date of logs whose records carry only times of day (NMEA logs of GGA sentences alone).
  std::optional<DateTimeRecord> logDate;
};

}  // namespace pixtrail
