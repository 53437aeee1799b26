#pragma once
// Geotagging photos against tracks from start to end, as the command line and the desktop wizard
// both run it: load the photos, place each on the first track that covers its time, write the
// positions (into new files or in place, or only show them), and mark the tracks.

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/clock_offset.hpp"
#include "app/tag_confidence.hpp"
#include "core/DateTimeRecord.hpp"
#include "core/VectorP.hpp"
#include "photos/TCjtoFotos.hpp"
#include "tracks/TVolGPS.hpp"
#include "tracks/track_file_settings.hpp"

namespace pixtrail {

struct GeotagOptions {
  std::vector<std::filesystem::path> tracks;
  std::vector<std::filesystem::path> inputs;  // photos and folders of photos
  double offsetSeconds = 0.0;                 // camera clock offset: capture time + offset = track time
  std::filesystem::path outDir;               // new files here, never overwriting
  bool inPlace = false;                       // rewrite the originals safely instead
  std::filesystem::path markTrackFile;        // save the track with the photos marked on it
  bool overwriteMarkTrack = false;            // replace an existing markTrackFile
  bool keepMtime = false;                     // written photos keep the original's modification time
  bool allowReadOnly = false;                 // rewrite photos whose write permission is off
  bool dryRun = false;                        // build everything, write nothing
  // New files (outDir) are flushed to disk once, when all are written; false leaves that to the
  // system, as a plain copy does. Photos rewritten in place are always flushed before they replace
  // the originals.
  bool sync = true;
  // Camera time. Unset, capture times are taken on the tracks' own scale, as they stand.
  std::string timeZone;                       // the camera's local zone: an IANA name or "local"
  double driftSPerHour = 0.0;                 // added to the offset per hour after the earliest photo
  bool autoOffset = false;                    // estimate offset and drift and use them
  bool force = false;                         // write even when the offset looks wrong
  double maxJumpM = 0.0;                      // refuse to interpolate across a longer step; 0: no limit
  bool writeError = false;                    // also write GPSHPositioningError
  bool exactQuirks = false;                   // the writer's described quirks, byte for byte
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
  double lat = 0.0, lon = 0.0, altM = 0.0;  // WGS 84, as written into the photo (altM NaN: none written)
  std::string message;
  std::string planned;  // dry run: the GPS entries the photo would get, one dump line each
  double offsetS = 0.0;        // clock correction applied to this photo (zone, offset, drift)
  bool hasConfidence = false;  // placed: `confidence` is filled
  TagConfidence confidence;
  std::vector<std::string> dropped;  // what the written photo had to leave out, one name each
};

// What the run made of the camera's clock.
struct GeotagClockReport {
  std::string zone;                 // the zone's database name, empty without one
  ClockCorrection applied;          // offset and drift used (reference: the earliest photo)
  OffsetEstimate estimate;          // --auto-offset: what was found
  OffsetCheck check;                // the offset looked wrong (looksWrong) ...
  bool refused = false;             // ... and so nothing was written
  std::size_t ownUtcOffsets = 0;    // photos that carried their own UTC offset, used as such
};

struct GeotagSummary {
  std::size_t tagged = 0, noTime = 0, notCovered = 0, failed = 0;
};
GeotagSummary summarise(const std::vector<GeotagPhotoResult>& results);

// "[+|-]HH:MM:SS" into seconds; false on anything else.
bool parseClockOffset(std::string_view text, double& seconds);

using GeotagProgress = std::function<void(std::size_t done, std::size_t total)>;

// Runs the job. False (with the message) only when it cannot start: no track could be opened, no
// photo found, the output folder cannot be made, or the clock offset looks wrong (nothing written;
// the overloads with a clock report below tell that apart). Per-photo failures are in `results`.
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

// Both with the clock report. When the offset looks wrong (and `force` is not set) the report says
// so, `refused` is set, `results` stay empty and nothing is written; the call still succeeds.
bool geotagPhotos(const GeotagOptions& options, std::vector<GeotagPhotoResult>& results, GeotagClockReport& clock,
                  std::string& message, const GeotagProgress& progress = {});
bool geotagPhotos(const GeotagOptions& options, std::vector<GeotagPhotoResult>& results, GeotagClockReport& clock,
                  std::vector<std::filesystem::path>& markedTracks, std::string& message,
                  const GeotagProgress& progress = {});
bool geotagWithTracks(const GeotagOptions& options, VectorP<TVolGPS>& tracks,
                      std::vector<GeotagPhotoResult>& results, GeotagClockReport& clock, std::string& message,
                      const GeotagProgress& progress = {});

// The photos of a run on the tracks' timeline, for the offset estimators: each photo with a
// capture time, its own UTC offset used when it has one and a zone is set.
struct PhotoClocks {
  std::vector<ClockSample> samples;
  std::vector<const TFoto*> photos;  // the photo of each sample
  std::size_t ownUtcOffsets = 0;
};
PhotoClocks photoClocks(const TCjtoFotos& photos, const TimeZone& zone);
// Adds one photo (when it has a capture time) to `clocks`.
void addPhotoClock(PhotoClocks& clocks, const TFoto& photo, const TimeZone& zone);
// The tracks' time scales by their file names' extensions.
std::vector<TrackTimeScale> trackTimeScales(const VectorP<TVolGPS>& tracks);
// Loads the photos named (folders give their .jpg files), telling `loaded` of each as it is read.
// False with a message when none.
bool collectPhotos(const std::vector<std::filesystem::path>& inputs, TCjtoFotos& photos, std::string& message,
                   const std::function<void(TFoto&)>& loaded = {});

}  // namespace pixtrail
