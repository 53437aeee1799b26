#pragma once
// The photos of a document: one TFotos per loaded folder, and the synchronisation that places
// photos on tracks by their capture time.

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"
#include "core/VectorP.hpp"
#include "photos/TFoto.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

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
  bool markTrack = false;        // mark the track with the photos
  bool addCoordinates = false;   // give the photos the positions found
  GpsQuirks gpsQuirks = GpsQuirks::Safe;  // how the photos' GPS entries are read and written

  // Every file of the folder whose extension is "jpg" in any case, in name order, each once. Photos
  // whose EXIF cannot be read are kept (without time) and their messages gathered. `loaded` sees
  // each photo as soon as it is read. Without `readPhotos` the photos only get their file names,
  // for a caller that reads them later (TFoto::load).
  TFotos* LoadFolder(const std::filesystem::path& folder, std::string& message,
                     const std::function<void(TFoto&)>& loaded = {}, bool readPhotos = true);

  // Places one photo on the track at its capture time plus `offsetDays` (the camera clock offset).
  Placement placePhoto(TFoto& photo, TVolGPS& track, const TrackSettings& settings, double offsetDays) const;
  // The same over several tracks: the first that covers the photo's time wins. `track` receives
  // its index, or -1 when none covers it.
  Placement placeOnTracks(TFoto& photo, VectorP<TVolGPS>& tracks, const TrackSettings& settings, double offsetDays,
                          int& track) const;
  // The whole group in list order; `progress` is told after each photo. Returns the number placed.
  int Synchronise(TFotos& group, TVolGPS& track, const TrackSettings& settings, double offsetDays,
                  std::vector<Placement>& out,
                  const std::function<void(std::size_t done, std::size_t total)>& progress = {});
};

// Adds the photo as a mark beside the track at its place and time; the points stay as they were.
void markPhotoOnTrack(TVolGPS& track, const TFoto& photo, const Placement& placement);

}  // namespace pixtrail
