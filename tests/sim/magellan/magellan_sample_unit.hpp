#pragma once
// What the simulated unit holds unless a test says otherwise: waypoints in all four quadrants, one
// route that needs three messages, and a track log that runs across midnight. Written in the
// layouts a serial unit sends (a route message carries no route name).

#include "tests/sim/magellan/MagellanSimulator.hpp"

namespace pixtrail::sim {

inline MagellanUnitSetup sampleUnit() {
  MagellanUnitSetup s;
  s.waypoints = {
      "PMGNWPL,4025.122,N,00342.234,W,0000650,M,MADRID,Puerta del Sol,a",
      "PMGNWPL,4123.106,N,00210.404,E,0000012,M,BCN,Barceloneta,b",
      "PMGNWPL,3351.408,S,15112.918,E,0000005,M,SYDNEY,Opera,c",
      "PMGNWPL,2254.000,S,04310.500,W,0000000,M,RIO,,a",
      "PMGNWPL,6408.500,N,02156.400,W,0000061,M,REYKJA,Harbour,d",
  };
  s.routes = {
      "PMGNRTE,3,1,c,1,MADRID,a,BCN,b",
      "PMGNRTE,3,2,c,1,RIO,a,SYDNEY,c",
      "PMGNRTE,3,3,c,1,REYKJA,d",
  };
  s.tracks = {
      "PMGNTRK,4006.000,N,00330.000,W,00600,M,235950.00,A,,300424",
      "PMGNTRK,4006.100,N,00329.900,W,00605,M,235959.50,A,,300424",
      "PMGNTRK,4006.200,N,00329.800,W,00611,M,000010.00,A,,010524",
      "PMGNTRK,4006.300,N,00329.700,W,00620,M,000020.00,A,,010524",
  };
  return s;
}

}  // namespace pixtrail::sim
