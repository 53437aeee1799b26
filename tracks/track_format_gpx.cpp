#include "tracks/track_format_gpx.hpp"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>

#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_common.hpp"
#include "tracks/xml_element_stream.hpp"

namespace pixtrail {

namespace {

constexpr const char* kGpxNamespace = "http://www.topografix.com/GPX/1/1";
constexpr const char* kTrackPointExtension = "http://www.garmin.com/xmlschemas/TrackPointExtension/v2";

bool isGpxContainer(std::string_view name) {
  return name == "gpx" || name == "trk" || name == "trkseg" || name == "rte";
}

// A number filling the whole text but for blanks around it.
bool parseNumber(const char* text, double& out) {
  const char* end = text + std::strlen(text);
  double v = 0.0;
  const char* stop = parseDecimal(text, end, v);
  if (!stop) return false;
  while (stop < end && (*stop == ' ' || *stop == '\t' || *stop == '\n' || *stop == '\r')) ++stop;
  if (stop != end) return false;
  out = v;
  return true;
}

bool nodeNumber(const pugi::xml_node& node, double& out) { return parseNumber(node.child_value(), out); }

// The extension values we hold, by the local names the common schemas give them.
void readExtensions(const pugi::xml_node& node, TPuntVol& p) {
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
    if (child.type() != pugi::node_element) continue;
    const std::string_view name = localName(child.name());
    double v = 0.0;
    if (child.first_child().type() == pugi::node_element) {
      readExtensions(child, p);
    } else if (!nodeNumber(child, v)) {
      continue;
    } else if (name == "hr" || name == "heartrate") {
      if (v > 0 && v < 32768) p.heartRate = static_cast<std::int16_t>(std::lround(v));
    } else if (name == "cad" || name == "cadence") {
      if (v >= 0) p.cadenceRpm = static_cast<float>(v);
    } else if (name == "atemp" || name == "temp") {
      p.temperatureC = static_cast<float>(v);
    } else if (name == "speed") {
      if (v >= 0) p.speedMs = static_cast<float>(v);
    } else if (name == "course") {
      if (v >= 0) p.courseDeg = static_cast<float>(v);
    } else if (name == "power") {
      p.powerW = static_cast<float>(v);
    }
  }
}

constexpr std::pair<std::string_view, std::int8_t> kFixTypes[] = {
    {"none", 0}, {"2d", 2}, {"3d", 3}, {"dgps", 3}, {"pps", 3}};

std::unique_ptr<TPuntVol> decodePoint(const pugi::xml_node& node) {
  double lat = 0.0, lon = 0.0;
  if (!parseNumber(node.attribute("lat").value(), lat) ||
      !parseNumber(node.attribute("lon").value(), lon) || !isPlausibleLatLon(lat, lon, kMaxEastLonDeg))
    return nullptr;
  auto p = makePoint(lat, lon, kUnknownAltitude, DateTimeRecord{});
  for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
    if (child.type() != pugi::node_element) continue;
    const std::string_view name = localName(child.name());
    double v = 0.0;
    if (name == "ele") {
      if (nodeNumber(child, v)) p->setAltitude(static_cast<float>(v));
    } else if (name == "time") {
      DateTimeRecord t;
      if (parseXmlDateTime(child.child_value(), t)) p->time = TPuntTiempo::fromRecord(t);
    } else if (name == "speed") {
      if (nodeNumber(child, v) && v >= 0) p->speedMs = static_cast<float>(v);
    } else if (name == "course") {
      if (nodeNumber(child, v) && v >= 0) p->courseDeg = static_cast<float>(v);
    } else if (name == "sat") {
      if (nodeNumber(child, v) && v >= 0 && v < 1000) p->satellites = static_cast<std::int32_t>(v);
    } else if (name == "hdop") {
      if (nodeNumber(child, v)) p->hdop = static_cast<float>(v);
    } else if (name == "fix") {
      for (const auto& [text, type] : kFixTypes)
        if (text == child.child_value()) p->fixType = type;
    } else if (name == "extensions") {
      readExtensions(child, *p);
    }
  }
  return p;
}

class GpxTrackHandler : public XmlElementHandler {
 public:
  explicit GpxTrackHandler(TVolGPS& track) : track_(track) {}

  void containerStart(std::string_view name) override {
    if (name == "trk" || name == "trkseg") newTrackSegment_ = true;
    if (name == "rte") newRouteSegment_ = true;
    if (name == "trk") inTrack_ = true;
    if (name == "trkseg") inSegment_ = true;
  }
  void containerEnd(std::string_view name) override {
    if (name == "trk") inTrack_ = false;
    if (name == "trkseg") inSegment_ = false;
  }

  void element(const pugi::xml_node& node, int) override {
    const std::string_view name = localName(node.name());
    // The first track's name names the track; the system keeps 8-bit text.
    if (name == "name" && inTrack_ && !inSegment_ && trackName.empty())
      trackName = utf8ToLatin1(node.child_value());
    const bool isTrackPoint = name == "trkpt";
    if (name == "wpt") {
      ++stats.waypoints;
      takeMark(node);
      return;
    }
    if (!isTrackPoint && name != "rtept") return;
    std::unique_ptr<TPuntVol> p = decodePoint(node);
    if (!p) {
      ++stats.skippedPoints;
      return;
    }
    bool& newSegment = isTrackPoint ? newTrackSegment_ : newRouteSegment_;
    p->segmentStart = newSegment ? 1 : 0;
    newSegment = false;
    if (isTrackPoint) {
      ++stats.trackPoints;
      track_.appendPoint(std::move(p));
    } else {
      ++stats.routePoints;
      routePoints_.add(std::move(p));
    }
  }

  // Waypoints beside the track (photos marked on it, say) are its marks.
  void takeMark(const pugi::xml_node& node) {
    const std::unique_ptr<TPuntVol> p = decodePoint(node);
    if (!p) return;
    TrackMark mark;
    for (const pugi::xml_node& child : node.children())
      if (localName(child.name()) == "name") mark.name = utf8ToLatin1(child.child_value());
    mark.position = p->position;
    mark.position.alt = p->altitude(true);
    mark.time = p->time;
    track_.marks.push_back(std::move(mark));
  }

  // Routes stand in for the track only when the file has no track points.
  void finish() {
    if (track_.pointCount() > 0) return;
    for (std::size_t i = 0; i < routePoints_.size(); ++i) track_.appendPoint(routePoints_[i].clone());
  }

  struct {
    std::size_t trackPoints = 0, routePoints = 0, waypoints = 0, skippedPoints = 0;
  } stats;

 private:
  TVolGPS& track_;
  VectorP<TPuntVol> routePoints_;
  bool newTrackSegment_ = true;
  bool newRouteSegment_ = true;
  bool inTrack_ = false, inSegment_ = false;

 public:
  std::string trackName;
};

}  // namespace

bool readGpxTrackStream(std::FILE* file, const std::string& fileName, TVolGPS& track,
                        std::string& message) {
  XmlStreamOptions options;
  options.isContainer = isGpxContainer;
  TVolGPS loaded;
  GpxTrackHandler handler(loaded);
  if (!streamXmlElements(file, fileName, options, handler, message)) return false;
  handler.finish();
  if (handler.stats.skippedPoints > 0)
    appendMessage(message, fileName + ": " + std::to_string(handler.stats.skippedPoints) +
                               " points without a readable lat/lon were skipped");
  if (loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": no track or route points in this GPX file");
    return false;
  }
  track.points = std::move(loaded.points);
  track.marks = std::move(loaded.marks);
  if (!handler.trackName.empty()) track.headerText('P') = handler.trackName;
  return true;
}

namespace {

std::string formatNumber(const char* format, double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

void addText(pugi::xml_node parent, const char* name, const std::string& text) {
  parent.append_child(name).text().set(text.c_str());
}

void writePoint(pugi::xml_node seg, const TPuntVol& p, bool preferGpsAltitude) {
  pugi::xml_node pt = seg.append_child("trkpt");
  const TCoord wgs84 = toFileDatum(p.position, kDatumWgs84);
  pt.append_attribute("lat").set_value(formatNumber("%.9f", wgs84.lat).c_str());
  pt.append_attribute("lon").set_value(formatNumber("%.9f", wgs84.lon).c_str());
  const float alt = p.altitude(preferGpsAltitude);
  if (hasAltitude(alt)) addText(pt, "ele", formatNumber("%.3f", alt));
  DateTimeValue when = 0.0;
  if (p.time.toValue(when)) addText(pt, "time", formatXmlDateTime(p.time.toRecord()));
  for (const auto& [text, type] : kFixTypes)
    if (p.fixType == type && type != 0) {
      addText(pt, "fix", std::string(text));
      break;
    }
  if (p.satellites > 0) addText(pt, "sat", std::to_string(p.satellites));
  if (p.hdop > 0) addText(pt, "hdop", formatNumber("%g", p.hdop));
  // Schema order of TrackPointExtension v2: atemp, wtemp, depth, hr, cad, speed, course.
  const bool any = p.temperatureC != 0 || p.heartRate > 0 || p.cadenceRpm >= 0 || p.speedMs >= 0 ||
                   p.courseDeg >= 0;
  if (!any) return;
  pugi::xml_node ext = pt.append_child("extensions").append_child("gpxtpx:TrackPointExtension");
  if (p.temperatureC != 0) addText(ext, "gpxtpx:atemp", formatNumber("%g", p.temperatureC));
  if (p.heartRate > 0) addText(ext, "gpxtpx:hr", std::to_string(p.heartRate));
  if (p.cadenceRpm >= 0) addText(ext, "gpxtpx:cad", formatNumber("%.0f", p.cadenceRpm));
  if (p.speedMs >= 0) addText(ext, "gpxtpx:speed", formatNumber("%g", p.speedMs));
  if (p.courseDeg >= 0) addText(ext, "gpxtpx:course", formatNumber("%g", p.courseDeg));
}

}  // namespace

bool readGpxTrackText(std::string_view text, TVolGPS& track, std::string& message) {
  if (text.empty()) {
    appendMessage(message, "GPX text: empty");
    return false;
  }
  std::FILE* file = fmemopen(const_cast<char*>(text.data()), text.size(), "rb");
  if (!file) return false;
  const bool ok = readGpxTrackStream(file, "GPX text", track, message);
  std::fclose(file);
  return ok;
}

pugi::xml_node appendGpx11Root(pugi::xml_document& doc) {
  pugi::xml_node decl = doc.append_child(pugi::node_declaration);
  decl.append_attribute("version") = "1.0";
  decl.append_attribute("encoding") = "UTF-8";
  pugi::xml_node gpx = doc.append_child("gpx");
  gpx.append_attribute("version") = "1.1";
  gpx.append_attribute("creator") = "Pixtrail";
  gpx.append_attribute("xmlns") = kGpxNamespace;
  return gpx;
}

std::string gpxTrackText(const TVolGPS& track, const TrackSettings& settings) {
  pugi::xml_document doc;
  pugi::xml_node gpx = appendGpx11Root(doc);
  gpx.append_attribute("xmlns:gpxtpx") = kTrackPointExtension;
  // Marks (photos placed on the track) are waypoints, which GPX puts before the tracks.
  for (const TrackMark& m : track.marks) {
    pugi::xml_node wpt = gpx.append_child("wpt");
    const TCoord wgs84 = toFileDatum(m.position, kDatumWgs84);
    wpt.append_attribute("lat").set_value(formatNumber("%.9f", wgs84.lat).c_str());
    wpt.append_attribute("lon").set_value(formatNumber("%.9f", wgs84.lon).c_str());
    if (hasAltitude(m.position.alt)) addText(wpt, "ele", formatNumber("%.3f", m.position.alt));
    DateTimeValue when = 0.0;
    if (m.time.toValue(when)) addText(wpt, "time", formatXmlDateTime(m.time.toRecord()));
    addText(wpt, "name", latin1ToUtf8(m.name));
  }
  pugi::xml_node trk = gpx.append_child("trk");
  if (!track.headerText('P').empty()) addText(trk, "name", latin1ToUtf8(track.headerText('P')));
  pugi::xml_node seg;
  for (std::size_t i = 0; i < track.pointCount(); ++i) {
    const TPuntVol& p = track.point(i);
    if (!seg || p.segmentStart) seg = trk.append_child("trkseg");
    writePoint(seg, p, settings.preferGpsAltitude);
  }
  std::ostringstream out;
  doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
  return out.str();
}

}  // namespace pixtrail
