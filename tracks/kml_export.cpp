#include "tracks/kml_export.hpp"

#include <cstdio>
#include <sstream>

#include <pugixml.hpp>

#include "core/SafeFile.hpp"
#include "core/text.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr const char* kKmlNamespace = "http://www.opengis.net/kml/2.2";
constexpr const char* kGxNamespace = "http://www.google.com/kml/ext/2.2";

// KML colours are aabbggrr; ours keep red in the low byte.
std::string kmlColour(std::uint32_t colour) {
  char text[16];
  std::snprintf(text, sizeof text, "ff%02x%02x%02x", (colour >> 16) & 0xFF, (colour >> 8) & 0xFF,
                colour & 0xFF);
  return text;
}

std::string coordinateText(const TCoord& working, float altM, const char* separator) {
  const TCoord w = toFileDatum(working, kDatumWgs84);
  char text[96];
  std::snprintf(text, sizeof text, "%.9f%s%.9f%s%.2f", w.lon, separator, w.lat, separator,
                hasAltitude(altM) ? altM : 0.0f);
  return text;
}

void setText(pugi::xml_node parent, const char* name, const std::string& latin1) {
  parent.append_child(name).text().set(latin1ToUtf8(latin1).c_str());
}

void addTrack(pugi::xml_node folder, const TVolGPS& track, const TrackSettings& settings) {
  const bool preferGps = settings.preferGpsAltitude;
  pugi::xml_node placemark = folder.append_child("Placemark");
  const std::string name = track.headerText('P').empty()
                               ? std::filesystem::path(track.fileName).stem().string()
                               : track.headerText('P');
  setText(placemark, "name", name);
  pugi::xml_node line = placemark.append_child("Style").append_child("LineStyle");
  line.append_child("color").text().set(kmlColour(track.colour).c_str());
  line.append_child("width").text().set(track.width);
  bool allTimed = track.pointCount() > 0;
  for (std::size_t i = 0; i < track.pointCount() && allTimed; ++i) {
    DateTimeValue v = 0;
    allTimed = track.point(i).time.toValue(v);
  }
  const bool hasAltitudes = track.pointCount() > 0 && hasAltitude(track.point(0).altitude(preferGps));
  pugi::xml_node multi = placemark.append_child(allTimed ? "gx:MultiTrack" : "MultiGeometry");
  for (const auto& [first, end] : track.segments()) {
    if (allTimed) {
      pugi::xml_node t = multi.append_child("gx:Track");
      if (hasAltitudes) t.append_child("altitudeMode").text().set("absolute");
      for (std::size_t i = first; i < end; ++i)
        t.append_child("when").text().set(formatXmlDateTime(track.point(i).time.toRecord()).c_str());
      for (std::size_t i = first; i < end; ++i) {
        const TPuntVol& p = track.point(i);
        t.append_child("gx:coord").text().set(coordinateText(p.position, p.altitude(preferGps), " ").c_str());
      }
    } else {
      pugi::xml_node ls = multi.append_child("LineString");
      if (hasAltitudes) ls.append_child("altitudeMode").text().set("absolute");
      std::string coordinates;
      for (std::size_t i = first; i < end; ++i) {
        const TPuntVol& p = track.point(i);
        coordinates += coordinateText(p.position, p.altitude(preferGps), ",") + "\n";
      }
      ls.append_child("coordinates").text().set(coordinates.c_str());
    }
  }
}

pugi::xml_node addPin(pugi::xml_node folder, const std::string& name, const TCoord& position) {
  pugi::xml_node placemark = folder.append_child("Placemark");
  setText(placemark, "name", name);
  pugi::xml_node point = placemark.append_child("Point");
  if (hasAltitude(position.alt)) point.append_child("altitudeMode").text().set("absolute");
  point.append_child("coordinates").text().set(coordinateText(position, position.alt, ",").c_str());
  return placemark;
}

}  // namespace

std::string kmlText(const KmlContent& content) {
  pugi::xml_document doc;
  pugi::xml_node decl = doc.append_child(pugi::node_declaration);
  decl.append_attribute("version") = "1.0";
  decl.append_attribute("encoding") = "UTF-8";
  pugi::xml_node kml = doc.append_child("kml");
  kml.append_attribute("xmlns") = kKmlNamespace;
  kml.append_attribute("xmlns:gx") = kGxNamespace;
  pugi::xml_node document = kml.append_child("Document");
  setText(document, "name", content.documentName);
  if (!content.tracks.empty()) {
    pugi::xml_node folder = document.append_child("Folder");
    folder.append_child("name").text().set("Tracks");
    for (const TVolGPS* t : content.tracks) addTrack(folder, *t, content.settings);
    // Photos marked on the tracks, as pins beside them.
    for (const TVolGPS* t : content.tracks)
      for (const TrackMark& m : t->marks) addPin(folder, m.name, m.position);
  }
  if (!content.waypointFiles.empty()) {
    pugi::xml_node folder = document.append_child("Folder");
    folder.append_child("name").text().set("Waypoints");
    for (const TBalizas* file : content.waypointFiles)
      for (const TBaliza& w : file->waypoints) {
        pugi::xml_node pin = addPin(folder, w.name, w.position);
        if (!w.description.empty()) setText(pin, "description", w.description);
      }
  }
  if (!content.photos.empty()) {
    pugi::xml_node folder = document.append_child("Folder");
    folder.append_child("name").text().set("Photos");
    for (const KmlPhoto& photo : content.photos) {
      pugi::xml_node pin = addPin(folder, std::filesystem::path(photo.file).filename().string(), photo.position);
      const std::string balloon = "<img src=\"" + photo.file + "\" width=\"480\"/>";
      pin.append_child("description").append_child(pugi::node_cdata).set_value(balloon.c_str());
    }
  }
  std::ostringstream out;
  doc.save(out, "  ", pugi::format_default, pugi::encoding_utf8);
  return out.str();
}

bool writeKml(const KmlContent& content, const std::filesystem::path& path, bool keepBackup,
              std::string& message) {
  SafeWriteOptions options;
  options.keepBackup = keepBackup;
  return writeFileSafely(path, kmlText(content), options, message);
}

}  // namespace pixtrail
