#include "photos/TCjtoFotos.hpp"

#include <algorithm>
#include <memory>

#include "coords/TListaDatums.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "photos/exif_tag_labels.hpp"

namespace pixtrail {

namespace {

constexpr std::string_view kErrNoPhotos = "No hay fotos en la carpeta indicada";
constexpr std::string_view kErrSavingCoordinates = "Error saving coordinates";
constexpr std::string_view kErrSavingFile = "Error saving file";
constexpr std::string_view kFieldPrefix = "Exif::";
constexpr std::string_view kPhotoExtension = ".jpg";

bool sameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
  std::error_code ec;
  const bool same = std::filesystem::equivalent(a, b, ec);
  return ec ? a.lexically_normal() == b.lexically_normal() : same;
}

}  // namespace

bool TFoto::load(const std::filesystem::path& file, std::string& message) {
  fileName = file;
  hasTime = hasPosition = readable = false;
  loadMessage.clear();
  if (!exif.Read(file, loadMessage)) {
    appendMessage(message, loadMessage);
    return false;
  }
  readable = true;
  thumbnail = exif.thumbnail();
  std::string quiet;  // a photo without time or position is normal, not an error
  hasTime = exif.ReadDateTime(time, quiet);
  TCoord stored;
  int storedDatum = kDatumWgs84;
  if (exif.ReadPosition(stored, storedDatum, quiet) &&
      datumTable().Transforma_Grados_Datum(stored, storedDatum, kWorkingDatum, quiet)) {
    position = stored;
    datum = kWorkingDatum;
    hasPosition = true;
  }
  return true;
}

bool TFoto::SetFix(std::string& message) {
  if (!hasPosition || !exif.SetGpsPosition(position, datum, message)) {
    appendMessage(message, kErrSavingCoordinates);
    return false;
  }
  for (const TTifTag& entry : fixEntries)
    exif.SetTagInDirectory(kGpsIfd, entry.key, entry.type, entry.count, entry.data);
  return true;
}

bool TFoto::Save(const std::filesystem::path& target, std::string& message, const SafeWriteOptions& write) {
  if (!SetFix(message)) return false;
  const bool inPlace = sameFile(target, fileName);
  std::error_code ec;
  if (!inPlace && std::filesystem::exists(std::filesystem::symlink_status(target, ec))) {
    appendMessage(message, kErrSavingFile);
    return false;
  }
  if (exif.fileName().empty()) exif.setFileName(fileName);
  if (!exif.Write(target, !inPlace, message, write)) {
    if (!inPlace) appendMessage(message, kErrSavingFile);
    return false;
  }
  fileName = target;
  return true;
}

std::vector<PhotoField> TFoto::exifFields() const {
  std::vector<PhotoField> fields;
  for (const TTifTag& tag : exif.tags())
    fields.push_back({std::string(kFieldPrefix) + std::to_string(tag.key),
                      std::string(exifTagLabel(tag.directory, tag.key)), tag.valueText()});
  return fields;
}

bool TFoto::exifField(std::string_view fieldName, PhotoField& out) const {
  if (!fieldName.starts_with(kFieldPrefix)) return false;
  const auto key = parseInteger(fieldName.substr(kFieldPrefix.size()));
  if (!key || *key < 0 || *key > 0xFFFF) return false;
  // Directory order decides between entries that share a held key.
  for (std::uint32_t directory : {kIfd0, kExifIfd, kGpsIfd}) {
    const int i = exif.FindTag(directory, static_cast<std::uint16_t>(*key));
    if (i < 0) continue;
    const TTifTag& tag = exif.tags()[static_cast<std::size_t>(i)];
    out = {std::string(fieldName), std::string(exifTagLabel(tag.directory, tag.key)), tag.valueText()};
    return true;
  }
  return false;
}

std::string TFoto::panelDescription() const {
  const std::string lines[] = {"scale=10",
                               "version=1.0",
                               "Color=(200,0,0)",
                               "xorientationview=1",
                               ";zorientationview=1",
                               "textureT=" + fileName.string() + ",1",
                               "Quad=[20,0,40]:[-20,0,40]:[-20,0,-0]:[20,0,-0]:"};
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

TFotos* TCjtoFotos::LoadFolder(const std::filesystem::path& folder, std::string& message, bool readPhotos) {
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
  auto group = std::make_unique<TFotos>();
  group->folder = folder;
  group->photos.reserve(files.size());
  for (const auto& file : files) {
    auto photo = std::make_unique<TFoto>();
    photo->exif.setGpsQuirks(gpsQuirks);
    photo->fileName = file;
    std::string photoMessage;
    if (readPhotos && !photo->load(file, photoMessage)) appendMessage(message, file.filename().string() + ": " + photoMessage);
    group->photos.add(std::move(photo));
  }
  return &groups.add(std::move(group));
}

Placement TCjtoFotos::placePhoto(TFoto& photo, TVolGPS& track, const TrackSettings& settings) const {
  Placement placement;
  DateTimeValue capture = 0.0;
  if (!photo.hasTime || !photo.time.toValue(capture)) {
    placement.status = PlacementStatus::NoTime;
    return placement;
  }
  placement.trackTime = capture + clockOffsetDays;
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

int TCjtoFotos::Synchronise(TFotos& group, TVolGPS& track, const TrackSettings& settings, std::vector<Placement>& out,
                            const std::function<void(std::size_t, std::size_t)>& progress) {
  out.clear();
  if (!markTrack && !addCoordinates) return 0;
  int placed = 0;
  const std::size_t total = group.photos.size();
  for (std::size_t i = 0; i < total; ++i) {
    TFoto& photo = group.photos[i];
    out.push_back(placePhoto(photo, track, settings));
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
