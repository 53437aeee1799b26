#pragma once
// Photo thumbnails for the list and the map: the EXIF thumbnail when the photo has one, else a
// scaled decode of the picture, made on worker threads and kept in a cache of bounded size so
// that a folder of thousands of photos costs no more memory than the limit.

#include <QCache>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QString>
#include <QThreadPool>

#include "photos/TCjtoFotos.hpp"

namespace pixtrail::gui {

class ThumbnailCache : public QObject {
  Q_OBJECT
 public:
  static constexpr int kMaxEdgePx = 160;  // the 100 % size of the list
  static constexpr qint64 kDefaultLimitBytes = 48LL * 1024 * 1024;

  explicit ThumbnailCache(qint64 limitBytes = kDefaultLimitBytes, QObject* parent = nullptr);
  ~ThumbnailCache() override;

  // The thumbnail if it is cached; otherwise a null image, and a decode is queued (once).
  QImage thumbnail(const TFoto& photo);
  bool isPending(const QString& file) const { return pending_.contains(file); }
  int pendingCount() const { return static_cast<int>(pending_.size()); }
  int cachedCount() const { return cache_.count(); }
  qint64 cachedBytes() const { return cache_.totalCost(); }
  qint64 limitBytes() const { return cache_.maxCost(); }
  // Blocks until every queued decode is done (tests, shutdown).
  void waitForIdle();

  // The work of one decode, for the worker and for tests: never larger than kMaxEdgePx.
  static QImage decode(const QString& file, const std::string& exifThumbnail);

 signals:
  void ready(const QString& file);

 private:
  void store(const QString& file, const QImage& image);

  QCache<QString, QImage> cache_;  // cost in bytes
  QSet<QString> pending_;
  QThreadPool pool_;
};

}  // namespace pixtrail::gui
