#include "tracks/waypoint_format_gpx.hpp"

#include <cmath>
#include <cstdio>
#include <sstream>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_gpx.hpp"
#include "tracks/xml_element_stream.hpp"

namespace pixtrail {

namespace {

std::string childText(const pugi::xml_node& node, std::string_view name) {
  return utf8ToLatin1(childByLocalName(node, name).child_value());
}

class WaypointHandler : public XmlElementHandler {
 public:
  explicit WaypointHandler(TBalizas& file) : file_(file) {}
  void containerStart(std::string_view) override {}
  void containerEnd(std::string_view) override {}
  void element(const pugi::xml_node& node, int) override {
    if (localName(node.name()) != "wpt") return;
    const auto lat = parseDouble(node.attribute("lat").value());
    const auto lon = parseDouble(node.attribute("lon").value());
    if (!lat || !lon || !isPlausibleLatLon(*lat, *lon, kMaxEastLonDeg)) {
      ++skipped;
      return;
    }
    TBaliza w;
    w.position = fromFileDatum({*lon, *lat, kUnknownAltitude}, kDatumWgs84);
    w.position.alt = kUnknownAltitude;
    if (const auto ele = parseDouble(childByLocalName(node, "ele").child_value()))
      w.position.alt = static_cast<float>(*ele);
    w.name = childText(node, "name");
    w.description = childText(node, "desc");
    if (w.description.empty()) w.description = childText(node, "cmt");
    w.symbol = childText(node, "sym");
    file_.waypoints.emplace(std::move(w));
  }
  std::size_t skipped = 0;

 private:
  TBalizas& file_;
};

}  // namespace

bool readGpxWaypointsStream(std::FILE* f, const std::string& fileName, TBalizas& file, std::string& message) {
  XmlStreamOptions options;
  options.isContainer = [](std::string_view n) { return n == "gpx"; };
  TBalizas loaded;
  WaypointHandler handler(loaded);
  if (!streamXmlElements(f, fileName, options, handler, message)) return false;
  if (handler.skipped > 0)
    appendMessage(message, fileName + ": " + std::to_string(handler.skipped) + " waypoints without a readable lat/lon skipped");
  if (loaded.waypoints.empty()) {
    appendMessage(message, fileName + ": no waypoints in this GPX file");
    return false;
  }
  file.waypoints = std::move(loaded.waypoints);
  file.fileName = fileName;
  return true;
}

bool readGpxWaypointsText(std::string_view text, const std::string& fileName, TBalizas& file,
                          std::string& message) {
  if (text.empty()) {
    appendMessage(message, fileName + ": empty");
    return false;
  }
  std::FILE* f = fmemopen(const_cast<char*>(text.data()), text.size(), "rb");
  if (!f) return false;
  const bool ok = readGpxWaypointsStream(f, fileName, file, message);
  std::fclose(f);
  return ok;
}

std::string gpxWaypointsText(const TBalizas& file) {
  pugi::xml_document doc;
  pugi::xml_node gpx = appendGpx11Root(doc);
  char number[32];
  for (const TBaliza& w : file.waypoints) {
    const TCoord wgs84 = toFileDatum(w.position, kDatumWgs84);
    pugi::xml_node wpt = gpx.append_child("wpt");
    std::snprintf(number, sizeof number, "%.9f", wgs84.lat);
    wpt.append_attribute("lat") = number;
    std::snprintf(number, sizeof number, "%.9f", wgs84.lon);
    wpt.append_attribute("lon") = number;
    // Schema order: ele, time, ..., name, cmt, desc, ..., sym.
    if (hasAltitude(w.position.alt)) {
      std::snprintf(number, sizeof number, "%.3f", w.position.alt);
      wpt.append_child("ele").text() = number;
    }
    if (!w.name.empty()) wpt.append_child("name").text() = latin1ToUtf8(w.name).c_str();
    if (!w.description.empty()) wpt.append_child("desc").text() = latin1ToUtf8(w.description).c_str();
    if (!w.symbol.empty()) wpt.append_child("sym").text() = latin1ToUtf8(w.symbol).c_str();
  }
  std::ostringstream out;
  doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
  return out.str();
}

}  // namespace pixtrail
