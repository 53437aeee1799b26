#pragma once
// Builds small NTv2 grid files for tests: any number of sub-grids whose shifts come from a
// function of the node position, in either byte order.

#include <functional>
#include <string>
#include <vector>

#include "core/byte_order.hpp"

namespace pixtrail::test {

struct SubGridSpec {
  std::string name = "SUBGRID";
  std::string parent = "NONE";
  // Bounds and steps in seconds, longitude positive west (NTv2 convention).
  double sLat = 0, nLat = 0, eLong = 0, wLong = 0, latInc = 0, longInc = 0;
  // Shift in seconds (latitude north, longitude west) at a node given in seconds.
  std::function<void(double latSec, double lonWestSec, float& dLat, float& dLonWest)> shift;
};

struct GridSpec {
  std::string systemF = "SOURCE";
  std::string systemT = "WGS84";
  std::vector<SubGridSpec> subGrids;
  ByteOrder order = ByteOrder::little;
};

std::string buildNtv2Grid(const GridSpec& spec);

}  // namespace pixtrail::test
