#pragma once
// The photos of a document: one TFotos per loaded folder, each photo a point object with its EXIF
// data, and the synchronisation that places photos on a track by their capture time.

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"
#include "core/VectorP.hpp"
#include "photos/TJpegExif.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// One "Exif::" field of a photo.
struct PhotoField {
  std::string name;   // "Exif::" and the held key in decimal
  std::string label;  // the tag's label, empty when the tag has none
  std::string text;
};

class TFoto {
 public:
  std::filesystem::path fileName;
  TCoord position;               // in `datum`
  int datum = kWorkingDatum;
  DateTimeRecord time;           // capture time as the camera wrote it
  bool hasTime = false;
  bool hasPosition = false;
  bool readable = false;         // the EXIF block could be read
  std::string loadMessage;       // why not, when it could not
  TJpegExif exif;                // owns the tag list
  std::string thumbnail;         // the JPEG thumbnail of the EXIF block, when there is one
  // GPS entries that belong to the new fix (its estimated error, say): set after the position,
  // which clears what the old fix left behind.
  std::vector<TTifTag> fixEntries;

  // Reads the EXIF data, the capture time and any stored position (converted to the working datum).
  bool load(const std::filesystem::path& file, std::string& message);
  std::string name() const { return fileName.filename().string(); }

  // Writes the position into the photo: into `target`, which must not exist yet, or in place when
  // `target` is the photo's own file. The photo then refers to the target.
  bool Save(const std::filesystem::path& target, std::string& message, const SafeWriteOptions& write = {});
  // The position and `fixEntries` into the tag list only (what Save writes).
  bool SetFix(std::string& message);

  std::vector<PhotoField> exifFields() const;
  // "Exif::<key>": the first entry with that key in IFD0, the EXIF IFD, then the GPS IFD.
  bool exifField(std::string_view fieldName, PhotoField& out) const;
  // The textured panel that stands for the photo in the 3D view.
  std::string panelDescription() const;
};

class TFotos {
 public:
  std::filesystem::path folder;
  VectorP<TFoto> photos;
};

// How one photo fared in a synchronisation.
enum class PlacementStatus { Placed, NoTime, NotCovered };

struct Placement {
  PlacementStatus status = PlacementStatus::NotCovered;
  DateTimeValue trackTime = 0.0;  // capture time plus the camera clock offset
  PositionAtTime where;
};

class TCjtoFotos {
 public:
  static constexpr std::string_view kDisplayName = "Fotos";

  VectorP<TFotos> groups;
  double clockOffsetDays = 0.0;  // camera clock offset, added to every capture time
  bool markTrack = false;        // mark the track with the photos
  bool addCoordinates = false;   // give the photos the positions found
  GpsQuirks gpsQuirks = GpsQuirks::Safe;  // how the photos' GPS entries are read and written

  // Every file of the folder whose extension is "jpg" in any case, in name order. Photos whose
  // EXIF cannot be read are kept (without time) and their messages gathered. Without `readPhotos`
  // the photos only get their file names, for a caller that reads them later (TFoto::load).
  TFotos* LoadFolder(const std::filesystem::path& folder, std::string& message, bool readPhotos = true);

  // Places one photo on the track at its capture time plus the clock offset.
  Placement placePhoto(TFoto& photo, TVolGPS& track, const TrackSettings& settings) const;
  // The whole group in list order; `progress` is told after each photo. Returns the number placed.
  int Synchronise(TFotos& group, TVolGPS& track, const TrackSettings& settings, std::vector<Placement>& out,
                  const std::function<void(std::size_t done, std::size_t total)>& progress = {});
};

// Adds the photo as a mark beside the track at its place and time; the points stay as they were.
void markPhotoOnTrack(TVolGPS& track, const TFoto& photo, const Placement& placement);

}  // namespace pixtrail
