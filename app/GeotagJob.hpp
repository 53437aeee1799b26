#pragma once
// Geotagging photos against tracks from start to end, as the command line and the desktop wizard
// both run it: load the photos, place each on the first track that covers its time, write the
// positions (into new files or in place, or only show them), and mark the tracks.

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/VectorP.hpp"
#include "tracks/TVolGPS.hpp"
#include "tracks/track_formats_foreign.hpp"

namespace pixtrail {

struct GeotagOptions {
  std::vector<std::filesystem::path> tracks;
  std::vector<std::filesystem::path> inputs;  // photos and folders of photos
  double offsetSeconds = 0.0;                 // camera clock offset: capture time + offset = track time
  std::filesystem::path outDir;               // new files here, never overwriting
  bool inPlace = false;                       // rewrite the originals safely instead
  std::filesystem::path markTrackFile;        // save the track with the photos marked on it
  bool dryRun = false;                        // build everything, write nothing
  // How the tracks are read and the marked tracks written; front ends fill it from the
  // configuration and put their own options on top.
  TrackFileSettings trackFiles;
};

enum class GeotagStatus { Tagged, NoTime, NotCovered, Error };
std::string_view geotagStatusName(GeotagStatus status);

struct GeotagPhotoResult {
  std::filesystem::path file;     // the source photo
  std::filesystem::path written;  // where the tagged photo went (or would go)
  DateTimeRecord time;            // capture time as the camera wrote it
  bool hasTime = false;
  GeotagStatus status = GeotagStatus::Error;
  double lat = 0.0, lon = 0.0, altM = 0.0;  // WGS 84, as written into the photo
  std::string message;
  std::string planned;  // dry run: the GPS entries the photo would get, one dump line each
};

struct GeotagSummary {
  std::size_t tagged = 0, noTime = 0, notCovered = 0, failed = 0;
};
GeotagSummary summarise(const std::vector<GeotagPhotoResult>& results);

// "[+|-]HH:MM:SS" into seconds; false on anything else.
bool parseClockOffset(std::string_view text, double& seconds);

using GeotagProgress = std::function<void(std::size_t done, std::size_t total)>;

// Runs the job. False (with the message) only when it cannot start: no track could be opened, no
// photo found, the output folder cannot be made. Per-photo failures are in `results`.
bool geotagPhotos(const GeotagOptions& options, std::vector<GeotagPhotoResult>& results, std::string& message,
               const GeotagProgress& progress = {});
// The same, telling the names the marked tracks were written under (a writer may change the
// extension it was given).
bool geotagPhotos(const GeotagOptions& options, std::vector<GeotagPhotoResult>& results,
                  std::vector<std::filesystem::path>& markedTracks, std::string& message,
                  const GeotagProgress& progress = {});

// The same over tracks already in memory (they are marked when asked).
bool geotagWithTracks(const GeotagOptions& options, VectorP<TVolGPS>& tracks,
                      std::vector<GeotagPhotoResult>& results, std::string& message,
                      const GeotagProgress& progress = {});

}  // namespace pixtrail
