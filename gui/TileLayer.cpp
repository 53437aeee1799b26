#include "gui/TileLayer.hpp"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

#include "gui/map_geometry.hpp"

namespace pixtrail::gui {

namespace {
constexpr int kMaxQueued = 64;  // older requests of views already left are dropped
}  // namespace

TileLayer::TileLayer(QObject* parent) : QObject(parent), network_(new QNetworkAccessManager(this)) {
  memory_.setMaxCost(kMemoryTiles);
  cacheRoot_ = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + "/pixtrail/tiles";
}

TileLayer::~TileLayer() {
  // Replies die with the manager; their finished signals must not reach a half-destroyed layer.
  for (QNetworkReply* reply : std::as_const(inFlight_)) reply->disconnect(this);
}

QByteArray TileLayer::userAgent() {
  return QByteArray("Pixtrail/") + PIXTRAIL_VERSION + " (desktop photo geotagger; pixtrail-gui)";
}

void TileLayer::setEnabled(bool on) {
  enabled_ = on;
  if (!on) queue_.clear();
}

void TileLayer::setUrlTemplate(const QString& urlTemplate) {
  if (urlTemplate == urlTemplate_) return;
  urlTemplate_ = urlTemplate;
  forget();
}

void TileLayer::setCacheRoot(const QString& folder) {
  cacheRoot_ = folder;
  forget();
}

void TileLayer::forget() {
  memory_.clear();
  queue_.clear();
  failedAt_.clear();
  for (QNetworkReply* reply : std::as_const(inFlight_)) {
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
  }
  inFlight_.clear();
}

QString TileLayer::cacheFolder() const {
  // One folder per template, so two tile sources never mix.
  const QByteArray id = QCryptographicHash::hash(urlTemplate_.toUtf8(), QCryptographicHash::Sha1).toHex().left(12);
  return cacheRoot_ + "/" + QString::fromLatin1(id);
}

QString TileLayer::key(int z, int x, int y) { return QString("%1/%2/%3").arg(z).arg(x).arg(y); }

QString TileLayer::diskPath(const QString& key) const { return cacheFolder() + "/" + key + ".tile"; }

QImage TileLayer::tile(int z, int x, int y) {
  if (!enabled_ || urlTemplate_.isEmpty()) return {};
  const QString k = key(z, x, y);
  if (const QImage* image = memory_.object(k)) return *image;
  QImage fromDisk;
  if (fromDisk.load(diskPath(k))) {
    memory_.insert(k, new QImage(fromDisk), 1);
    return fromDisk;
  }
  if (inFlight_.contains(k)) return {};
  const auto failed = failedAt_.constFind(k);
  if (failed != failedAt_.cend() && failed->secsTo(QDateTime::currentDateTimeUtc()) < kRetryAfterS) return {};
  queue_.removeAll(k);
  queue_.prepend(k);
  while (queue_.size() > kMaxQueued) queue_.removeLast();
  pump();
  return {};
}

void TileLayer::pump() {
  while (inFlight_.size() < kMaxConnections && !queue_.isEmpty()) {
    const QString k = queue_.takeFirst();
    const QStringList parts = k.split('/');
    std::string url;
    if (!tileUrl(urlTemplate_.toStdString(), parts[0].toInt(), parts[1].toInt(), parts[2].toInt(), url)) {
      failedAt_.insert(k, QDateTime::currentDateTimeUtc());
      continue;
    }
    QNetworkRequest request(QUrl(QString::fromStdString(url)));
    request.setHeader(QNetworkRequest::UserAgentHeader, userAgent());
    request.setTransferTimeout(timeoutMs_);
    QNetworkReply* reply = network_->get(request);
    inFlight_.insert(k, reply);
    connect(reply, &QNetworkReply::finished, this, [this, reply, k] { finished(reply, k); });
  }
}

void TileLayer::finished(QNetworkReply* reply, const QString& k) {
  inFlight_.remove(k);
  reply->deleteLater();
  const QByteArray bytes = reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
  QImage image;
  // A server that answers with an error page or garbage gets the same treatment as no server.
  if (bytes.isEmpty() || !image.loadFromData(bytes)) {
    failedAt_.insert(k, QDateTime::currentDateTimeUtc());
  } else {
    failedAt_.remove(k);
    ++downloaded_;
    memory_.insert(k, new QImage(image), 1);
    const QString path = diskPath(k);
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile out(path);  // a tile on disk is whole or absent
    if (out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size()) out.commit();
    emit tileArrived();
  }
  pump();
}

}  // namespace pixtrail::gui
