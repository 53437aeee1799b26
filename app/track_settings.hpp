#pragma once
// The settings commands take from the configuration (gps.ini), built in one place.

#include <string>

#include "coords/coordinate_text.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/track_file_settings.hpp"

namespace pixtrail {

struct CommandSettings {
  TrackFileSettings trackFiles;
  CoordinateTextSettings coordinateText;
  bool exifExactQuirks = false;  // write GPS tags exactly as the original program did
  int garminTimeoutMs = 0;
};

// From the configuration and the datum table (both loaded at start-up). A file datum the table
// does not know falls back to WGS 84 with a message; an angle format out of range falls back to
// the default.
CommandSettings commandSettingsFromConfiguration(std::string& message);

}  // namespace pixtrail
