#include "gui/Document.hpp"

#include <array>
#include <string_view>

#include "coords/TListaDatums.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail::gui {

namespace {

using Opener = bool (*)(Document&, const std::filesystem::path&, const TrackFileSettings&, OpenResult&,
                        std::string&);

bool openPhotoFolder(Document& doc, const std::filesystem::path& folder, const TrackFileSettings&,
                     OpenResult& added, std::string& message) {
  // Unreadable photos stay in the folder with their own message; only an empty folder fails.
  if (doc.photos.LoadFolder(folder, message, {}, !doc.readPhotosLater) == nullptr) return false;
  ++added.photoFolders;
  return true;
}

bool openWaypoints(Document& doc, const std::filesystem::path& file, const TrackFileSettings& settings,
                   OpenResult& added, std::string& message) {
  auto waypoints = std::make_unique<TBalizas>();
  if (!pixtrail::openWaypoints(file, *waypoints, settings, message)) return false;
  doc.waypointFiles.add(std::move(waypoints));
  ++added.waypointFiles;
  return true;
}

bool openRoutes(Document& doc, const std::filesystem::path& file, const TrackFileSettings& settings,
                OpenResult& added, std::string& message) {
  auto routes = std::make_unique<TRutas>();
  if (!pixtrail::openRoutes(file, *routes, settings, message)) return false;
  doc.routeFiles.add(std::move(routes));
  ++added.routeFiles;
  return true;
}

bool openTrackFile(Document& doc, const std::filesystem::path& file, const TrackFileSettings& settings,
                   OpenResult& added, std::string& message) {
  auto track = std::make_unique<TVolGPS>();
  if (!openTrack(file, *track, settings, message)) return false;
  doc.tracks.add(std::move(track));
  ++added.tracks;
  return true;
}

// A GPX file may hold tracks, waypoints or both; it counts as opened when either is there.
bool openGpx(Document& doc, const std::filesystem::path& file, const TrackFileSettings& settings, OpenResult& added,
             std::string& message) {
  std::string trackMessage, waypointMessage;
  auto track = std::make_unique<TVolGPS>();
  const bool trackOk = openTrack(file, *track, settings, trackMessage) && track->pointCount() > 0;
  auto waypoints = std::make_unique<TBalizas>();
  const bool waypointsOk =
      pixtrail::openWaypoints(file, *waypoints, settings, waypointMessage) && !waypoints->waypoints.empty();
  if (trackOk) {
    doc.tracks.add(std::move(track));
    ++added.tracks;
  }
  if (waypointsOk) {
    if (waypoints->fileName.empty()) waypoints->fileName = file.string();
    doc.waypointFiles.add(std::move(waypoints));
    ++added.waypointFiles;
  }
  if (trackOk || waypointsOk) return true;
  appendMessage(message, trackMessage.empty() ? "No track or waypoint in " + file.string() : trackMessage);
  if (!waypointMessage.empty()) appendMessage(message, waypointMessage);
  return false;
}

struct OpenRow {
  std::string_view extension;  // without the dot, compared without regard to case
  Opener open;
};
// First match wins; whatever matches no row goes to the track dispatcher, which knows the rest.
constexpr std::array<OpenRow, 4> kOpeners = {{
    {"wpt", &openWaypoints},
    {"rte", &openRoutes},
    {"gpx", &openGpx},
    {"jpg", nullptr},  // a photo opens its folder
}};

}  // namespace

bool Document::open(const std::filesystem::path& file, const TrackFileSettings& settings, OpenResult& added,
                    std::string& message) {
  std::error_code ec;
  if (std::filesystem::is_directory(file, ec)) return openPhotoFolder(*this, file, settings, added, message);
  if (!std::filesystem::exists(file, ec)) {
    appendMessage(message, file.string() + ": File not found!");
    return false;
  }
  const std::string extension = extensionOf(file);
  for (const OpenRow& row : kOpeners) {
    if (!equalsIgnoreCase(extension, row.extension)) continue;
    if (row.open == nullptr) return openPhotoFolder(*this, file.parent_path(), settings, added, message);
    return row.open(*this, file, settings, added, message);
  }
  return openTrackFile(*this, file, settings, added, message);
}

bool Document::saveTrack(std::size_t index, const std::filesystem::path& file, const TrackFileSettings& settings,
                         std::string& message) {
  return pixtrail::saveTrack(tracks[index], file, settings, message);
}

bool Document::saveWaypoints(std::size_t index, const std::filesystem::path& file, const TrackFileSettings& settings,
                             std::string& message) {
  TBalizas& waypoints = waypointFiles[index];
  const bool ok = pixtrail::saveWaypoints(waypoints, file, settings, message);
  if (ok) waypoints.fileName = file.string();
  return ok;
}

bool Document::saveRoutes(std::size_t index, const std::filesystem::path& file, const TrackFileSettings& settings,
                          std::string& message) {
  TRutas& routes = routeFiles[index];
  const bool ok = pixtrail::saveRoutes(routes, file, settings, message);
  if (ok) routes.fileName = file.string();
  return ok;
}

void Document::changeWorkingDatum(int datum, const TrackSettings& settings) {
  TListaDatums& table = datumTable();
  const int from = table.workingDatum();
  const int to = table.resolve(datum);
  if (from == to) return;
  for (TVolGPS& track : tracks) {
    std::vector<TCoord> positions;
    positions.reserve(track.pointCount());
    for (std::size_t i = 0; i < track.pointCount(); ++i) positions.push_back(track.point(i).position);
    table.changePointsDatum(positions, from, to);
    for (std::size_t i = 0; i < track.pointCount(); ++i) track.point(i).position = positions[i];
  }
  auto shiftWaypoints = [&](VectorP<TBaliza>& list) {
    for (TBaliza& w : list) table.changePointDatum(w.position, from, to);
  };
  for (TBalizas& file : waypointFiles) shiftWaypoints(file.waypoints);
  for (TRutas& file : routeFiles)
    for (TRuta& route : file.routes) shiftWaypoints(route.waypoints);
  // Photos placed in "the working datum" must stay where they were.
  for (TFotos& group : photos.groups)
    for (TFoto& photo : group.photos)
      if (photo.datum == kWorkingDatum) photo.datum = from;
  table.setWorkingDatum(to);
  std::string ignored;
  for (TVolGPS& track : tracks) track.Recalculate(settings, ignored);
}

void Document::clear() {
  tracks.clear();
  waypointFiles.clear();
  routeFiles.clear();
  photos.groups.clear();
}

std::vector<TFoto*> Document::allPhotos() {
  std::vector<TFoto*> out;
  for (TFotos& group : photos.groups)
    for (TFoto& photo : group.photos) out.push_back(&photo);
  return out;
}

}  // namespace pixtrail::gui
