#pragma once
// The optional background of web map tiles: fetched from the tile URL template of the settings
// (OpenStreetMap's standard layer unless changed), kept in memory and in a disk cache under the
// user's cache folder, asked for with an honest User-Agent and at most two at a time (the tile
// servers' usage policies). A tile that cannot be had is simply not drawn: the map works offline.

#include <QCache>
#include <QDateTime>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

class QNetworkAccessManager;
class QNetworkReply;

namespace pixtrail::gui {

class TileLayer : public QObject {
  Q_OBJECT
 public:
  static constexpr int kMaxConnections = 2;
  static constexpr int kDefaultTimeoutMs = 15000;
  static constexpr int kRetryAfterS = 120;  // a failed tile is not asked for again before this
  static constexpr int kMemoryTiles = 384;

  explicit TileLayer(QObject* parent = nullptr);
  ~TileLayer() override;

  bool enabled() const { return enabled_; }
  void setEnabled(bool on);
  const QString& urlTemplate() const { return urlTemplate_; }
  void setUrlTemplate(const QString& urlTemplate);
  const QString& attribution() const { return attribution_; }
  void setAttribution(const QString& text) { attribution_ = text; }
  // Default: "tiles" in the user's cache folder, one subfolder per URL template.
  void setCacheRoot(const QString& folder);
  QString cacheFolder() const;
  void setTimeoutMs(int ms) { timeoutMs_ = ms; }

  // The tile when it is in memory or on disk; otherwise a null image, and a download is queued.
  QImage tile(int z, int x, int y);

  int queuedCount() const { return static_cast<int>(queue_.size()); }
  int inFlightCount() const { return static_cast<int>(inFlight_.size()); }
  int failedCount() const { return static_cast<int>(failedAt_.size()); }
  int downloadedCount() const { return downloaded_; }

  static QByteArray userAgent();

 signals:
  void tileArrived();

 private:
  static QString key(int z, int x, int y);
  QString diskPath(const QString& key) const;
  void pump();
  void finished(QNetworkReply* reply, const QString& key);
  void forget();

  bool enabled_ = true;
  QString urlTemplate_;
  QString attribution_;
  QString cacheRoot_;
  int timeoutMs_ = kDefaultTimeoutMs;
  QNetworkAccessManager* network_ = nullptr;  // child of this
  QCache<QString, QImage> memory_;
  QStringList queue_;                   // newest first: the view the user looks at now
  QHash<QString, QNetworkReply*> inFlight_;
  QHash<QString, QDateTime> failedAt_;
  int downloaded_ = 0;
};

}  // namespace pixtrail::gui
