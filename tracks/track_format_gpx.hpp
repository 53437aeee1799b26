#pragma once
// GPX 1.0 and 1.1 tracks. Reading streams
// the file (see xml_element_stream.hpp) so that memory grows with the points, not with the text.
// Every <trk> and <trkseg> starts a segment; a file with route points and no track points opens
// its routes as the track. Heart rate, cadence, temperature, speed, course and power come from the
// common extensions (Garmin TrackPointExtension v1/v2, ClueTrust gpxdata) and the GPX 1.0
// elements; fix, sat and hdop from the standard elements. Writing gives GPX 1.1 with
// TrackPointExtension v2, which holds every one of those values but power.
#include <cstdio>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "tracks/TVolGPS.hpp"

namespace pixtrail {

bool readGpxTrackStream(std::FILE* file, const std::string& fileName, TVolGPS& track,
                        std::string& message);
// The same from text in memory (fuzzing, tests).
bool readGpxTrackText(std::string_view text, TVolGPS& track, std::string& message);

std::string gpxTrackText(const TVolGPS& track, const TrackSettings& settings = {});

// A new GPX 1.1 document's declaration and <gpx> element, shared by the track and waypoint writers.
pugi::xml_node appendGpx11Root(pugi::xml_document& doc);

}  // namespace pixtrail
