// The tile layer against a tile server of our own on 127.0.0.1 (tiles drawn on the fly), and
// against the ways servers fail: down, slow, or answering with garbage. The map must stay usable.

#include "gui/TileLayer.hpp"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include "app/Configuration.hpp"
#include "gui/MapCanvas.hpp"
#include "gui/map_geometry.hpp"
#include "gui_test_support.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::gui {
namespace {

// The colour a tile is drawn in, from its address, so a test can tell which tile it got.
QColor tileColour(int z, int x, int y) { return QColor((z * 40) % 256, (x * 70 + 30) % 256, (y * 90 + 60) % 256); }

class TileServer : public QObject {
 public:
  enum class Mode { Tiles, Garbage, Slow, NotFound };
  explicit TileServer(Mode mode) : mode_(mode) {
    server_.listen(QHostAddress::LocalHost, 0);
    connect(&server_, &QTcpServer::newConnection, this, [this] {
      while (QTcpSocket* socket = server_.nextPendingConnection()) {
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
      }
    });
  }
  QString urlTemplate() const { return QString("http://127.0.0.1:%1/{z}/{x}/{y}.png").arg(server_.serverPort()); }
  int requests = 0;
  QByteArray lastUserAgent;

 private:
  void serve(QTcpSocket* socket) {
    const QByteArray request = socket->readAll();
    if (!request.contains("\r\n\r\n")) return;
    ++requests;
    for (const QByteArray& line : request.split('\n'))
      if (line.toLower().startsWith("user-agent:")) lastUserAgent = line.mid(11).trimmed();
    const QList<QByteArray> path = request.split(' ').value(1).split('/');  // "", z, x, "y.png"
    const int z = path.value(1).toInt(), x = path.value(2).toInt(), y = path.value(3).split('.').value(0).toInt();
    QByteArray body;
    QByteArray status = "200 OK";
    switch (mode_) {
      case Mode::Tiles: {
        QImage tile(kTileSizePx, kTileSizePx, QImage::Format_RGB32);
        tile.fill(tileColour(z, x, y));
        QBuffer buffer(&body);
        tile.save(&buffer, "PNG");
        break;
      }
      case Mode::Garbage: body = "<html>this is not a picture</html>"; break;
      case Mode::NotFound: status = "404 Not Found"; body = "no"; break;
      case Mode::Slow: return;  // never answers
    }
    socket->write("HTTP/1.1 " + status + "\r\nContent-Type: image/png\r\nContent-Length: " +
                  QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
    socket->disconnectFromHost();
  }
  Mode mode_;
  QTcpServer server_;
};

class Tiles : public testing::Test {
 protected:
  void SetUp() override {
    layer_.setCacheRoot(QString::fromStdString((temp_ / "cache").string()));
    layer_.setAttribution("Test tiles");
  }
  test::TempDir temp_;
  TileLayer layer_;
};

TEST_F(Tiles, FetchedOnceThenServedFromMemoryAndDisk) {
  TileServer server(TileServer::Mode::Tiles);
  layer_.setUrlTemplate(server.urlTemplate());
  EXPECT_TRUE(layer_.tile(3, 2, 5).isNull()) << "a tile is never waited for";
  ASSERT_TRUE(test::waitFor([&] { return layer_.downloadedCount() == 1; }));
  const QImage tile = layer_.tile(3, 2, 5);
  ASSERT_FALSE(tile.isNull());
  EXPECT_EQ(tile.pixelColor(5, 5), tileColour(3, 2, 5));
  EXPECT_EQ(server.requests, 1);
  EXPECT_TRUE(server.lastUserAgent.startsWith("Pixtrail/")) << server.lastUserAgent.toStdString();
  // A second layer over the same cache, with the server gone, still has the tile.
  TileLayer offline;
  offline.setCacheRoot(QString::fromStdString((temp_ / "cache").string()));
  offline.setUrlTemplate(server.urlTemplate());
  const QImage cached = offline.tile(3, 2, 5);
  ASSERT_FALSE(cached.isNull());
  EXPECT_EQ(cached.pixelColor(5, 5), tileColour(3, 2, 5));
  EXPECT_EQ(server.requests, 1);
  // Another tile source never sees this one's tiles.
  offline.setUrlTemplate(server.urlTemplate() + "?style=2");
  EXPECT_TRUE(offline.tile(3, 2, 5).isNull());
}

TEST_F(Tiles, BadServersLeaveNoTileAndAreNotHammered) {
  for (const auto mode : {TileServer::Mode::Garbage, TileServer::Mode::NotFound}) {
    TileServer server(mode);
    layer_.setUrlTemplate(server.urlTemplate());
    layer_.tile(1, 0, 1);
    ASSERT_TRUE(test::waitFor([&] { return layer_.failedCount() == 1; }));
    EXPECT_TRUE(layer_.tile(1, 0, 1).isNull());
    QCoreApplication::processEvents();
    EXPECT_EQ(server.requests, 1) << "a failed tile waits before it is asked for again";
    EXPECT_FALSE(QDir(layer_.cacheFolder() + "/1/0").exists()) << "garbage never reaches the disk cache";
  }
}

TEST_F(Tiles, SlowOrDownServersTimeOutWhileTheMapKeepsDrawing) {
  TileServer slow(TileServer::Mode::Slow);
  layer_.setTimeoutMs(300);
  layer_.setUrlTemplate(slow.urlTemplate());
  MapCanvas canvas;
  canvas.resize(600, 400);
  canvas.setTileLayer(&layer_);
  canvas.setView(40.4153, -3.6844, 14);
  QElapsedTimer timer;
  timer.start();
  const QImage first = canvas.grab().toImage();
  EXPECT_LT(timer.elapsed(), 250) << "painting never waits for the network";
  EXPECT_GT(layer_.inFlightCount(), 0);
  EXPECT_LE(layer_.inFlightCount(), TileLayer::kMaxConnections);
  ASSERT_TRUE(test::waitFor([&] { return layer_.failedCount() >= 1; }, 3000));
  canvas.grab();
  EXPECT_TRUE(test::waitFor([&] { return layer_.inFlightCount() == 0 && layer_.queuedCount() == 0; }, 10000));

  // Nobody listening on the port at all.
  QTcpServer probe;
  probe.listen(QHostAddress::LocalHost, 0);
  const quint16 port = probe.serverPort();
  probe.close();
  TileLayer down;
  down.setCacheRoot(QString::fromStdString((temp_ / "down").string()));
  down.setUrlTemplate(QString("http://127.0.0.1:%1/{z}/{x}/{y}.png").arg(port));
  down.tile(2, 1, 1);
  ASSERT_TRUE(test::waitFor([&] { return down.failedCount() == 1; }));
  canvas.setTileLayer(&down);
  const QImage shot = test::screenshot(&canvas, "map-tiles-down");
  EXPECT_EQ(shot.size(), QSize(600, 400));
}

TEST_F(Tiles, TheMapShowsTilesUnderTheTrackAndTheirAttribution) {
  TileServer server(TileServer::Mode::Tiles);
  layer_.setUrlTemplate(server.urlTemplate());
  MapCanvas canvas;
  canvas.resize(600, 400);
  canvas.setTileLayer(&layer_);
  canvas.setView(40.4153, -3.6844, 15);
  canvas.grab();
  ASSERT_TRUE(test::waitFor([&] {
    canvas.grab();
    return layer_.queuedCount() == 0 && layer_.inFlightCount() == 0 && layer_.downloadedCount() > 0;
  }));
  const QImage shot = test::screenshot(&canvas, "map-tiles");
  // The centre pixel lies in the tile that holds Retiro at zoom 15.
  const WorldPoint w = worldFromGeo(40.4153, -3.6844);
  const int x = static_cast<int>(w.x * (1 << 15) / kTileSizePx), y = static_cast<int>(w.y * (1 << 15) / kTileSizePx);
  EXPECT_EQ(shot.pixelColor(300, 200), tileColour(15, x, y));
  // The attribution sits in the bottom right corner on a light box over the tiles.
  const QImage corner = shot.copy(shot.width() - 40, shot.height() - 14, 40, 14);
  EXPECT_GT(corner.pixelColor(2, 2).lightness(), 180);
  EXPECT_LT(corner.pixelColor(2, 2).lightness(), 255) << "the box lets the tile show through a little";
  bool text = false;
  for (int x = 0; x < corner.width(); ++x)
    for (int y = 0; y < corner.height(); ++y) text = text || corner.pixelColor(x, y).lightness() < 100;
  EXPECT_TRUE(text);
}

TEST(MapGeometry, TileUrlsAndScaleBars) {
  std::string url;
  ASSERT_TRUE(tileUrl("https://tile.example.org/{z}/{x}/{y}.png", 15, 16047, 12364, url));
  EXPECT_EQ(url, "https://tile.example.org/15/16047/12364.png");
  EXPECT_FALSE(tileUrl("https://tile.example.org/{z}/{x}.png", 1, 0, 0, url)) << "a template without {y}";
  ASSERT_TRUE(tileUrl("https://{s}.t.org/{z}/{x}/{y}", 2, 1, 1, url));
  EXPECT_EQ(url.find("{s}"), std::string::npos);

  // The tile of Retiro park at zoom 15 from the slippy-map formula: x = 16048, y = 12355
  // (floor of (lon+180)/360*2^15 and of (1-asinh(tan(lat))/pi)/2*2^15).
  const WorldPoint m = worldFromGeo(40.4153, -3.6844);
  EXPECT_EQ(static_cast<int>(m.x * (1 << 15) / kTileSizePx), 16048);
  EXPECT_EQ(static_cast<int>(m.y * (1 << 15) / kTileSizePx), 12355);
  double lat = 0.0, lon = 0.0;
  geoFromWorld(m, lat, lon);
  EXPECT_NEAR(lat, 40.4153, 1e-9);
  EXPECT_NEAR(lon, -3.6844, 1e-9);
  // The poles land on the world's edge instead of at infinity.
  EXPECT_EQ(worldFromGeo(90.0, 0.0).y, worldFromGeo(kMercatorLimitDeg, 0.0).y);
  EXPECT_NEAR(worldFromGeo(kMercatorLimitDeg, 0.0).y, 0.0, 1e-9);

  const struct { double maxM, expected; } rows[] = {
      {140.0, 100.0}, {199.9, 100.0}, {200.0, 200.0}, {740.0, 500.0}, {1000.0, 1000.0}, {0.7, 0.5}, {0.0, 0.0}};
  for (const auto& r : rows) EXPECT_DOUBLE_EQ(niceScaleLengthM(r.maxM), r.expected) << r.maxM;
  EXPECT_EQ(lengthLabel(500.0), "500 m");
  EXPECT_EQ(lengthLabel(2000.0), "2 km");
  // At the equator and zoom 0 one pixel covers 40075 km / 256.
  EXPECT_NEAR(metresPerPixel(0.0, 0.0), 156543.03, 0.01);
  EXPECT_NEAR(metresPerPixel(60.0, 1.0), 156543.03 / 4.0, 0.01);
}

}  // namespace
}  // namespace pixtrail::gui
