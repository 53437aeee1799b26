#include "app/track_settings.hpp"

#include "app/Configuration.hpp"
#include "core/messages.hpp"
#include "tracks/track_datum.hpp"

namespace pixtrail {

namespace {
TrackFileSettings trackFileSettings(const Configuration& c, std::string& message) {
  TrackFileSettings s;
  s.track.preferGpsAltitude = c.preferGpsAltitude;
  s.track.maxGapSeconds = c.maxGapSeconds;
  s.waypoints.displayType = c.waypointDisplayType;
  s.waypoints.displayValue1 = static_cast<float>(c.waypointLabelOffset.get());
  s.waypoints.displayValue2 = c.waypointLabelColour;
  s.waypoints.displayFlag1 = c.waypointLabelBox ? 1 : 0;
  s.file.mode = isFileCoordinateMode(c.fileCoordinateMode) ? c.fileCoordinateMode.get() : kFileDegrees;
  int datum = kDatumWgs84;
  if (datumFromFileName(c.fileDatum.get(), datum, message)) s.file.datum = datum;
  return s;
}

CoordinateTextSettings coordinateTextSettings(const Configuration& c) {
  CoordinateTextSettings s;
  if (c.angleFormat >= kDecimalDegrees && c.angleFormat <= kSignedDegrees) s.angleFormat = c.angleFormat;
  s.parisLetterFromLongitude = c.parisLetterFromLongitude;
  s.utmAsGeographic = c.utmAsGeographic;
  return s;
}
}  // namespace

CommandSettings commandSettingsFromConfiguration(std::string& message) {
  const Configuration& c = configuration();
  CommandSettings s;
  s.trackFiles = trackFileSettings(c, message);
  s.coordinateText = coordinateTextSettings(c);
  s.exifExactQuirks = c.exifExactQuirks;
  s.garminTimeoutMs = c.commTimeoutGarminMs;
  return s;
}

}  // namespace pixtrail
