// A simulated Magellan unit for trying a client by hand: prints the terminal to open, serves until
// stdin closes, then prints what the unit holds. Options: --handshake (on from the start),
// --unable, --two-field-version, --silent, --silent-after N, --data FILE (sentences to hold, one a line).

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "tests/sim/magellan/MagellanSimulator.hpp"

int main(int argc, char** argv) {
  using namespace pixtrail::sim;
  MagellanUnitSetup setup = sampleUnit();
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--handshake") setup.handshakeAtStart = true;
    else if (arg == "--unable") setup.unable = true;
    else if (arg == "--two-field-version") setup.version = "PMGNVER,21,1.04";
    else if (arg == "--silent") setup.silent = true;
    else if (arg == "--version" && i + 1 < argc) setup.version = argv[++i];
    else if (arg == "--silent-after" && i + 1 < argc) setup.silentAfter = std::atoi(argv[++i]);
    else if (arg == "--empty") setup.waypoints.clear(), setup.routes.clear(), setup.tracks.clear();
    else if (arg == "--data" && i + 1 < argc) {
      std::ifstream in(argv[++i]);
      if (!in) {
        std::fprintf(stderr, "cannot read %s\n", argv[i]);
        return 2;
      }
      setup.waypoints.clear(), setup.routes.clear(), setup.tracks.clear();
      std::string line;
      while (std::getline(in, line)) {
        const std::size_t dollar = line.find('$'), star = line.rfind('*');
        if (dollar == std::string::npos || star == std::string::npos || star < dollar) continue;
        const std::string body = line.substr(dollar + 1, star - dollar - 1);
        if (body.rfind("PMGNWPL,", 0) == 0) setup.waypoints.push_back(body);
        if (body.rfind("PMGNRTE,", 0) == 0) setup.routes.push_back(body);
        if (body.rfind("PMGNTRK,", 0) == 0) setup.tracks.push_back(body);
      }
    }
    else {
      std::fprintf(stderr, "unknown option %s\n", arg.c_str());
      return 2;
    }
  }
  MagellanSimulator unit(setup);
  if (!unit.start()) return 1;
  std::printf("%s\n", unit.portPath().c_str());
  std::fflush(stdout);
  std::string ignored;
  while (std::getline(std::cin, ignored)) {}
  unit.stop();
  for (const auto& list : {unit.waypoints(), unit.routes(), unit.tracks()})
    for (const std::string& s : list) std::printf("%s", MagellanSimulator::frame(s).c_str());
  for (const std::string& s : unit.transcript()) std::fprintf(stderr, "%s\n", s.c_str());
  return 0;
}
