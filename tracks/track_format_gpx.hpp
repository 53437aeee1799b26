#pragma once
// GPX 1.0 and 1.1 tracks. Reading streams the file (see xml_element_stream.hpp) so that memory
// grows with the points, not with the text. Every <trk> and <trkseg> starts a segment; a file with
// route points and no track points opens its routes as the track. Heart rate, cadence,
// temperature, speed and course come from the common extensions (Garmin TrackPointExtension v1/v2,
// ClueTrust gpxdata) and the GPX 1.0 elements; fix, sat and hdop from the standard elements.
// Writing gives GPX 1.1 with TrackPointExtension v2, which holds every one of those values.
#include <string>

#include "tracks/TVolGPS.hpp"

namespace pixtrail {

struct GpxReadStats {
  std::size_t trackPoints = 0;
  std::size_t routePoints = 0;
  std::size_t waypoints = 0;
  std::size_t skippedPoints = 0;  // no readable lat/lon
};

bool readGpxTrack(const std::string& fileName, TVolGPS& track, std::string& message,
                  GpxReadStats* stats = nullptr);
// The same from text in memory (fuzzing, tests).
bool readGpxTrackText(std::string_view text, TVolGPS& track, std::string& message);

// Writes the track through a temporary file; refuses an existing file unless `overwrite`.
bool writeGpxTrack(const TVolGPS& track, const std::string& fileName, std::string& message,
                   bool overwrite = true);
std::string gpxTrackText(const TVolGPS& track);

}  // namespace pixtrail
