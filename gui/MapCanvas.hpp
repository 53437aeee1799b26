#pragma once
// The map: tracks as polylines (one per segment), waypoints, routes and photos as markers, drawn in
// the projection the user chose (with a grid in its units) or, by default, in the spherical
// Mercator of the tile servers over an optional background of web map tiles. Pan with the mouse or
// the arrow keys, zoom with the wheel or +/-, fit to the document with F (or Home).
// Positions come from the document in the working datum; the canvas speaks WGS 84 to the outside.

#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QSet>
#include <QString>
#include <QWidget>
#include <memory>
#include <vector>

#include "gui/MapPlane.hpp"
#include "gui/map_geometry.hpp"

namespace pixtrail {
class TProyeccion;
class TVolGPS;
class TFoto;
}  // namespace pixtrail

namespace pixtrail::gui {

class Document;
class ThumbnailCache;
class TileLayer;

// Where a photo would land with the offset being typed: drawn, never written.
struct PreviewMarker {
  const TFoto* photo = nullptr;
  double lat = 0.0, lon = 0.0;  // WGS 84
};

class MapCanvas : public QWidget {
  Q_OBJECT
 public:
  explicit MapCanvas(QWidget* parent = nullptr);

  void setDocument(Document* document);
  // The document changed: the shapes are built again (positions to WGS 84, once).
  void rebuild();
  // Objects (tracks, waypoint files, route files, photo folders) left off the map.
  void setHidden(const QSet<const void*>& hidden);
  void setThumbnails(ThumbnailCache* thumbnails);
  void setTileLayer(TileLayer* tiles);
  // The projection to draw in (a copy is kept); null draws in web Mercator, the only plane tiles
  // fit. The centre of the view stays where it was on the ground.
  void setProjection(const TProyeccion* projection);
  const MapPlane& plane() const { return plane_; }
  // Whether tiles are wanted but cannot be drawn in this projection (the canvas says so).
  bool tilesHiddenByProjection() const;
  void setSelectedTrack(const TVolGPS* track);
  void setSelectedPhoto(const TFoto* photo);
  const TFoto* selectedPhoto() const { return selectedPhoto_; }
  void setPreview(std::vector<PreviewMarker> preview);
  const std::vector<PreviewMarker>& preview() const { return preview_; }

  void fitToDocument();
  void setView(double lat, double lon, double zoom);
  double zoom() const { return zoom_; }
  bool centre(double& lat, double& lon) const;
  // Off the projection's domain: a point far outside the view.
  QPointF screenFromGeo(double lat, double lon) const;
  // False where the projection has no position (beyond its domain).
  bool geoAt(const QPointF& screen, double& lat, double& lon) const;
  // The photo whose marker is under a screen point, or null.
  const TFoto* photoAt(const QPointF& screen) const;
  const TFoto* hoveredPhoto() const { return hoveredPhoto_; }
  int photoMarkerCount() const { return static_cast<int>(photos_.size()); }

 signals:
  void cursorMoved(double lat, double lon);  // WGS 84
  void cursorLeft();
  void photoClicked(const TFoto* photo);
  void viewChanged();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  struct TrackShape {
    const void* owner = nullptr;
    const TVolGPS* track = nullptr;
    QColor colour;
    int widthPx = 2;
    std::vector<QPolygonF> segments;  // zoom-0 world pixels
  };
  struct PointShape {
    const void* owner = nullptr;
    WorldPoint at;
    QString label;
  };
  struct RouteShape {
    const void* owner = nullptr;
    QPolygonF line;
  };
  struct PhotoShape {
    const void* owner = nullptr;
    const TFoto* photo = nullptr;
    WorldPoint at;
  };

  double scale() const;  // screen pixels per zoom-0 world pixel
  QPointF screenFromWorld(const WorldPoint& p) const;
  WorldPoint worldFromScreen(const QPointF& s) const;
  void zoomAround(const QPointF& screen, double newZoom);
  void panBy(const QPointF& deltaPx);
  QRectF documentBounds() const;  // world pixels, empty when nothing is shown

  void drawTiles(QPainter& p);
  void drawGrid(QPainter& p);
  void drawPlaneName(QPainter& p);
  void drawTracks(QPainter& p);
  void drawRoutes(QPainter& p);
  void drawWaypoints(QPainter& p);
  void drawPhotos(QPainter& p);
  void drawPreview(QPainter& p);
  void drawHoverThumbnail(QPainter& p);
  void drawScaleBar(QPainter& p);
  void drawAttribution(QPainter& p);

  Document* document_ = nullptr;
  ThumbnailCache* thumbnails_ = nullptr;
  TileLayer* tiles_ = nullptr;
  std::unique_ptr<TProyeccion> projection_;  // as chosen; the plane may pin its zone
  MapPlane plane_;
  std::vector<TrackShape> tracks_;
  std::vector<RouteShape> routes_;
  std::vector<PointShape> waypoints_;
  std::vector<PhotoShape> photos_;
  std::vector<PreviewMarker> preview_;
  QSet<const void*> hidden_;
  const TVolGPS* selectedTrack_ = nullptr;
  const TFoto* selectedPhoto_ = nullptr;
  const TFoto* hoveredPhoto_ = nullptr;

  WorldPoint centre_{kTileSizePx / 2.0, kTileSizePx / 2.0};
  double zoom_ = 2.0;
  bool dragging_ = false;
  bool keepFitted_ = true;
  bool planeChosen_ = false;  // the next rebuild takes a new plane even if its name is the same  // until the user moves the map, a resize fits the document again
  QPointF lastMouse_;
  QPointF pressMouse_;
};

}  // namespace pixtrail::gui
