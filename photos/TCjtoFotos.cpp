#include "photos/TCjtoFotos.hpp"

#include <algorithm>
#include <memory>

#include "coords/TListaDatums.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

namespace {

constexpr std::string_view kErrNoPhotos = "No hay fotos en la carpeta indicada";
constexpr std::string_view kPhotoExtension = ".jpg";

}  // namespace

TFotos* TCjtoFotos::LoadFolder(const std::filesystem::path& folder, std::string& message,
                               const std::function<void(TFoto&)>& loaded, bool readPhotos) {
  std::vector<std::filesystem::path> files;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    if (equalsIgnoreCase(entry.path().extension().string(), kPhotoExtension) && entry.is_regular_file(ec))
      files.push_back(entry.path());
  }
  if (files.empty()) {
    appendMessage(message, kErrNoPhotos);
    return nullptr;
  }
  std::sort(files.begin(), files.end());
  // A folder read while another program replaces files in it may list one photo twice.
  files.erase(std::unique(files.begin(), files.end()), files.end());
  auto group = std::make_unique<TFotos>();
  group->folder = folder;
  group->photos.reserve(files.size());
  for (const auto& file : files) {
    auto photo = std::make_unique<TFoto>();
    photo->exif.setGpsQuirks(gpsQuirks);
    photo->fileName = file;
    std::string photoMessage;
    if (readPhotos && !photo->load(file, photoMessage)) appendMessage(message, file.filename().string() + ": " + photoMessage);
    if (loaded) loaded(*photo);
    group->photos.add(std::move(photo));
  }
  return &groups.add(std::move(group));
}

Placement TCjtoFotos::placePhoto(TFoto& photo, TVolGPS& track, const TrackSettings& settings,
                                 double offsetDays) const {
  Placement placement;
  DateTimeValue capture = 0.0;
  if (!photo.hasTime || !photo.time.toValue(capture)) {
    placement.status = PlacementStatus::NoTime;
    return placement;
  }
  placement.trackTime = capture + offsetDays;
  placement.where = track.positionAtTime(placement.trackTime, settings);
  if (!placement.where.covered()) return placement;  // the photo stays as it was
  placement.status = PlacementStatus::Placed;
  if (addCoordinates) {
    photo.position = placement.where.position;
    photo.datum = kWorkingDatum;
    photo.hasPosition = true;
  }
  return placement;
}

Placement TCjtoFotos::placeOnTracks(TFoto& photo, VectorP<TVolGPS>& tracks, const TrackSettings& settings,
                                    double offsetDays, int& track) const {
  Placement placement;
  track = -1;
  for (std::size_t t = 0; t < tracks.size(); ++t) {
    placement = placePhoto(photo, tracks[t], settings, offsetDays);
    if (placement.status == PlacementStatus::NoTime) return placement;
    if (placement.status == PlacementStatus::Placed) {
      track = static_cast<int>(t);
      return placement;
    }
  }
  return placement;
}

int TCjtoFotos::Synchronise(TFotos& group, TVolGPS& track, const TrackSettings& settings, double offsetDays,
                            std::vector<Placement>& out, const std::function<void(std::size_t, std::size_t)>& progress) {
  out.clear();
  if (!markTrack && !addCoordinates) return 0;
  int placed = 0;
  const std::size_t total = group.photos.size();
  for (std::size_t i = 0; i < total; ++i) {
    TFoto& photo = group.photos[i];
    out.push_back(placePhoto(photo, track, settings, offsetDays));
    if (out.back().status == PlacementStatus::Placed) {
      ++placed;
      if (markTrack) markPhotoOnTrack(track, photo, out.back());
    }
    if (progress) progress(i + 1, total);
  }
  if (markTrack && placed > 0) {
    std::string ignored;
    track.Recalculate(settings, ignored);
  }
  return placed;
}

void markPhotoOnTrack(TVolGPS& track, const TFoto& photo, const Placement& placement) {
  // A point object beside the track: the recorded points, times and segments stay as they were.
  TrackMark mark;
  mark.name = photo.name();
  mark.position = placement.where.position;
  mark.time = TPuntTiempo::fromRecord(DateTimeRecord::fromValue(placement.trackTime));
  track.marks.push_back(std::move(mark));
}

}  // namespace pixtrail
