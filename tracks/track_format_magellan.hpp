#pragma once
// The Magellan text forms of waypoints (.upt) and routes (.rte), as the disk units keep them and as
// the serial link carries them: "$PMGNWPL" and "$PMGNRTE" sentences, headed in files by the
// unit's layout line and ended by "$PMGNCMD,END*3D". Positions on the wire are WGS 84; in memory
// they are in the working datum. (Track logs, .log, are read and written in track_format_nmea.)

#include <string>
#include <string_view>
#include <vector>

#include "devices/magellan_sentences.hpp"
#include "tracks/TBalizas.hpp"
#include "tracks/TRuta.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// A route's waypoint list as sent: (name, icon) pairs.
using MagellanRouteStops = std::vector<std::pair<std::string, std::string>>;

// True when the text is one of these forms (its first non-blank characters are "$PMGN").
bool looksLikeMagellanText(std::string_view text);

// Model and sentences. The waypoint and track point conversions shift the datum.
NmeaWaypoint toMagellanWaypoint(const TBaliza& w);
TBaliza fromMagellanWaypoint(const NmeaWaypoint& w);
MagellanRouteStops magellanRouteStops(const TRuta& route);
// Track points as sentence fields; the track's segments are not marked (units have no place for them).
std::vector<std::vector<std::string>> magellanTrackPointFields(const TVolGPS& track);

// Builds routes from route messages (any order, any number of routes) and the waypoints they
// name. A route with a message missing, or naming a waypoint not among `known`, is refused with
// "NMEA-Mag: Baliza de ruta no encontrada" (nothing is added then).
bool assembleMagellanRoutes(const std::vector<MagellanRouteMessage>& messages, const std::vector<NmeaWaypoint>& known,
                            TRutas& out, std::string& message);

// Whole texts. Readers take every sentence with a right checksum (a wrong one is refused with the
// sentence's message and the rest is read); writers use CR LF.
bool parseMagellanWaypointText(std::string_view text, TBalizas& out, std::string& message);
std::string magellanWaypointText(const TBalizas& waypoints);
bool parseMagellanRouteText(std::string_view text, TRutas& out, std::string& message);
std::string magellanRouteText(const TRutas& routes);

}  // namespace pixtrail
