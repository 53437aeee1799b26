#include "gui/ThumbnailCache.hpp"

#include <QBuffer>
#include <QImageReader>
#include <QMetaObject>

namespace pixtrail::gui {

namespace {
// Decoding is disk- and CPU-bound; two workers keep the window responsive on small machines.
constexpr int kWorkers = 2;

QImage boundedTo(QImage image) {
  if (image.isNull()) return image;
  if (image.width() > ThumbnailCache::kMaxEdgePx || image.height() > ThumbnailCache::kMaxEdgePx)
    image = image.scaled(ThumbnailCache::kMaxEdgePx, ThumbnailCache::kMaxEdgePx, Qt::KeepAspectRatio,
                         Qt::SmoothTransformation);
  return image.convertToFormat(QImage::Format_RGB32);
}
}  // namespace

ThumbnailCache::ThumbnailCache(qint64 limitBytes, QObject* parent) : QObject(parent) {
  cache_.setMaxCost(limitBytes);
  pool_.setMaxThreadCount(kWorkers);
}

ThumbnailCache::~ThumbnailCache() {
  pool_.clear();
  pool_.waitForDone();
}

QImage ThumbnailCache::decode(const QString& file, const std::string& exifThumbnail) {
  if (!exifThumbnail.empty()) {
    QImage image;
    if (image.loadFromData(reinterpret_cast<const uchar*>(exifThumbnail.data()),
                           static_cast<int>(exifThumbnail.size()), "JPEG"))
      return boundedTo(image);
  }
  QImageReader reader(file);
  reader.setAutoTransform(true);
  const QSize size = reader.size();
  // The JPEG decoder scales while it decodes, which is far cheaper than decoding the whole picture.
  if (size.isValid()) reader.setScaledSize(size.scaled(kMaxEdgePx, kMaxEdgePx, Qt::KeepAspectRatio));
  return boundedTo(reader.read());
}

QImage ThumbnailCache::thumbnail(const TFoto& photo) {
  const QString file = QString::fromStdString(photo.fileName.string());
  if (const QImage* cached = cache_.object(file)) return *cached;
  if (pending_.contains(file)) return {};
  pending_.insert(file);
  std::string exifThumbnail = photo.thumbnail.empty() ? photo.exif.thumbnail() : photo.thumbnail;
  // The destructor waits for the workers, and a queued call dies with its context object.
  pool_.start([this, file, exifThumbnail = std::move(exifThumbnail)] {
    QImage image = decode(file, exifThumbnail);
    if (image.isNull()) {
      // A picture that cannot be decoded still gets a thumbnail, so it is not asked for again.
      image = QImage(ThumbnailCache::kMaxEdgePx / 2, ThumbnailCache::kMaxEdgePx / 2, QImage::Format_RGB32);
      image.fill(Qt::gray);
    }
    QMetaObject::invokeMethod(this, [this, file, image] { store(file, image); }, Qt::QueuedConnection);
  });
  return {};
}

void ThumbnailCache::store(const QString& file, const QImage& image) {
  pending_.remove(file);
  cache_.insert(file, new QImage(image), image.sizeInBytes());
  emit ready(file);
}

void ThumbnailCache::waitForIdle() { pool_.waitForDone(); }

}  // namespace pixtrail::gui
