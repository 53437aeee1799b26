#pragma once
// What the tests on the simulated Magellan units share: a decoder of the unit's sentences written
// apart from our own readers (so a fault there cannot hide), and a unit's USB disk laid out in a
// folder: the unit's description file, its language file beside it, and data files in the unit's
// folders, written as the units write them (layout line, sentences, closing END).

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/sim/magellan/MagellanSimulator.hpp"
#include "tests/sim/sim_line.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::sim {

inline std::unique_ptr<TPuertoCom> openSimulatorPort(const MagellanSimulator& unit) {
  return openHostLine(unit.portPath());
}

inline std::string transcriptText(const MagellanSimulator& unit) {
  std::string text;
  for (const std::string& line : unit.transcript()) text += line + "\n";
  return text;
}

struct SentencePosition {
  double lat = 0, lon = 0, altM = 0;
  std::string name;
};

// PMGNWPL / PMGNTRK body: ddmm.mmm,N,dddmm.mmm,E,altitude,unit[,name for waypoints].
inline SentencePosition decodeSentencePosition(const std::string& body) {
  std::vector<std::string> f;
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = body.find(',', start);
    f.push_back(body.substr(start, comma - start));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  auto degrees = [](const std::string& text, int degreeDigits) {
    return std::atof(text.substr(0, degreeDigits).c_str()) + std::atof(text.substr(degreeDigits).c_str()) / 60.0;
  };
  SentencePosition p;
  p.lat = degrees(f.at(1), 2) * (f.at(2) == "S" ? -1 : 1);
  p.lon = degrees(f.at(3), 3) * (f.at(4) == "W" ? -1 : 1);
  p.altM = std::atof(f.at(5).c_str()) * (f.at(6) == "F" ? 0.3048 : 1.0);
  if (f.at(0) == "PMGNWPL" && f.size() > 7) p.name = f[7];
  return p;
}

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
