#pragma once
// MapSource text export ("TXT"): tab-separated records keyed by their first field. "Grid" names the
// position form, "Datum" the datum (looked up in the datum table), every "Track" record starts a
// segment and each "Trackpoint" record is one point: position, time, altitude ("391 m", "1283 ft"),
// depth, temperature and leg values (not kept). Positions come as "N50 29.556 E12 06.325"
// (degrees and minutes), "N50.49260 E12.10543" (degrees) or "N50 29 33.4 E12 06 19.5" (degrees,
// minutes, seconds); times as "28/03/2006 00:10:37" (day first) or "3/28/2006 12:10:37 AM"
// (month first, 12-hour clock), taken as UTC. Waypoint and route records are passed over.
#include <optional>
#include <string>
#include <string_view>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// "N50 29.556 E12 06.325" and the other two forms; nothing on anything else.
std::optional<TCoord> parseMapSourcePosition(std::string_view text);
std::optional<DateTimeRecord> parseMapSourceTime(std::string_view text);

bool readMapSourceTextTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                                std::string& message);

}  // namespace pixtrail
