#pragma once
// gpsbabel as the independent client of a simulated unit: what it downloads, as GPX on its
// standard output, read here with pugixml and none of our own readers. Without gpsbabel the GPX it
// gave when the answers were stored is read instead (tests/data/golden/sim/).
#include <pugixml.hpp>

#include <string>
#include <vector>

#include "tests/support/test_support.hpp"

namespace pixtrail::sim {

struct GpxPoint {
  std::string name, comment, symbol, time;
  double lat = 0, lon = 0;
  bool hasEle = false;
  double ele = 0;
};

inline std::vector<GpxPoint> gpxPoints(const std::string& gpx, const char* xpath) {
  pugi::xml_document doc;
  std::vector<GpxPoint> points;
  if (!doc.load_string(gpx.c_str())) return points;
  for (const auto& node : doc.select_nodes(xpath)) {
    const pugi::xml_node n = node.node();
    GpxPoint p;
    p.lat = n.attribute("lat").as_double();
    p.lon = n.attribute("lon").as_double();
    p.name = n.child_value("name");
    while (!p.name.empty() && p.name.back() == ' ') p.name.pop_back();  // fixed-length fields' padding
    p.comment = n.child_value("cmt");
    p.symbol = n.child_value("sym");
    p.time = n.child_value("time");
    if (n.child("ele")) {
      p.hasEle = true;
      p.ele = n.child("ele").text().as_double();
    }
    points.push_back(p);
  }
  return points;
}

// gpsbabel run with `arguments` (its input side and the kinds to read), GPX on standard output.
inline test::CommandOutput gpsbabelGpx(const std::string& arguments, const std::string& golden,
                                       const std::string& environment = "") {
  return test::oracleOutput("gpsbabel", environment + (environment.empty() ? "" : " ") + "timeout 60 gpsbabel " +
                                            arguments + " -o gpx -F -",
                            "sim/" + golden + ".gpx");
}

// gpsbabel sending a GPX file to a unit; only with gpsbabel at hand.
inline test::CommandOutput gpsbabelUpload(const std::string& arguments, const std::string& environment = "") {
  return test::runCommand(environment + (environment.empty() ? "" : " ") + "timeout 60 gpsbabel " + arguments);
}

}  // namespace pixtrail::sim
