#include "tracks/TBalizas.hpp"

#include <gtest/gtest.h>

#include "coords/TListaDatums.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

const FileCoordinates kDegrees{kDatumWgs84, kFileDegrees};

TBaliza waypoint(std::string name, std::string description, double lat = 40.425, double lon = -3.5) {
  TBaliza w;
  w.name = std::move(name);
  w.description = std::move(description);
  w.position = {lon, lat, 667.0f};
  return w;
}

std::string firstLine(const TBaliza& w) {
  std::string out, message;
  EXPECT_TRUE(appendWaypointLines(w, kDegrees, WaypointDefaults{}, out, message)) << message;
  return out.substr(0, out.find("\r\n"));
}

TEST(WaypointLine, NamesAndDescriptionsSurviveAWriteAndARead) {
  const struct { std::string name, description, nameField, nameBack, descriptionBack; } rows[] = {
      {"A B", "", "A_B___", "A B", ""},
      {"", "nothing", "VOID ", "", "nothing"},
      {"   ", "", "VOID ", "", ""},
      {"VOID", "a real name", "VOID__", "VOID", "a real name"},
      {"VOID  ", "", "VOID__", "VOID", ""},
      {"  Peak  ", "summit cross", "Peak__", "Peak", "summit cross"},
      {"Long name here", "two  blanks   here", "Long_name_here", "Long name here", "two blanks here"},
      {"Caf\xE9", "8-bit \xE9t\xE9", "Caf\xE9__", "Caf\xE9", "8-bit \xE9t\xE9"},
  };
  for (const auto& r : rows) {
    const std::string line = firstLine(waypoint(r.name, r.description));
    EXPECT_EQ(line.substr(0, 3 + r.nameField.size()), "W  " + r.nameField) << line;
    EXPECT_NE(line.find(" 27-MAR-62 00:00:00 667.000000"), std::string::npos) << line;
    TBaliza back;
    std::string message;
    ASSERT_TRUE(readWaypointLine(line, kDegrees, back, message)) << line;
    EXPECT_EQ(back.name, r.nameBack);
    EXPECT_EQ(back.description, r.descriptionBack);
    EXPECT_NEAR(back.position.lat, 40.425, 1e-9);
    EXPECT_NEAR(back.position.lon, -3.5, 1e-9);
    EXPECT_EQ(back.position.alt, 667.0f);
    EXPECT_TRUE(message.empty());
  }
}

TEST(WaypointLine, ReaderRules) {
  const std::string pos = " - 40.4250000\xBAN 3.5000000\xBAW ";
  const struct { std::string line; bool ok; std::string message; std::string description; float alt; const char* why; } rows[] = {
      {"W  Home" + pos + "01-JAN-99 12:34:56 10 at home", true, "", "at home", 10, "other date and time are skipped"},
      {"W\tHome\t-\t40.4250000\xBAN\t3.5000000\xBAW\tx\ty\t10\tat\thome", true, "", "at home", 10, "tabs separate"},
      {"W  Home" + pos + "27-MAR-62 00:00:00", true, "", "", -9999, "seven fields: no altitude"},
      {"W  Home" + pos + "27-MAR-62", false, "Error in WPT file", "", 0, "six fields"},
      {"W  Home - 40.4250000\xBAN 27-MAR-62 00:00:00 10 x", false, "", "", 0,
       "coordinates do not read: rejected without a message of its own"},
  };
  for (const auto& r : rows) {
    TBaliza w;
    w.name = "untouched";
    std::string message;
    EXPECT_EQ(readWaypointLine(r.line, kDegrees, w, message), r.ok) << r.why;
    EXPECT_EQ(message, r.message) << r.why;
    if (r.ok) {
      EXPECT_EQ(w.description, r.description) << r.why;
      EXPECT_EQ(w.position.alt, r.alt) << r.why;
    } else {
      EXPECT_EQ(w.name, "untouched") << "a failed read leaves the output alone: " << r.why;
    }
  }
}

TEST(WaypointLine, DisplayAndFontLinesOnlyWhenNeededAndReadBack) {
  TBaliza plain = waypoint("Plain", "");
  std::string out, message;
  ASSERT_TRUE(appendWaypointLines(plain, kDegrees, WaypointDefaults{}, out, message));
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << "defaults: the W line alone";

  TBaliza styled = waypoint("Styled", "a b");
  styled.symbol = "Flag Red";
  styled.displayType = 3;
  styled.displayValue1 = 2.5f;
  styled.displayValue2 = 255;
  styled.displayValue3 = 24;
  styled.displayFlag1 = 1;
  styled.displayFlag2 = 1;
  styled.displayText = "label, with comma";
  styled.displayValue4 = 150.0f;
  styled.font = std::make_unique<TBalizaFont>(TBalizaFont{"Arial Narrow", 10, 700, 1, 0, 0});
  out.clear();
  ASSERT_TRUE(appendWaypointLines(styled, kDegrees, WaypointDefaults{}, out, message));
  EXPECT_NE(out.find("\r\nw Flag Red,3,2.5,255,24,1,1,label, with comma,150\r\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\r\nt \"Arial Narrow\",10,700,1,0, 0\r\n"), std::string::npos) << out;

  TBalizas file;
  ASSERT_TRUE(parseWaypointFile("G  WGS 84\r\nU  0\r\n" + out, file, message)) << message;
  ASSERT_EQ(file.waypoints.size(), 1u);
  const TBaliza& w = file.waypoints[0];
  EXPECT_EQ(w.displayType, 3);
  EXPECT_EQ(w.displayValue3, 24);
  EXPECT_EQ(w.displayFlag2, 1);
  EXPECT_EQ(w.displayText, "label, with comma");
  EXPECT_EQ(w.displayValue4, 150.0f);
  ASSERT_TRUE(w.font);
  EXPECT_EQ(*w.font, *styled.font);
  // The reading of "w" and "t" is right when the file writes again as it was.
  std::string again;
  ASSERT_TRUE(appendWaypointLines(w, kDegrees, WaypointDefaults{}, again, message));
  EXPECT_EQ(again, out);
}

TEST(WaypointFile, SurvivesADatumChangeOnWriteAndBack) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  const int ed50 = datumTable().findByName("European 1950");
  ASSERT_GT(ed50, 0);
  TBalizas file;
  file.waypoints.emplace(waypoint("Madrid", "Puerta del Sol", 40.4168, -3.7038));
  file.waypoints.emplace(waypoint("Greenwich", "", 51.4779, -0.0015));
  test::TempDir dir;
  std::string message;
  TrackFileSettings inEd50;
  inEd50.file = {ed50, kFileDegrees};
  ASSERT_TRUE(saveWaypoints(file, dir / "w.wpt", inEd50, message)) << message;
  const std::string text = test::readFileBytes(dir / "w.wpt");
  EXPECT_EQ(text.substr(0, 20), "G  European 1950\r\nU ");
  // The ED50 coordinates differ from WGS 84 by about 100 m at Madrid (0.001 degree or more).
  EXPECT_EQ(text.find("40.4168000"), std::string::npos) << text;
  TBalizas back;
  ASSERT_TRUE(openWaypoints(dir / "w.wpt", back, {}, message)) << message;
  EXPECT_EQ(back.file.datum, ed50);
  ASSERT_EQ(back.waypoints.size(), 2u);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_NEAR(back.waypoints[i].position.lat, file.waypoints[i].position.lat, 2e-7);
    EXPECT_NEAR(back.waypoints[i].position.lon, file.waypoints[i].position.lon, 2e-7);
  }
  std::string again;
  ASSERT_TRUE(formatWaypointFile(back, inEd50.file, WaypointDefaults{}, again, message));
  EXPECT_EQ(again, text) << "written, read and written again: the same bytes";
}

TEST(WaypointFile, OziExplorerHeadersAndUnknownDatum) {
  const struct { std::string text; bool ok; std::string message; } rows[] = {
      {"OziExplorer Waypoint File Version 1.2\r\nWGS 84\r\nReserved 2\r\n\r\n", false,
       "Unknown OziExplorer waypoint format"},
      {"OziExplorer Waypoint File Version 1.1\r\nWGS 84\r\nReserved 2\r\ngarmin\r\n", true, ""},
      {"OziExplorer Waypoint File Version 1.0\r\nWGS 84\r\nReserved 2\r\ngarmin\r\n  1,A,1,2\r\n", true, ""},
      {"OziExplorer Waypoint File Version 1.0\r\nWGS 84\r\nReserved 2\r\ngarmin\r\n  1,A,north,2\r\n", true,
       "Error in OziExplorer waypoint format"},  // the bad line is dropped, the file is read
      {"OziExplorer Waypoint File Version 1.0\r\nWGS 84\r\nReserved 2\r\ngarmin\r\ngarbage\r\n", true,
       "Error in OziExplorer waypoint format"},  // its line layout is read by the OziExplorer reader
      {"G  No Such Datum\r\nU  0\r\n", false, "Unknown datum: No Such Datum"},
  };
  for (const auto& r : rows) {
    TBalizas file;
    std::string message;
    EXPECT_EQ(parseWaypointFile(r.text, file, message), r.ok) << r.text;
    EXPECT_EQ(message, r.message);
  }
}

TEST(WaypointFile, ABadLineDropsItsWaypointWithItsDisplayAndFontLines) {
  const std::string pos = " - 40.4250000\xBAN 3.5000000\xBAW ";
  const std::string text = "G  WGS 84\r\nU  0\r\n"
                           "W  First" + pos + "27-MAR-62 00:00:00 10 kept\r\n"
                           "W  Short" + pos + "27-MAR-62\r\n"  // six fields
                           "w Flag,3,2.5,255,24,1,1,,150\r\n"
                           "t \"Arial\",10,700,1,0, 0\r\n"
                           "W  Bad - north east 27-MAR-62 00:00:00 1 x\r\n"
                           "t \"Courier\",10,700,1,0, 0\r\n"
                           "W  Last" + pos + "27-MAR-62 00:00:00 20 kept too\r\n";
  TBalizas file;
  std::string message;
  ASSERT_TRUE(parseWaypointFile(text, file, message)) << "one bad line does not lose the file";
  EXPECT_EQ(message, "Error in WPT file");
  ASSERT_EQ(file.waypoints.size(), 2u);
  EXPECT_EQ(file.waypoints[0].name, "First");
  EXPECT_EQ(file.waypoints[1].name, "Last");
  EXPECT_EQ(file.waypoints[0].displayType, 1) << "the dropped waypoint's w line is not the first one's";
  EXPECT_FALSE(file.waypoints[0].font) << "nor its font line";
}

TEST(WaypointFile, DisplayDefaultsAreTheUsers) {
  const WaypointDefaults mine{3, 2.5f, 255, 1};
  TBaliza usual = waypoint("Usual", "");
  usual.displayType = 3;
  usual.displayValue1 = 2.5f;
  usual.displayValue2 = 255;
  usual.displayFlag1 = 1;
  TBalizas file;
  file.waypoints.emplace(usual);
  file.waypoints.emplace(waypoint("Plain", ""));  // the fixed defaults, not the user's
  std::string text, message;
  ASSERT_TRUE(formatWaypointFile(file, kDegrees, mine, text, message)) << message;
  // Only the waypoint that differs from the user's defaults gets a w line.
  EXPECT_EQ(text.substr(text.find("\r\n", text.find("W  Usual")) + 2, 3), "W  ") << text;
  EXPECT_EQ(text.substr(text.find("\r\n", text.find("W  Plain")) + 2, 2), "w ") << text;

  TBalizas back;
  ASSERT_TRUE(parseWaypointFile(text, back, message, mine)) << message;
  ASSERT_EQ(back.waypoints.size(), 2u);
  EXPECT_EQ(back.waypoints[0].displayType, 3) << "no w line: the user's defaults";
  EXPECT_EQ(back.waypoints[0].displayValue2, 255);
  EXPECT_EQ(back.waypoints[0].displayFlag1, 1);
  EXPECT_EQ(back.waypoints[1].displayType, 1);
  std::string again;
  ASSERT_TRUE(formatWaypointFile(back, kDegrees, mine, again, message));
  EXPECT_EQ(again, text);
}

}  // namespace
}  // namespace pixtrail
