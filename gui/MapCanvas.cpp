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

// Stored colours carry red in the low byte.
QColor colourOf(std::uint32_t stored) {
  return QColor(static_cast<int>(stored & 0xFF), static_cast<int>((stored >> 8) & 0xFF),
                static_cast<int>((stored >> 16) & 0xFF));
}

// Working datum to WGS 84; a position that cannot be shifted is drawn where it is.
TCoord toWgs84(TCoord p) {
  std::string ignored;
  datumTable().Transforma_Grados_Datum(p, kWorkingDatum, kDatumWgs84, ignored);
  return p;
}

WorldPoint worldOf(const TCoord& working) {
  const TCoord w = toWgs84(working);
  return worldFromGeo(w.lat, w.lon);
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

void MapCanvas::rebuild() {
  tracks_.clear();
  routes_.clear();
  waypoints_.clear();
  photos_.clear();
  hoveredPhoto_ = nullptr;
  if (document_ == nullptr) {
    update();
    return;
  }
  for (const TVolGPS& track : document_->tracks) {
    TrackShape shape;
    shape.owner = &track;
    shape.track = &track;
    shape.colour = colourOf(track.colour);
    shape.widthPx = std::clamp(track.width, 1, 8);
    std::vector<TCoord> positions;
    positions.reserve(track.pointCount());
    for (std::size_t i = 0; i < track.pointCount(); ++i) positions.push_back(track.point(i).position);
    std::string ignored;
    datumTable().Transforma_Grados_Datum(std::span<TCoord>(positions), kWorkingDatum, kDatumWgs84, ignored);
    for (const auto& [first, end] : track.segments()) {
      QPolygonF line;
      line.reserve(static_cast<qsizetype>(end - first));
      for (std::size_t i = first; i < end; ++i) {
        const WorldPoint w = worldFromGeo(positions[i].lat, positions[i].lon);
        line << QPointF(w.x, w.y);
      }
      if (!line.isEmpty()) shape.segments.push_back(std::move(line));
    }
    tracks_.push_back(std::move(shape));
  }
  for (const TBalizas& file : document_->waypointFiles)
    for (const TBaliza& w : file.waypoints)
      waypoints_.push_back({&file, worldOf(w.position), QString::fromLatin1(w.name.c_str())});
  for (const TRutas& file : document_->routeFiles) {
    for (const TRuta& route : file.routes) {
      RouteShape shape{&file, {}};
      for (const TBaliza& w : route.waypoints) {
        const WorldPoint p = worldOf(w.position);
        shape.line << QPointF(p.x, p.y);
        waypoints_.push_back({&file, p, QString::fromLatin1(w.name.c_str())});
      }
      routes_.push_back(std::move(shape));
    }
  }
  for (const TFotos& group : document_->photos.groups)
    for (const TFoto& photo : group.photos) {
      if (!photo.hasPosition) continue;
      TCoord p = photo.position;
      std::string ignored;
      datumTable().Transforma_Grados_Datum(p, photo.datum, kDatumWgs84, ignored);
      photos_.push_back({&group, &photo, worldFromGeo(p.lat, p.lon)});
    }
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

QPointF MapCanvas::screenFromGeo(double lat, double lon) const { return screenFromWorld(worldFromGeo(lat, lon)); }

void MapCanvas::geoAt(const QPointF& screen, double& lat, double& lon) const {
  geoFromWorld(worldFromScreen(screen), lat, lon);
}

void MapCanvas::centre(double& lat, double& lon) const { geoFromWorld(centre_, lat, lon); }

void MapCanvas::setView(double lat, double lon, double zoom) {
  keepFitted_ = false;
  centre_ = worldFromGeo(lat, lon);
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
  centre_.y = std::clamp(centre_.y - deltaPx.y() / scale(), 0.0, static_cast<double>(kTileSizePx));
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
  drawRoutes(p);
  drawTracks(p);
  drawWaypoints(p);
  drawPreview(p);
  drawPhotos(p);
  drawHoverThumbnail(p);
  drawScaleBar(p);
  drawAttribution(p);
}

void MapCanvas::drawTiles(QPainter& p) {
  if (tiles_ == nullptr || !tiles_->enabled()) return;
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
  double lat = 0.0, lon = 0.0;
  geoAt(QPointF(width() / 2.0, height() / 2.0), lat, lon);
  const double mpp = metresPerPixel(lat, zoom_);
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
  if (tiles_ == nullptr || !tiles_->enabled()) return;
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
  geoAt(at, lat, lon);
  emit cursorMoved(lat, lon);
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
