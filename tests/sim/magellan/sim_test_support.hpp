#pragma once
// What the tests on the simulated unit share: a port opened on it as a host would, and a decoder
// of the unit's sentences written apart from our own readers (so a fault there cannot hide).

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "devices/TPuertoCom.hpp"
#include "tests/sim/magellan/MagellanSimulator.hpp"

namespace pixtrail::sim {

inline std::unique_ptr<TPuertoCom> openSimulatorPort(const MagellanSimulator& unit) {
  auto port = createPuertoCom();
  port->openPath(unit.portPath(), true);
  port->setBuffers();
  port->setState(9600);
  port->setTimeouts();
  return port;
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

}  // namespace pixtrail::sim
