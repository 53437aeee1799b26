#pragma once
// Lays out a Magellan unit's USB disk in a folder: the unit's description file, its language
// file beside it, and data files in the unit's folders, written as the units write them (layout
// line, sentences, closing END). The sample unit's sentences are the content.

#include <filesystem>
#include <string>
#include <vector>

#include "tests/sim/magellan/MagellanSimulator.hpp"
#include "tests/sim/magellan/magellan_sample_unit.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::sim {

struct MagellanDiskLayout {
  std::string unitFolder = "USBTRANS";   // the units' own spelling; some show it in lower case
  std::string trackFolder = "TrackLogs";  // or "Track Logs"
  bool waypoints = true, routes = true, tracks = true, pointsOfInterest = false;
};

inline std::string magellanFileText(const std::string& layoutLine, const std::vector<std::string>& bodies) {
  std::string text = layoutLine.empty() ? std::string() : layoutLine + "\r\n";
  for (const std::string& b : bodies) text += MagellanSimulator::frame(b);
  return text + "$PMGNCMD,END*3D\r\n";
}

inline void layOutMagellanDisk(const std::filesystem::path& root, const MagellanDiskLayout& layout = {}) {
  namespace fs = std::filesystem;
  const MagellanUnitSetup unit = sampleUnit();
  fs::create_directories(root / layout.unitFolder);
  test::writeFileBytes(root / layout.unitFolder / "UNIT_ID.DAT",
                       "Model=eXplorist 500\r\nSW Version=2.05\r\nSerial Number=0123456789\r\nUSB Device=MSD\r\n");
  test::writeFileBytes(root / layout.unitFolder / "language.dat", "ENGLISH\r\n");
  const std::string wplLayout = "$PMGNFMT,%WPL,LAT,HEMI,LON,HEMI,ALT,UNIT,NAME,MSG,ICON,CHKSUM,%META,ASCII";
  if (layout.waypoints) {
    fs::create_directories(root / "Waypoints");
    test::writeFileBytes(root / "Waypoints" / "Europe.upt",
                         magellanFileText(wplLayout, {unit.waypoints[0], unit.waypoints[1], unit.waypoints[4]}));
    test::writeFileBytes(root / "Waypoints" / "South.upt", magellanFileText(wplLayout, {unit.waypoints[2], unit.waypoints[3]}));
  }
  if (layout.pointsOfInterest) {
    fs::create_directories(root / "MyPOIs");
    test::writeFileBytes(root / "MyPOIs" / "Fuel.upt",
                         magellanFileText(wplLayout, {"PMGNWPL,4030.000,N,00340.000,W,0000700,M,FUEL,Station,f"}));
  }
  if (layout.routes) {
    fs::create_directories(root / "Routes");
    std::vector<std::string> bodies = unit.waypoints;
    // The disk units name their routes: the name follows the route number.
    bodies.push_back("PMGNRTE,3,1,c,1,GRAND TOUR,MADRID,a,BCN,b");
    bodies.push_back("PMGNRTE,3,2,c,1,GRAND TOUR,RIO,a,SYDNEY,c");
    bodies.push_back("PMGNRTE,3,3,c,1,GRAND TOUR,REYKJA,d");
    test::writeFileBytes(root / "Routes" / "Tour.rte",
                         magellanFileText("$PMGNFMT,%RTE,NUM_MSG,ID,FLAG,NUM,NAME,WPT_NAME1,ICON1,WPT_NAME2,ICON2,CHKSUM"
                                          "%WPL,LAT,HEMI,LON,HEMI,ALT,UNIT,NAME,MSG,ICON,CHKSUM,%META,ASCII",
                                          bodies));
  }
  if (layout.tracks) {
    fs::create_directories(root / layout.trackFolder);
    test::writeFileBytes(root / layout.trackFolder / "Track1.log", magellanFileText("", unit.tracks));
  }
}

}  // namespace pixtrail::sim
