#include "gui/MapCanvas.hpp"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "coords/TListaDatums.hpp"
#include "gui/Document.hpp"
#include "gui/ThumbnailCache.hpp"
#include "gui/TileLayer.hpp"

namespace pixtrail::gui {

namespace {

const QColor kBackground(0xEE, 0xEB, 0xE3);       // paper, where no tile is drawn
const QColor kWaypointColour(0x1F, 0x5F, 0xB4);
const QColor kRouteColour(0x6A, 0x3D, 0x9A);
const QColor kPhotoColour(0xF2, 0x8C, 0x28);
const QColor kSelectedColour(0x00, 0xC8, 0xF0);
const QColor kPreviewColour(0xD0, 0x20, 0x90);
constexpr double kPhotoMarkerRadiusPx = 7.0;
constexpr double kClickSlopPx = 4.0;       // a press that moves less than this is a click
constexpr double kKeyPanFraction = 0.25;   // arrow keys move a quarter of the view
constexpr double kWheelStepDeg = 120.0;    // one notch of a mouse wheel
constexpr double kScaleBarMaxPx = 140.0;
constexpr int kHoverThumbPx = 120;
constexpr double kGridSpacingPx = 110.0;   // grid lines about this far apart
constexpr double kMaxGridLines = 60.0;
constexpr double kGridLabelRowPx = 58.0;   // the eastings' row, from the bottom
constexpr double kGridLabelTopPx = 36.0;   // below the projection's name
const QColor kGridColour(90, 90, 110, 70);
const QColor kGridLabelColour(50, 50, 70);

// Stored colours carry red in the low byte.
QColor colourOf(std::uint32_t stored) {
  return QColor(static_cast<int>(stored & 0xFF), static_cast<int>((stored >> 8) & 0xFF),
                static_cast<int>((stored >> 16) & 0xFF));
}

// The middle of everything the document holds, in the working datum: where a UTM plane takes its
// zone. Photos count by their working-datum position too (a few metres off is of no matter here).
TCoord documentCentre(const Document& doc) {
  double minLat = 90, maxLat = -90, minLon = 180, maxLon = -180;
  auto add = [&](const TCoord& p) {
    if (!std::isfinite(p.lat) || !std::isfinite(p.lon)) return;
    minLat = std::min(minLat, p.lat), maxLat = std::max(maxLat, p.lat);
    minLon = std::min(minLon, p.lon), maxLon = std::max(maxLon, p.lon);
  };
  for (const TVolGPS& track : doc.tracks)
    for (std::size_t i = 0; i < track.pointCount(); ++i) add(track.point(i).position);
  for (const TBalizas& file : doc.waypointFiles)
    for (const TBaliza& w : file.waypoints) add(w.position);
  for (const TRutas& file : doc.routeFiles)
    for (const TRuta& route : file.routes)
      for (const TBaliza& w : route.waypoints) add(w.position);
  for (const TFotos& group : doc.photos.groups)
    for (const TFoto& photo : group.photos)
      if (photo.hasPosition) add(photo.position);
  if (minLat > maxLat) return TCoord{};
  return TCoord{(minLon + maxLon) / 2.0, (minLat + maxLat) / 2.0, kUnknownAltitude};
}

}  // namespace

MapCanvas::MapCanvas(QWidget* parent) : QWidget(parent) {
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setMinimumSize(200, 150);
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void MapCanvas::setDocument(Document* document) {
  document_ = document;
  rebuild();
}

void MapCanvas::setThumbnails(ThumbnailCache* thumbnails) {
  thumbnails_ = thumbnails;
  if (thumbnails_)
    connect(thumbnails_, &ThumbnailCache::ready, this, [this] {
      if (hoveredPhoto_) update();
    });
}

void MapCanvas::setTileLayer(TileLayer* tiles) {
  tiles_ = tiles;
  if (tiles_) connect(tiles_, &TileLayer::tileArrived, this, qOverload<>(&QWidget::update));
  update();
}

void MapCanvas::setProjection(const TProyeccion* projection) {
  projection_ = projection ? projection->clone() : nullptr;
  planeChosen_ = true;
  rebuild();
  if (keepFitted_) fitToDocument();
  emit viewChanged();
}

bool MapCanvas::tilesHiddenByProjection() const {
  return tiles_ != nullptr && tiles_->enabled() && !plane_.isWebMercator();
}

void MapCanvas::rebuild() {
  tracks_.clear();
  routes_.clear();
  waypoints_.clear();
  photos_.clear();
  hoveredPhoto_ = nullptr;
  // A new plane (another projection, or a UTM zone that follows the document) keeps the view on
  // the same ground.
  TCoord middle;
  const bool hadMiddle = plane_.toGeo(centre_, kDatumWgs84, middle);
  MapPlane plane(projection_.get(), projection_ && document_ ? documentCentre(*document_) : TCoord{});
  if (planeChosen_ || plane.name() != plane_.name()) {
    planeChosen_ = false;
    plane_ = std::move(plane);
    if (hadMiddle) plane_.toWorld(middle, kDatumWgs84, centre_);
  }
  if (document_ == nullptr) {
    update();
    return;
  }
  std::vector<WorldPoint> world;
  std::vector<char> ok;
  for (const TVolGPS& track : document_->tracks) {
    TrackShape shape;
    shape.owner = &track;
    shape.track = &track;
    shape.colour = colourOf(track.colour);
    shape.widthPx = std::clamp(track.width, 1, 8);
    std::vector<TCoord> positions;
    positions.reserve(track.pointCount());
    for (std::size_t i = 0; i < track.pointCount(); ++i) positions.push_back(track.point(i).position);
    plane_.toWorld(positions, kWorkingDatum, world, ok);
    for (const auto& [first, end] : track.segments()) {
      QPolygonF line;
      // A point the projection cannot take breaks the line rather than joining across the gap.
      auto flush = [&] {
        if (!line.isEmpty()) shape.segments.push_back(std::move(line));
        line = QPolygonF();
      };
      for (std::size_t i = first; i < end; ++i) {
        if (ok[i]) line << QPointF(world[i].x, world[i].y);
        else flush();
      }
      flush();
    }
    tracks_.push_back(std::move(shape));
  }
  WorldPoint p;
  for (const TBalizas& file : document_->waypointFiles)
    for (const TBaliza& w : file.waypoints)
      if (plane_.toWorld(w.position, kWorkingDatum, p))
        waypoints_.push_back({&file, p, QString::fromLatin1(w.name.c_str())});
  for (const TRutas& file : document_->routeFiles) {
    for (const TRuta& route : file.routes) {
      RouteShape shape{&file, {}};
      for (const TBaliza& w : route.waypoints) {
        if (!plane_.toWorld(w.position, kWorkingDatum, p)) continue;
        shape.line << QPointF(p.x, p.y);
        waypoints_.push_back({&file, p, QString::fromLatin1(w.name.c_str())});
      }
      routes_.push_back(std::move(shape));
    }
  }
  for (const TFotos& group : document_->photos.groups)
    for (const TFoto& photo : group.photos)
      if (photo.hasPosition && plane_.toWorld(photo.position, photo.datum, p)) photos_.push_back({&group, &photo, p});
  update();
}

void MapCanvas::setHidden(const QSet<const void*>& hidden) {
  hidden_ = hidden;
  update();
}

void MapCanvas::setSelectedTrack(const TVolGPS* track) {
  selectedTrack_ = track;
  update();
}

void MapCanvas::setSelectedPhoto(const TFoto* photo) {
  selectedPhoto_ = photo;
  update();
}

void MapCanvas::setPreview(std::vector<PreviewMarker> preview) {
  preview_ = std::move(preview);
  update();
}

double MapCanvas::scale() const { return std::exp2(zoom_); }

QPointF MapCanvas::screenFromWorld(const WorldPoint& p) const {
  return QPointF((p.x - centre_.x) * scale() + width() / 2.0, (p.y - centre_.y) * scale() + height() / 2.0);
}

WorldPoint MapCanvas::worldFromScreen(const QPointF& s) const {
  return {centre_.x + (s.x() - width() / 2.0) / scale(), centre_.y + (s.y() - height() / 2.0) / scale()};
}

QPointF MapCanvas::screenFromGeo(double lat, double lon) const {
  WorldPoint w;
  if (!plane_.toWorld(TCoord{lon, lat, kUnknownAltitude}, kDatumWgs84, w)) return QPointF(-1e9, -1e9);
  return screenFromWorld(w);
}

bool MapCanvas::geoAt(const QPointF& screen, double& lat, double& lon) const {
  TCoord p;
  if (!plane_.toGeo(worldFromScreen(screen), kDatumWgs84, p)) return false;
  lat = p.lat;
  lon = p.lon;
  return true;
}

bool MapCanvas::centre(double& lat, double& lon) const { return geoAt(QPointF(width() / 2.0, height() / 2.0), lat, lon); }

void MapCanvas::setView(double lat, double lon, double zoom) {
  keepFitted_ = false;
  plane_.toWorld(TCoord{lon, lat, kUnknownAltitude}, kDatumWgs84, centre_);
  zoom_ = std::clamp(zoom, static_cast<double>(kMinZoom), static_cast<double>(kMaxZoom));
  update();
  emit viewChanged();
}

QRectF MapCanvas::documentBounds() const {
  QRectF box;
  auto add = [&box](const QRectF& r) { box = box.isNull() ? r : box.united(r); };
  for (const TrackShape& t : tracks_) {
    if (hidden_.contains(t.owner)) continue;
    for (const QPolygonF& s : t.segments) add(s.boundingRect());
  }
  for (const PointShape& w : waypoints_)
    if (!hidden_.contains(w.owner)) add(QRectF(w.at.x, w.at.y, 0, 0));
  for (const PhotoShape& ph : photos_)
    if (!hidden_.contains(ph.owner)) add(QRectF(ph.at.x, ph.at.y, 0, 0));
  return box;
}

void MapCanvas::fitToDocument() {
  const QRectF box = documentBounds();
  if (box.isNull()) return;
  keepFitted_ = true;
  centre_ = {box.center().x(), box.center().y()};
  zoom_ = zoomToFit(box.width(), box.height(), width(), height());
  update();
  emit viewChanged();
}

void MapCanvas::zoomAround(const QPointF& screen, double newZoom) {
  newZoom = std::clamp(newZoom, static_cast<double>(kMinZoom), static_cast<double>(kMaxZoom));
  keepFitted_ = false;
  const WorldPoint anchor = worldFromScreen(screen);  // stays under the cursor
  zoom_ = newZoom;
  centre_.x = anchor.x - (screen.x() - width() / 2.0) / scale();
  centre_.y = anchor.y - (screen.y() - height() / 2.0) / scale();
  update();
  emit viewChanged();
}

void MapCanvas::panBy(const QPointF& deltaPx) {
  keepFitted_ = false;
  centre_.x -= deltaPx.x() / scale();
  centre_.y -= deltaPx.y() / scale();
  if (plane_.boundedVertically()) centre_.y = std::clamp(centre_.y, 0.0, static_cast<double>(kTileSizePx));
  update();
  emit viewChanged();
}

const TFoto* MapCanvas::photoAt(const QPointF& screen) const {
  const TFoto* best = nullptr;
  double bestDistance = kPhotoMarkerRadiusPx + 2.0;
  for (const PhotoShape& ph : photos_) {
    if (hidden_.contains(ph.owner)) continue;
    const QPointF d = screenFromWorld(ph.at) - screen;
    const double distance = std::hypot(d.x(), d.y());
    if (distance <= bestDistance) {
      bestDistance = distance;
      best = ph.photo;
    }
  }
  return best;
}

void MapCanvas::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), kBackground);
  p.setRenderHint(QPainter::Antialiasing);
  drawTiles(p);
  drawGrid(p);
  drawRoutes(p);
  drawTracks(p);
  drawWaypoints(p);
  drawPreview(p);
  drawPhotos(p);
  drawHoverThumbnail(p);
  drawScaleBar(p);
  drawAttribution(p);
  drawPlaneName(p);
}

void MapCanvas::drawTiles(QPainter& p) {
  if (tiles_ == nullptr || !tiles_->enabled() || !plane_.isWebMercator()) return;
  const int level = std::clamp(static_cast<int>(std::lround(zoom_)), kMinZoom, kMaxZoom);
  const int count = 1 << level;
  const double tileWorld = static_cast<double>(kTileSizePx) / count;
  const WorldPoint topLeft = worldFromScreen(QPointF(0, 0));
  const WorldPoint bottomRight = worldFromScreen(QPointF(width(), height()));
  const int x0 = static_cast<int>(std::floor(topLeft.x / tileWorld));
  const int x1 = static_cast<int>(std::floor(bottomRight.x / tileWorld));
  const int y0 = std::max(0, static_cast<int>(std::floor(topLeft.y / tileWorld)));
  const int y1 = std::min(count - 1, static_cast<int>(std::floor(bottomRight.y / tileWorld)));
  p.setRenderHint(QPainter::SmoothPixmapTransform, std::abs(zoom_ - level) > 1e-6);
  for (int y = y0; y <= y1; ++y) {
    for (int x = x0; x <= x1; ++x) {
      const int wrapped = ((x % count) + count) % count;  // the world repeats east and west
      const QImage image = tiles_->tile(level, wrapped, y);
      if (image.isNull()) continue;
      const QPointF a = screenFromWorld({x * tileWorld, y * tileWorld});
      const QPointF b = screenFromWorld({(x + 1) * tileWorld, (y + 1) * tileWorld});
      p.drawImage(QRectF(a, b), image);
    }
  }
}

void MapCanvas::drawGrid(QPainter& p) {
  if (plane_.isWebMercator()) return;
  const bool degrees = plane_.unit() == PlaneUnit::kDegrees;
  const double unitsPerPx = 1.0 / (scale() * plane_.worldPerUnit());
  const double spacing = niceScaleLengthM(kGridSpacingPx * unitsPerPx);
  if (spacing <= 0.0) return;
  const WorldPoint topLeft = worldFromScreen(QPointF(0, 0));
  const WorldPoint bottomRight = worldFromScreen(QPointF(width(), height()));
  const double e0 = std::ceil(plane_.eastingOf(topLeft.x) / spacing);
  const double e1 = std::floor(plane_.eastingOf(bottomRight.x) / spacing);
  const double n0 = std::ceil(plane_.northingOf(bottomRight.y) / spacing);
  const double n1 = std::floor(plane_.northingOf(topLeft.y) / spacing);
  if (e1 - e0 > kMaxGridLines || n1 - n0 > kMaxGridLines) return;
  QFont font = p.font();
  font.setPointSizeF(7.5);
  p.setFont(font);
  const QFontMetricsF metrics(font);
  // A label that would be cut by the edge, or run into the other axis's labels, is left out.
  const double northingColumn = metrics.horizontalAdvance(QString::fromStdString(
                                    gridLabel(-std::max(std::fabs(n0), std::fabs(n1)) * spacing, spacing, degrees, false))) +
                                16;
  const double eastingRow = height() - kGridLabelRowPx;
  auto label = [&](QRectF box, const QString& text) {
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(255, 255, 255, 200));
    p.drawRect(box);
    p.setPen(kGridLabelColour);
    p.drawText(box, Qt::AlignCenter, text);
  };
  p.setPen(QPen(kGridColour, 1));
  for (double e = e0; e <= e1; ++e) {
    const double x = screenFromWorld({e * spacing * plane_.worldPerUnit(), 0}).x();
    p.drawLine(QPointF(x, 0), QPointF(x, height()));
  }
  for (double n = n0; n <= n1; ++n) {
    const double y = screenFromWorld({0, -n * spacing * plane_.worldPerUnit()}).y();
    p.drawLine(QPointF(0, y), QPointF(width(), y));
  }
  // Eastings in a row above the scale bar, northings down the right edge: clear of the
  // projection's name and the scale bar.
  for (double e = e0; e <= e1; ++e) {
    const double x = screenFromWorld({e * spacing * plane_.worldPerUnit(), 0}).x();
    const QString text = QString::fromStdString(gridLabel(e * spacing, spacing, degrees, true));
    QRectF box = metrics.boundingRect(text).adjusted(-3, -1, 3, 1);
    box.moveCenter(QPointF(x, eastingRow));
    if (box.left() >= 2 && box.right() <= width() - northingColumn) label(box, text);
  }
  for (double n = n0; n <= n1; ++n) {
    const double y = screenFromWorld({0, -n * spacing * plane_.worldPerUnit()}).y();
    const QString text = QString::fromStdString(gridLabel(n * spacing, spacing, degrees, false));
    QRectF box = metrics.boundingRect(text).adjusted(-3, -1, 3, 1);
    box.moveCenter(QPointF(width() - 8 - box.width() / 2.0, y));
    if (box.top() >= kGridLabelTopPx && box.bottom() <= eastingRow - 10) label(box, text);
  }
}

void MapCanvas::drawPlaneName(QPainter& p) {
  QString text = QString::fromStdString(plane_.name());
  // Tiles exist in web Mercator only: say why the background went, instead of leaving it blank.
  if (tilesHiddenByProjection()) text += tr("  \u2013  map tiles hidden: they fit web Mercator only");
  QFont font = p.font();
  font.setPointSizeF(8.5);
  p.setFont(font);
  const QRectF bounds = QFontMetricsF(font).boundingRect(text);
  const QRectF box(8, 8, bounds.width() + 12, bounds.height() + 6);
  p.setPen(QPen(QColor(120, 120, 120), 1));
  p.setBrush(QColor(255, 255, 255, 215));
  p.drawRoundedRect(box, 3, 3);
  p.setPen(QColor(30, 30, 30));
  p.drawText(box, Qt::AlignCenter, text);
}

void MapCanvas::drawTracks(QPainter& p) {
  const QTransform toScreen = QTransform::fromTranslate(width() / 2.0, height() / 2.0)
                                  .scale(scale(), scale())
                                  .translate(-centre_.x, -centre_.y);
  // Tracks are drawn in world pixels with cosmetic pens, so long tracks cost one transform each.
  for (const TrackShape& t : tracks_) {
    if (hidden_.contains(t.owner)) continue;
    const bool selected = t.track == selectedTrack_;
    p.save();
    p.setTransform(toScreen);
    if (selected) {
      QPen halo(QColor(255, 255, 255, 200), t.widthPx + 5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
      halo.setCosmetic(true);
      p.setPen(halo);
      for (const QPolygonF& s : t.segments) p.drawPolyline(s);
    }
    QPen pen(t.colour, t.widthPx + (selected ? 1 : 0), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    pen.setCosmetic(true);
    p.setPen(pen);
    for (const QPolygonF& s : t.segments) {
      if (s.size() == 1) p.drawPoint(s.front());
      else p.drawPolyline(s);
    }
    p.restore();
  }
}

void MapCanvas::drawRoutes(QPainter& p) {
  QPen pen(kRouteColour, 2, Qt::DashLine);
  p.setPen(pen);
  for (const RouteShape& r : routes_) {
    if (hidden_.contains(r.owner)) continue;
    QPolygonF screen;
    for (const QPointF& w : r.line) screen << screenFromWorld({w.x(), w.y()});
    p.drawPolyline(screen);
  }
}

void MapCanvas::drawWaypoints(QPainter& p) {
  QFont font = p.font();
  font.setPointSizeF(8.5);
  p.setFont(font);
  for (const PointShape& w : waypoints_) {
    if (hidden_.contains(w.owner)) continue;
    const QPointF s = screenFromWorld(w.at);
    if (!rect().adjusted(-40, -20, 40, 20).contains(s.toPoint())) continue;
    // A pin: the point is at the tip, so the label never hides the place.
    QPainterPath pin;
    pin.moveTo(s);
    pin.lineTo(s + QPointF(-5, -11));
    pin.arcTo(QRectF(s.x() - 6, s.y() - 19, 12, 12), 215, -250);
    pin.closeSubpath();
    p.setPen(QPen(Qt::white, 1.2));
    p.setBrush(kWaypointColour);
    p.drawPath(pin);
    if (!w.label.isEmpty()) {
      const QPointF at = s + QPointF(8, -8);
      p.setPen(QPen(Qt::white, 3));
      QPainterPath text;
      text.addText(at, font, w.label);
      p.setBrush(Qt::NoBrush);
      p.drawPath(text);  // a white halo keeps labels readable over any background
      p.setPen(kWaypointColour.darker(140));
      p.drawText(at, w.label);
    }
  }
}

void MapCanvas::drawPhotos(QPainter& p) {
  for (const PhotoShape& ph : photos_) {
    if (hidden_.contains(ph.owner)) continue;
    const QPointF s = screenFromWorld(ph.at);
    if (!rect().adjusted(-10, -10, 10, 10).contains(s.toPoint())) continue;
    const bool selected = ph.photo == selectedPhoto_;
    const double r = kPhotoMarkerRadiusPx + (selected ? 2.0 : 0.0);
    p.setPen(QPen(selected ? kSelectedColour.darker(150) : Qt::white, 2));
    p.setBrush(selected ? kSelectedColour : kPhotoColour);
    p.drawEllipse(s, r, r);
    // A small camera body inside the disc tells photos from waypoints at a glance.
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawRoundedRect(QRectF(s.x() - 4, s.y() - 2.5, 8, 5.5), 1, 1);
    p.setBrush(selected ? kSelectedColour : kPhotoColour);
    p.drawEllipse(s + QPointF(0, 0.3), 1.6, 1.6);
  }
}

void MapCanvas::drawPreview(QPainter& p) {
  if (preview_.empty()) return;
  p.setBrush(Qt::NoBrush);
  for (const PreviewMarker& m : preview_) {
    const QPointF s = screenFromGeo(m.lat, m.lon);
    p.setPen(QPen(kPreviewColour, 2.5));
    p.drawEllipse(s, kPhotoMarkerRadiusPx + 3, kPhotoMarkerRadiusPx + 3);
    p.drawLine(s + QPointF(-3, 0), s + QPointF(3, 0));
    p.drawLine(s + QPointF(0, -3), s + QPointF(0, 3));
  }
}

void MapCanvas::drawHoverThumbnail(QPainter& p) {
  if (hoveredPhoto_ == nullptr || thumbnails_ == nullptr) return;
  const PhotoShape* shape = nullptr;
  for (const PhotoShape& ph : photos_)
    if (ph.photo == hoveredPhoto_) shape = &ph;
  if (shape == nullptr) return;
  const QImage image = thumbnails_->thumbnail(*hoveredPhoto_);
  const QPointF s = screenFromWorld(shape->at);
  const QSize size = image.isNull() ? QSize(kHoverThumbPx, kHoverThumbPx * 3 / 4)
                                    : image.size().scaled(kHoverThumbPx, kHoverThumbPx, Qt::KeepAspectRatio);
  QRectF box(s.x() + 12, s.y() - size.height() - 30, size.width() + 8, size.height() + 26);
  // Keep the popup inside the canvas, flipping it below or left of the marker when needed.
  if (box.top() < 2) box.moveTop(s.y() + 12);
  if (box.right() > width() - 2) box.moveRight(s.x() - 12);
  p.setPen(QPen(QColor(60, 60, 60), 1));
  p.setBrush(QColor(255, 255, 255, 240));
  p.drawRoundedRect(box, 4, 4);
  const QRectF imageRect(box.left() + 4, box.top() + 4, size.width(), size.height());
  if (image.isNull()) p.fillRect(imageRect, QColor(220, 220, 220));
  else p.drawImage(imageRect, image);
  p.setPen(Qt::black);
  p.drawText(QRectF(box.left() + 4, imageRect.bottom() + 2, box.width() - 8, 18), Qt::AlignLeft | Qt::AlignVCenter,
             QString::fromStdString(hoveredPhoto_->name()));
}

void MapCanvas::drawScaleBar(QPainter& p) {
  const double mpp = plane_.groundMetresPerWorld(centre_) / scale();
  const double lengthM = niceScaleLengthM(kScaleBarMaxPx * mpp);
  if (lengthM <= 0.0) return;
  const double px = lengthM / mpp;
  const QPointF origin(12, height() - 14);
  const QString label = QString::fromStdString(lengthLabel(lengthM));
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(255, 255, 255, 190));
  p.drawRect(QRectF(origin.x() - 6, origin.y() - 24, px + 12, 30));
  p.setPen(QPen(Qt::black, 2));
  p.drawLine(origin, origin + QPointF(px, 0));
  p.drawLine(origin, origin + QPointF(0, -6));
  p.drawLine(origin + QPointF(px, 0), origin + QPointF(px, -6));
  p.drawText(QRectF(origin.x(), origin.y() - 22, px, 16), Qt::AlignCenter, label);
}

void MapCanvas::drawAttribution(QPainter& p) {
  if (tiles_ == nullptr || !tiles_->enabled() || !plane_.isWebMercator()) return;
  const QString text = tiles_->attribution();
  if (text.isEmpty()) return;
  QFont font = p.font();
  font.setPointSizeF(8);
  p.setFont(font);
  const QRectF bounds = p.fontMetrics().boundingRect(text);
  const QRectF box(width() - bounds.width() - 10, height() - bounds.height() - 4, bounds.width() + 10,
                   bounds.height() + 4);
  p.setPen(Qt::NoPen);
  p.setBrush(QColor(255, 255, 255, 200));
  p.drawRect(box);
  p.setPen(QColor(40, 40, 40));
  p.drawText(box, Qt::AlignCenter, text);
}

void MapCanvas::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  dragging_ = true;
  lastMouse_ = pressMouse_ = event->position();
  setCursor(Qt::ClosedHandCursor);
}

void MapCanvas::mouseMoveEvent(QMouseEvent* event) {
  const QPointF at = event->position();
  if (dragging_) {
    panBy(at - lastMouse_);
    lastMouse_ = at;
  }
  double lat = 0.0, lon = 0.0;
  if (geoAt(at, lat, lon)) emit cursorMoved(lat, lon);
  else emit cursorLeft();
  const TFoto* hovered = dragging_ ? nullptr : photoAt(at);
  if (hovered != hoveredPhoto_) {
    hoveredPhoto_ = hovered;
    update();
  }
}

void MapCanvas::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !dragging_) return;
  dragging_ = false;
  unsetCursor();
  const QPointF moved = event->position() - pressMouse_;
  if (std::hypot(moved.x(), moved.y()) < kClickSlopPx) {
    if (const TFoto* photo = photoAt(event->position())) {
      setSelectedPhoto(photo);
      emit photoClicked(photo);
    }
  }
}

void MapCanvas::mouseDoubleClickEvent(QMouseEvent* event) { zoomAround(event->position(), zoom_ + 1.0); }

void MapCanvas::wheelEvent(QWheelEvent* event) {
  const double notches = event->angleDelta().y() / kWheelStepDeg;
  zoomAround(event->position(), zoom_ + notches * 0.5);
}

void MapCanvas::keyPressEvent(QKeyEvent* event) {
  const QPointF middle(width() / 2.0, height() / 2.0);
  switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal: zoomAround(middle, zoom_ + 1.0); break;
    case Qt::Key_Minus: zoomAround(middle, zoom_ - 1.0); break;
    case Qt::Key_Left: panBy(QPointF(width() * kKeyPanFraction, 0)); break;
    case Qt::Key_Right: panBy(QPointF(-width() * kKeyPanFraction, 0)); break;
    case Qt::Key_Up: panBy(QPointF(0, height() * kKeyPanFraction)); break;
    case Qt::Key_Down: panBy(QPointF(0, -height() * kKeyPanFraction)); break;
    case Qt::Key_F:
    case Qt::Key_Home: fitToDocument(); break;
    default: QWidget::keyPressEvent(event);
  }
}

void MapCanvas::leaveEvent(QEvent*) {
  hoveredPhoto_ = nullptr;
  update();
  emit cursorLeft();
}

void MapCanvas::resizeEvent(QResizeEvent*) {
  if (keepFitted_) fitToDocument();
  update();
}

}  // namespace pixtrail::gui
