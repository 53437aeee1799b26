#pragma once
// Estimating the camera clock's offset and drift from files, as the offset command and the
// desktop wizard run it: open the tracks, load the photos, read the clock photos, estimate.

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "app/clock_offset.hpp"
#include "tracks/TVolGPS.hpp"
#include "tracks/track_file_settings.hpp"

namespace pixtrail {

struct OffsetJobOptions {
  std::vector<std::filesystem::path> tracks;
  std::vector<std::filesystem::path> inputs;  // photos and folders of photos
  std::string timeZone;                       // as for geotag
  // Photos of the receiver's screen and the time it showed ("HH:MM:SS", "Z" for UTC).
  std::vector<std::pair<std::filesystem::path, std::string>> clockPhotos;
  // How the tracks are read; front ends fill it from the configuration, their options on top.
  TrackFileSettings trackFiles;
};

struct OffsetJobResult {
  OffsetEstimate estimate;
  std::string zone;          // the zone's database name, empty without one
  std::size_t photos = 0;    // photos with a capture time
  std::size_t references = 0;
};

// False with a message when it cannot start: a track that cannot be opened, no photos, an unknown
// zone, a clock photo without a time or with an unreadable reading. An estimate that finds
// nothing is not a failure: `estimate.found()` tells.
bool estimateOffsetJob(const OffsetJobOptions& options, OffsetJobResult& result, std::string& message);

// "PHOTO=HH:MM:SS[Z]" into its two halves; false when there is no '=' or either half is empty.
bool splitClockPhotoArgument(std::string_view text, std::filesystem::path& photo, std::string& reading);

}  // namespace pixtrail
