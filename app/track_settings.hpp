#pragma once
// The track, waypoint and route file settings as the configuration holds them.

#include <string>

#include "coords/coordinate_text.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/track_file_settings.hpp"

namespace pixtrail {

// From the configuration and the datum table (both loaded at start-up). A file datum the table
// does not know falls back to WGS 84 with a message.
TrackFileSettings trackFileSettingsFromConfiguration(std::string& message);
// The coordinate text settings; an angle format out of range falls back to the default.
CoordinateTextSettings coordinateTextSettingsFromConfiguration();

}  // namespace pixtrail
