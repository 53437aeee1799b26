#include "tracks/kml_export.hpp"

#include <gtest/gtest.h>

#include <pugixml.hpp>

#include "tracks/track_format_common.hpp"

namespace pixtrail {
namespace {

TVolGPS twoSegments(bool timed) {
  TVolGPS t;
  t.headerText('P') = "Caf\xE9 walk";
  t.colour = 0x0000FF;  // red
  for (int i = 0; i < 4; ++i) {
    auto p = makePoint(45 + i * 0.001, 7, 300.0f + i, timed ? DateTimeRecord{1, 6, 2024, 10, 0, i * 1.0} : DateTimeRecord{});
    p->segmentStart = i == 0 || i == 2;
    t.appendPoint(std::move(p));
  }
  return t;
}

TEST(KmlExport, TimedTracksAsGxTracksOthersAsLinesPinsAndPhotos) {
  const TVolGPS timed = twoSegments(true), untimed = twoSegments(false);
  TBalizas pins;
  TBaliza w;
  w.name = "Summit";
  w.position = {7.5, 45.5, 4000};
  pins.waypoints.emplace(std::move(w));
  KmlContent content;
  content.tracks = {&timed, &untimed};
  content.waypointFiles = {&pins};
  content.photos = {{"photos/IMG_1.jpg", {7.25, 45.25, kUnknownAltitude}}};
  pugi::xml_document doc;
  ASSERT_TRUE(doc.load_string(kmlText(content).c_str()));
  const auto tracks = doc.select_nodes("//gx:Track");
  ASSERT_EQ(tracks.size(), 2u) << "one per segment";
  EXPECT_EQ(tracks[0].node().select_nodes("when").size(), 2u);
  EXPECT_STREQ(tracks[0].node().child("when").text().get(), "2024-06-01T10:00:00Z");
  EXPECT_STREQ(tracks[0].node().child("gx:coord").text().get(), "7.000000000 45.000000000 300.00");
  EXPECT_EQ(doc.select_nodes("//LineString").size(), 2u);
  EXPECT_STREQ(doc.select_node("//Placemark/name").node().text().get(), "Caf\xC3\xA9 walk");
  EXPECT_STREQ(doc.select_node("//LineStyle/color").node().text().get(), "ff0000ff");
  const auto points = doc.select_nodes("//Point/coordinates");
  ASSERT_EQ(points.size(), 2u);
  EXPECT_STREQ(points[0].node().text().get(), "7.500000000,45.500000000,4000.00");
  EXPECT_NE(std::string(doc.select_node("//Folder[name='Photos']//description").node().child_value()).find(
                "<img src=\"photos/IMG_1.jpg\""),
            std::string::npos);
}

}  // namespace
}  // namespace pixtrail
