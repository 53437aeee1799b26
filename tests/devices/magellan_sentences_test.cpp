// The Magellan sentence builders and the route message reader, checked against sentences written
// out by hand from the public layout (checksums computed apart, as the XOR of the body, with a one-line script).

#include "devices/magellan_sentences.hpp"

#include <gtest/gtest.h>

#include "tests/support/nmea_lines.hpp"

namespace pixtrail {
namespace {

TComandaNMEA_Rx parsed(const std::string& line) { return test::parsedLine<TComandaNMEA_Rx>(line); }

TEST(MagellanSentences, CommandsAndAcknowledgementsAreFramedAndChecksummed) {
  // The checksum of "PMGNCMD,END" is 3D: the text the files end with.
  EXPECT_EQ(magellanCommand("END"), "$PMGNCMD,END*3D\r\n");
  EXPECT_EQ(magellanCommand("TRACK", "2"), "$PMGNCMD,TRACK,2*23\r\n");
  // The acknowledgement carries the received sentence's checksum characters, whatever they were.
  EXPECT_EQ(magellanAcknowledgement(parsed("$PMGNCMD,END*3D")), "$PMGNCSM,3D*12\r\n");
  EXPECT_EQ(magellanAcknowledgement(parsed("$PMGNCMD,VERSION*28\r\n")), "$PMGNCSM,28*6F\r\n");
}

TEST(MagellanSentences, WaypointAndTrackFieldsInAllFourQuadrants) {
  NmeaWaypoint w;
  w.name = "SYD,NEY";  // a comma would split the field
  w.position = {151.2153, -33.8568, 5.4f};
  w.comment = "Opera*House";
  w.icon = "c";
  const std::vector<std::string> expected{"PMGNWPL", "3351.4080", "S",       "15112.9180", "E",
                                          "0000005", "M",         "SYD NEY", "Opera House", "c"};
  EXPECT_EQ(magellanWaypointFields(w), expected);

  NmeaTrackPoint p;
  p.position = {-3.5, 40.1, kUnknownAltitude};
  p.time.hour = 23, p.time.minute = 59, p.time.seconds = 59.996;  // never rounded up into the next minute
  p.time.day = 30, p.time.month = 4, p.time.year = 2024;
  p.valid = true;
  const std::vector<std::string> track{"PMGNTRK", "4006.0000", "N", "00330.0000", "W", "", "M", "235959.99",
                                       "A",       "",          "300424"};
  EXPECT_EQ(magellanTrackFields(p), track);
  p.position.alt = -12.4f;
  EXPECT_EQ(magellanTrackFields(p)[5], "-0012");
}

TEST(MagellanSentences, RoutesGoTwoWaypointsAMessageWithTheDefaultIcon) {
  const std::vector<std::pair<std::string, std::string>> stops{{"A", "b"}, {"B", ""}, {"C", "d"}};
  const auto serial = magellanRouteFields("4", "TOUR", stops, MagellanRouteLayout::kSerial);
  ASSERT_EQ(serial.size(), 2u);
  EXPECT_EQ(serial[0], (std::vector<std::string>{"PMGNRTE", "2", "1", "c", "4", "A", "b", "B", "a"}));
  EXPECT_EQ(serial[1], (std::vector<std::string>{"PMGNRTE", "2", "2", "c", "4", "C", "d"}));
  const auto named = magellanRouteFields("4", "TOUR", stops, MagellanRouteLayout::kNamed);
  EXPECT_EQ(named[1], (std::vector<std::string>{"PMGNRTE", "2", "2", "c", "4", "TOUR", "C", "d"}));
}

TEST(MagellanSentences, RouteMessagesOfBothLayoutsAndTheirTrailingComma) {
  const struct {
    std::vector<std::string> lines;
    std::string name;
    std::vector<std::string> waypoints;
    const char* why;
  } rows[] = {
      {{"$PMGNRTE,2,1,c,1,MADRID,a,BCN,a*5E", "$PMGNRTE,2,2,c,1,SYDNEY,a,*54"}, "", {"MADRID", "BCN", "SYDNEY"},
       "serial layout, last message with a trailing empty field"},
      {{"$PMGNRTE,2,1,c,1,VIAJE,MADRID,a,BCN,a*23", "$PMGNRTE,2,2,c,1,VIAJE,SYDNEY,a,*29"}, "VIAJE",
       {"MADRID", "BCN", "SYDNEY"}, "named layout: the odd first message decides for the short last one"},
      {{"$PMGNRTE,1,1,c,7,TRIP,A,a*00"}, "TRIP", {"A"}, "named, one waypoint"},
  };
  for (const auto& row : rows) {
    std::vector<std::string> lines;
    for (std::string line : row.lines) {
      // Put the right checksum on hand-written rows that carry a placeholder.
      const std::string body = line.substr(1, line.find('*') - 1);
      line = magellanSentence({body});
      lines.push_back(line);
    }
    std::vector<MagellanRouteMessage> messages;
    TErrorNMEA error;
    ASSERT_TRUE(readMagellanRouteMessages(lines, messages, error)) << row.why << ": " << error.message;
    std::vector<std::string> names;
    for (const auto& m : messages) {
      EXPECT_EQ(m.routeName, row.name) << row.why;
      names.insert(names.end(), m.waypointNames.begin(), m.waypointNames.end());
    }
    EXPECT_EQ(names, row.waypoints) << row.why;
  }
}

TEST(MagellanSentences, RouteMessagesThatCannotBeReadNameTheMissingWaypoint) {
  for (const std::string body : {"PMGNRTE,2,3,c,1,A,a", "PMGNRTE,0,0,c,1,A,a", "PMGNRTE,x,1,c,1,A,a",
                                 "PMGNRTE,1,1,c,,A,a", "PMGNRTE,1,1"}) {
    std::vector<MagellanRouteMessage> messages;
    TErrorNMEA error;
    EXPECT_FALSE(readMagellanRouteMessages({magellanSentence({body})}, messages, error)) << body;
    EXPECT_EQ(error.message, "NMEA-Mag: Baliza de ruta no encontrada") << body;
    EXPECT_TRUE(messages.empty()) << body;
  }
}

}  // namespace
}  // namespace pixtrail
