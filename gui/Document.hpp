#pragma once
// The open document of the desktop program: the tracks, waypoint files, routes and photo folders
// the user has loaded, in the working datum, with the open and save dispatch over the library's
// readers and writers. No GUI toolkit in here, so the document can be tested on its own.

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "core/VectorP.hpp"
#include "photos/TCjtoFotos.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TRuta.hpp"
#include "tracks/TVolGPS.hpp"
#include "tracks/track_file_settings.hpp"

namespace pixtrail::gui {

// What one open added to the document.
struct OpenResult {
  std::size_t tracks = 0, waypointFiles = 0, routeFiles = 0, photoFolders = 0;
  std::size_t total() const { return tracks + waypointFiles + routeFiles + photoFolders; }
};

class Document {
 public:
  VectorP<TVolGPS> tracks;
  VectorP<TBalizas> waypointFiles;
  VectorP<TRutas> routeFiles;
  TCjtoFotos photos;
  // A photo folder opens with its file names only; the caller reads the photos (on a worker).
  bool readPhotosLater = false;

  // Opens a file or a folder by what it is: a folder (or a photo) gives its photos, "wpt" a waypoint
  // file, "rte" a route file, "gpx" its tracks and its waypoints, anything else goes through the
  // track dispatcher. Messages (warnings too) are appended; false when nothing could be added.
  bool open(const std::filesystem::path& file, const TrackFileSettings& settings, OpenResult& added,
            std::string& message);

  // Saves by the target's extension: tracks through the track dispatcher, waypoint files as WPT or
  // GPX, routes as RTE. An existing file is replaced through a temporary file.
  bool saveTrack(std::size_t index, const std::filesystem::path& file, const TrackFileSettings& settings,
                 std::string& message);
  bool saveWaypoints(std::size_t index, const std::filesystem::path& file, const TrackFileSettings& settings,
                     std::string& message);
  bool saveRoutes(std::size_t index, const std::filesystem::path& file, const TrackFileSettings& settings,
                  std::string& message);

  // Makes `datum` the working datum, converting every loaded position point by point (photos keep
  // their own datum and are shifted when drawn or saved).
  void changeWorkingDatum(int datum, const TrackSettings& settings);

  bool empty() const {
    return tracks.empty() && waypointFiles.empty() && routeFiles.empty() && photos.groups.empty();
  }
  void clear();

  // Every photo of every folder, in folder and list order.
  std::vector<TFoto*> allPhotos();
};

}  // namespace pixtrail::gui
