#pragma once
// The Magellan sentences as the serial link and the disk units' files carry them: building the
// waypoint, route, track and command sentences, reading route messages in both layouts, and the
// PMGNCSM acknowledgement. Waypoints and track points are read by TComandaNMEA_Rx::ParsePMGNWPL and
// decodePmgntrk.
//
// Decisions where units and their public protocol description leave room:
// - PMGNCSM carries, as its one field, the two checksum characters of the sentence it
//   acknowledges, as received; the sender compares them with what it sent and repeats the
//   sentence when they differ or do not come.
// - PMGNTRK: latitude, N/S, longitude, E/W, altitude, unit, time hhmmss.ss, "A"/"V", track name,
//   date ddmmyy (the date field came with the later units; older ones stop at the name).
// - PMGNRTE: message count, message number, "c", route number, then waypoint name and icon
//   pairs. The disk units' files put the route name after the route number, as their layout line
//   says; serial units have no place for it. A reader tells the two apart by the number of
//   fields after the route number: pairs make it even, a name before the pairs makes it odd. Some
//   writers end a message with one empty field too many ("SYDNEY,a,"), so one trailing empty
//   field on an odd count is not counted; and since a short last message can still mislead, the
//   layout is decided once for all the messages read together (any odd message: named). Writers
//   here never leave an icon empty (the unit's default icon "a"), so their messages are plain.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "devices/TComandaNMEA.hpp"

namespace pixtrail {

// The system's texts, compared byte for byte ("Threre", "swich" and the routes message that speaks
// of tracks kept as they stand).
namespace magellan_text {
inline constexpr std::string_view kNoWaypoints = "Error reading waypoints, there are no messages of type PMGNWPL";
inline constexpr std::string_view kNoRoutes = "Error reading tracks, no PMGNRTE are arriving";
inline constexpr std::string_view kNoTracks = "Error reading tracks, there are no PMGNTRK messages";
inline constexpr std::string_view kNoUsbDisk =
    "OrvexGPS did not detect a Magellan GPS connected as a USB disk.";
inline constexpr std::string_view kNoWaypointsInGps = "Threre are no waypoints in this GPS";
inline constexpr std::string_view kNoRoutesInGps = "Threre are no routes in this GPS";
inline constexpr std::string_view kSwitchToNmea = "You must swich your GPS to nmea mode to make this operation";
inline constexpr std::string_view kWaypointLayout =
    "$PMGNFMT,%WPL,LAT,HEMI,LON,HEMI,ALT,UNIT,NAME,MSG,ICON,CHKSUM,%META,ASCII";
inline constexpr std::string_view kRouteLayout =
    "$PMGNFMT,%RTE,NUM_MSG,ID,FLAG,NUM,NAME,WPT_NAME1,ICON1,WPT_NAME2,ICON2,CHKSUM%WPL,LAT,HEMI,LON,HEMI,"
    "ALT,UNIT,NAME,MSG,ICON,CHKSUM,%META,ASCII";
inline constexpr std::string_view kEnd = "$PMGNCMD,END*3D";
}  // namespace magellan_text

enum class MagellanRouteLayout { kSerial, kNamed };

// One route message of either layout.
struct MagellanRouteMessage {
  int messageCount = 0;
  int messageNumber = 0;
  std::string routeNumber;
  std::string routeName;  // empty in the serial layout
  std::vector<std::string> waypointNames;
  std::vector<std::string> icons;  // one per waypoint name, "" for the unit's default
};

// "$" + body + "*hh" + CR LF, through the sentence builder.
std::string magellanSentence(const std::vector<std::string>& fields);
// PMGNCMD with its word and, when not empty, its argument.
std::string magellanCommand(std::string_view word, std::string_view argument = {});
// The acknowledgement of a received sentence.
std::string magellanAcknowledgement(const TComandaNMEA& received);

// Sentence fields (field 0 the identifier) of one waypoint, one track point and one route.
// Names and texts lose the characters that would break a sentence ("$", "*", ",", line ends).
std::vector<std::string> magellanWaypointFields(const NmeaWaypoint& w);
std::vector<std::string> magellanTrackFields(const NmeaTrackPoint& p, std::string_view trackName = {});
// A route of `waypoints` (name, icon) as messages of two waypoints each.
std::vector<std::vector<std::string>> magellanRouteFields(std::string_view routeNumber, std::string_view routeName,
                                                           const std::vector<std::pair<std::string, std::string>>& waypoints,
                                                           MagellanRouteLayout layout);

// The layout one PMGNRTE looks like on its own (see above).
MagellanRouteLayout magellanRouteLayoutOf(const TComandaNMEA_Rx& s);
// Reads a PMGNRTE in `layout`; "NMEA-Mag: Baliza de ruta no encontrada" when it cannot. A waypoint
// slot with an empty name is passed over.
bool readMagellanRouteMessage(const TComandaNMEA_Rx& s, MagellanRouteLayout layout, MagellanRouteMessage& out,
                              TErrorNMEA& error);
// Reads route sentences read together (whole lines), deciding their layout once.
bool readMagellanRouteMessages(const std::vector<std::string>& lines, std::vector<MagellanRouteMessage>& out,
                               TErrorNMEA& error);

// The icon a route waypoint gets when it has none.
inline constexpr std::string_view kMagellanDefaultIcon = "a";

// Text safe inside one sentence field.
std::string magellanFieldText(std::string_view text);

}  // namespace pixtrail
