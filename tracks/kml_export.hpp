#pragma once
// KML export for globe viewers: tracks (one gx:Track per segment when every point has a time, so
// the viewer's time slider plays them; plain LineStrings otherwise), waypoints as pins and
// geotagged photos as pins whose balloon shows the picture. Positions are written in WGS 84.
#include <filesystem>
#include <string>
#include <vector>

#include "core/TCoord.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// A photo to show: its file (as the balloon's image source) and where it was taken, in the
// working datum.
struct KmlPhoto {
  std::string file;
  TCoord position;
};

struct KmlContent {
  std::vector<const TVolGPS*> tracks;
  std::vector<const TBalizas*> waypointFiles;
  std::vector<KmlPhoto> photos;
  std::string documentName = "Pixtrail";
  TrackSettings settings;  // the altitude rule of the user's settings
};

std::string kmlText(const KmlContent& content);
bool writeKml(const KmlContent& content, const std::filesystem::path& path, bool keepBackup,
              std::string& message);

}  // namespace pixtrail
