#include "gui/Document.hpp"

#include <gtest/gtest.h>

#include "coords/TListaDatums.hpp"
#include "gui_test_support.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::gui {
namespace {

namespace fs = std::filesystem;

TEST(Document, OpensEachKindThroughItsReader) {
  const struct {
    fs::path file;
    OpenResult expected;
    const char* why;
  } rows[] = {
      {test::samplesDir() / "retiro-walk.trk", {1, 0, 0, 0}, "native track"},
      {test::samplesDir(), {0, 0, 0, 1}, "a folder gives its photos"},
      {test::samplesDir() / "pond.jpg", {0, 0, 0, 1}, "a photo opens its folder"},
      {test::testData("formats/basecamp.gpx"), {1, 1, 0, 0}, "GPX with a track and waypoints"},
      {test::testData("formats/holux.gpx"), {1, 1, 0, 0}, "GPX with waypoints and a route read as a track"},
      {test::testData("formats/ozi.wpt"), {0, 1, 0, 0}, "foreign waypoint file recognised by its first line"},
      {test::testData("formats/track_20070813_short.plt"), {1, 0, 0, 0}, "foreign track through the dispatcher"},
  };
  for (const auto& r : rows) {
    Document doc;
    OpenResult added;
    std::string message;
    EXPECT_TRUE(doc.open(r.file, TrackFileSettings{}, added, message)) << r.why << ": " << message;
    EXPECT_EQ(added.tracks, r.expected.tracks) << r.why;
    EXPECT_EQ(added.waypointFiles, r.expected.waypointFiles) << r.why;
    EXPECT_EQ(added.photoFolders, r.expected.photoFolders) << r.why;
    EXPECT_EQ(doc.tracks.size(), r.expected.tracks) << r.why;
  }
}

TEST(Document, RefusalsLeaveTheDocumentAsItWas) {
  test::TempDir temp;
  fs::create_directories(temp / "empty");
  test::writeFileBytes(temp / "broken.gpx", "<gpx><trk><trkseg><trkpt lat=");
  test::writeFileBytes(temp / "notes.xyz", "hello");
  Document doc;
  std::string message;
  OpenResult added;
  ASSERT_TRUE(doc.open(test::samplesDir() / "retiro-walk.trk", TrackFileSettings{}, added, message));
  const struct { fs::path file; const char* message; } rows[] = {
      {temp / "empty", "No hay fotos en la carpeta indicada"},
      {temp / "missing.trk", "File not found!"},
      {temp / "notes.xyz", "Unknown file format opening track: "},
      {temp / "broken.gpx", ""},  // the reader's own words
  };
  for (const auto& r : rows) {
    std::string why;
    OpenResult none;
    EXPECT_FALSE(doc.open(r.file, TrackFileSettings{}, none, why)) << r.file;
    EXPECT_EQ(none.total(), 0u) << r.file;
    EXPECT_FALSE(why.empty()) << r.file;
    EXPECT_NE(why.find(r.message), std::string::npos) << r.file << ": " << why;
  }
  EXPECT_EQ(doc.tracks.size(), 1u);
  EXPECT_TRUE(doc.photos.groups.empty());
}

TEST(Document, RoutesAndWaypointsSurviveSaveAndOpen) {
  test::TempDir temp;
  Document doc;
  auto routes = std::make_unique<TRutas>();
  TRuta& route = routes->routes.emplace();
  route.name = "Retiro";
  for (const auto& [name, lat, lon] : {std::tuple{"GATE", 40.4200, -3.6880}, {"POND", 40.4169, -3.6835}}) {
    TBaliza& w = route.waypoints.emplace();
    w.name = name;
    w.position = TCoord{lon, lat, 650.0f};
  }
  doc.routeFiles.add(std::move(routes));
  std::string message;
  ASSERT_TRUE(doc.saveRoutes(0, temp / "walk.rte", TrackFileSettings{}, message)) << message;
  Document back;
  OpenResult added;
  ASSERT_TRUE(back.open(temp / "walk.rte", TrackFileSettings{}, added, message)) << message;
  ASSERT_EQ(added.routeFiles, 1u);
  const TRuta& read = back.routeFiles[0].routes[0];
  EXPECT_EQ(read.name, "Retiro");
  ASSERT_EQ(read.waypoints.size(), 2u);
  EXPECT_NEAR(read.waypoints[1].position.lat, 40.4169, 1e-6);

  ASSERT_TRUE(back.open(test::testData("formats/holux.gpx"), TrackFileSettings{}, added, message)) << message;
  ASSERT_TRUE(back.saveWaypoints(0, temp / "points.wpt", TrackFileSettings{}, message)) << message;
  ASSERT_TRUE(back.saveWaypoints(0, temp / "points.gpx", TrackFileSettings{}, message)) << message;
  for (const char* name : {"points.wpt", "points.gpx"}) {
    Document again;
    ASSERT_TRUE(again.open(temp / name, TrackFileSettings{}, added, message)) << name << message;
    ASSERT_EQ(again.waypointFiles.size(), 1u) << name;
    EXPECT_EQ(again.waypointFiles[0].waypoints.size(), back.waypointFiles[0].waypoints.size()) << name;
  }
}

TEST(Document, ChangingTheWorkingDatumMovesCoordinatesNotPlaces) {
  Document doc;
  OpenResult added;
  std::string message;
  ASSERT_TRUE(doc.open(test::samplesDir() / "retiro-walk.trk", TrackFileSettings{}, added, message));
  ASSERT_TRUE(doc.open(test::samplesDir(), TrackFileSettings{}, added, message));
  TFoto& photo = *doc.allPhotos()[0];
  photo.position = TCoord{-3.6844, 40.4153, 650.0f};
  photo.datum = kWorkingDatum;
  photo.hasPosition = true;
  const TCoord before = doc.tracks[0].point(0).position;
  const int ed79 = datumTable().findByName("European 1979");
  ASSERT_GT(ed79, 0);
  doc.changeWorkingDatum(ed79, TrackSettings{});
  EXPECT_EQ(datumTable().workingDatum(), ed79);
  // ED79 coordinates of a Madrid point are about 0.0012 degrees larger in both (cs2cs with the
  // table's shift -86 -98 -119 on the International ellipsoid).
  const TCoord shifted = doc.tracks[0].point(0).position;
  EXPECT_GT(shifted.lat - before.lat, 0.0005);
  EXPECT_GT(shifted.lon - before.lon, 0.0005);
  EXPECT_EQ(photo.datum, kDatumWgs84) << "a photo placed in the old working datum keeps it";
  EXPECT_EQ(photo.position.lat, 40.4153);
  doc.changeWorkingDatum(kDatumWgs84, TrackSettings{});
  EXPECT_NEAR(doc.tracks[0].point(0).position.lat, before.lat, 1e-6);
  EXPECT_NEAR(doc.tracks[0].point(0).position.lon, before.lon, 1e-6);
}

}  // namespace
}  // namespace pixtrail::gui
