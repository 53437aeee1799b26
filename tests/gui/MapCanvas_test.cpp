// The map in the projection the user chose: the plane against an independent projector, its way
// back to geographic positions, a UTM zone kept across a zone edge, the grid's labels, and tiles
// that leave (saying so) when the plane is not theirs.

#include "gui/MapCanvas.hpp"

#include <gtest/gtest.h>

#include <QTest>
#include <cmath>
#include <numbers>

#include "app/Configuration.hpp"
#include "coords/TListaDatums.hpp"
#include "coords/TListaProyecciones.hpp"
#include "gui/Document.hpp"
#include "gui/TAForm_MultiGPS.hpp"
#include "gui/TileLayer.hpp"
#include "gui_test_support.hpp"

namespace pixtrail::gui {
namespace {

std::unique_ptr<TProyeccion> projectionNamed(const char* name) {
  std::string message;
  auto projection = TListaProyecciones().create(name, message);
  EXPECT_TRUE(projection) << message;
  return projection;
}

TEST(MapPlane, UtmPlaneAgreesWithAnIndependentProjectorAndKeepsItsZone) {
  const auto utm = projectionNamed("UTM");
  const MapPlane plane(utm.get(), TCoord{-3.6844, 40.4153, kUnknownAltitude});
  EXPECT_EQ(plane.name(), "UTM 30T");
  EXPECT_FALSE(plane.isWebMercator());
  // cs2cs +proj=longlat +datum=WGS84 +to +proj=utm +zone=30 +datum=WGS84: Retiro park, then two
  // places either side of the zone 30/31 edge, both in zone 30 since the plane keeps its zone.
  struct Row {
    double lon, lat, easting, northing;
  };
  for (const Row& r : {Row{-3.6844, 40.4153, 441935.054, 4474077.955}, Row{0.5, 40.2, 797916.734, 4455832.881},
                       Row{-0.5, 40.2, 712786.756, 4452953.085}}) {
    WorldPoint w;
    ASSERT_TRUE(plane.toWorld(TCoord{r.lon, r.lat, kUnknownAltitude}, kDatumWgs84, w)) << r.lon;
    EXPECT_NEAR(plane.eastingOf(w.x), r.easting, 0.01) << r.lon;
    EXPECT_NEAR(plane.northingOf(w.y), r.northing, 0.01) << r.lon;
  }
  // The automatic choice is pinned the same way (it would otherwise jump zones point by point).
  EXPECT_EQ(MapPlane(projectionNamed("Automatic").get(), TCoord{2.35, 48.85, 0}).name(), "UTM 31U");
}

TEST(MapPlane, EveryProjectionFindsItsWayBackAndMeasuresTheGround) {
  const TCoord madrid{-3.6844, 40.4153, kUnknownAltitude};
  const TListaProyecciones projections;
  int planes = 0;
  for (int i = 0; i < projections.size(); ++i) {
    // National grids with datums of their own are only exact at home, far from Madrid; the
    // geocentric system is no plane and the map stays in web Mercator for it.
    if (projections.projection(i).fixedDatum() != kWorkingDatum) continue;
    if (projections.projection(i).shortName() == "ECEF") continue;
    const MapPlane plane(&projections.projection(i), madrid);
    WorldPoint w;
    if (!plane.toWorld(madrid, kWorkingDatum, w)) continue;
    ++planes;
    TCoord back;
    ASSERT_TRUE(plane.toGeo(w, kWorkingDatum, back)) << plane.name();
    EXPECT_NEAR(back.lat, madrid.lat, 1e-7) << plane.name();
    EXPECT_NEAR(back.lon, madrid.lon, 1e-7) << plane.name();
    // North is up on every plane.
    WorldPoint north;
    ASSERT_TRUE(plane.toWorld(TCoord{madrid.lon, madrid.lat + 0.01, 0}, kWorkingDatum, north));
    EXPECT_LT(north.y, w.y) << plane.name();
  }
  EXPECT_GE(planes, 10);
  EXPECT_TRUE(MapPlane(projectionNamed("ECEF").get(), madrid).isWebMercator());
  // A metre of a metric plane is about a metre of ground; web Mercator's shrinks with cos(lat).
  const auto utm = projectionNamed("UTM");
  const MapPlane metric(utm.get(), madrid), mercator;
  const WorldPoint at = worldFromGeo(madrid.lat, madrid.lon);
  WorldPoint atUtm;
  ASSERT_TRUE(metric.toWorld(madrid, kDatumWgs84, atUtm));
  EXPECT_NEAR(metric.groundMetresPerWorld(atUtm) * metric.worldPerUnit(), 1.0, 0.002);
  EXPECT_NEAR(mercator.groundMetresPerWorld(at) / metric.groundMetresPerWorld(atUtm),
              std::cos(madrid.lat * std::numbers::pi / 180.0), 0.002);
}

TEST(MapGeometry, GridLabelsInThePlanesUnits) {
  struct Row {
    double value, spacing;
    bool degrees, easting;
    const char* expected;
  };
  for (const Row& r : {Row{4474000, 1000, false, false, "4 474 000 N"}, Row{441500, 500, false, true, "441 500 E"},
                       Row{950, 50, false, true, "950 E"}, Row{-2500.5, 0.5, false, true, "-2 500.5 E"},
                       Row{40.25, 0.05, true, false, "40.25\xC2\xB0 N"}, Row{-3.5, 0.5, true, true, "3.5\xC2\xB0 W"},
                       Row{-12, 2, true, false, "12\xC2\xB0 S"}})
    EXPECT_EQ(gridLabel(r.value, r.spacing, r.degrees, r.easting), r.expected) << r.value;
}

// A track that walks east from zone 30 into zone 31.
Document zoneCrossing() {
  Document doc;
  auto track = std::make_unique<TVolGPS>();
  for (int i = 0; i <= 40; ++i) {
    auto point = std::make_unique<TPuntVol>();
    point->position = TCoord{-1.5 + i * 0.05, 40.2 + 0.002 * i, 600.0f};
    track->appendPoint(std::move(point));
  }
  doc.tracks.add(std::move(track));
  return doc;
}

TEST(MapCanvasProjection, ATrackCrossingAZoneEdgeStaysOneLine) {
  Document doc = zoneCrossing();
  MapCanvas canvas;
  canvas.resize(600, 400);
  canvas.setDocument(&doc);
  const auto utm = projectionNamed("UTM");
  canvas.setProjection(utm.get());
  canvas.fitToDocument();
  EXPECT_EQ(canvas.plane().name(), "UTM 30T");
  double previousX = -1e9;
  for (int i = 0; i <= 40; ++i) {
    const QPointF s = canvas.screenFromGeo(40.2 + 0.002 * i, -1.5 + i * 0.05);
    EXPECT_GT(s.x(), previousX) << "point " << i << " went back west";
    EXPECT_TRUE(canvas.rect().contains(s.toPoint())) << i;
    previousX = s.x();
  }
  // A screen point leads back to the place drawn there.
  const QPointF s = canvas.screenFromGeo(40.25, 0.2);
  double lat = 0.0, lon = 0.0;
  ASSERT_TRUE(canvas.geoAt(s, lat, lon));
  EXPECT_NEAR(lat, 40.25, 1e-4);
  EXPECT_NEAR(lon, 0.2, 1e-4);
}

TEST(MapCanvasProjection, TilesLeaveAnotherPlaneAndTheMapSaysWhy) {
  Configuration& config = configuration();
  const std::string url = config.tileUrl.get();
  config.displayProjection.set("UTM");
  config.mapTiles.set(true);
  config.tileUrl.set("http://127.0.0.1:9/{z}/{x}/{y}.png");  // the discard port: never a tile
  TAForm_MultiGPS window;
  window.resize(1280, 800);
  window.show();
  ASSERT_EQ(window.openFiles({QString::fromStdString((test::samplesDir() / "retiro-walk.trk").string())}), 1);
  MapCanvas* canvas = window.canvas();
  EXPECT_EQ(canvas->plane().name(), "UTM 30T");
  EXPECT_TRUE(canvas->tilesHiddenByProjection());
  QString why;
  EXPECT_TRUE(test::looksLikeStored(test::screenshot(canvas, "map-utm"), "map-utm", why)) << why.toStdString();
  const double utmZoom = canvas->zoom();
  TileLayer* tiles = window.tiles();
  EXPECT_EQ(tiles->queuedCount() + tiles->inFlightCount() + tiles->failedCount(), 0)
      << "no tile is asked for on a plane it cannot fit";
  // Fitted, the walk is drawn the same size in either plane: web Mercator stretches the ground by
  // 1/cos(lat), so fitting it takes log2(1/cos 40.4) = 0.39 of a zoom level less.
  config.displayProjection.set("");
  window.applySettings();
  EXPECT_TRUE(canvas->plane().isWebMercator());
  EXPECT_FALSE(canvas->tilesHiddenByProjection());
  EXPECT_NEAR(utmZoom - canvas->zoom(), std::log2(1.0 / std::cos(40.4153 * std::numbers::pi / 180.0)), 0.02);
  configuration().displayProjection.set("Lat/Long");
  window.applySettings();
  test::screenshot(canvas, "map-latlong");
  config.displayProjection.set("");
  config.mapTiles.set(false);
  config.tileUrl.set(url);
}

}  // namespace
}  // namespace pixtrail::gui
