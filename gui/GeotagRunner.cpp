#include "gui/GeotagRunner.hpp"

#include <QEventLoop>
#include <QMetaObject>
#include <QProgressDialog>
#include <QTimer>
#include <atomic>
#include <filesystem>
#include <thread>

#include "coords/TListaDatums.hpp"
#include "core/messages.hpp"
#include "gui/Document.hpp"

namespace pixtrail::gui {

namespace {
// Large enough for the job's parallel writers to help, small enough for Cancel to answer quickly.
constexpr std::size_t kBatchPhotos = 16;
}  // namespace

bool runGeotagJob(QWidget* parent, Document& document, const GeotagOptions& options,
                  std::vector<GeotagPhotoResult>& results, std::string& message) {
  results.clear();
  std::vector<std::filesystem::path> photos;
  for (const TFoto* photo : document.allPhotos()) photos.push_back(photo->fileName);
  if (photos.empty()) {
    appendMessage(message, "No photos to geotag");
    return false;
  }
  QProgressDialog progress(QObject::tr("Placing photos on the track..."), QObject::tr("Cancel"), 0,
                           static_cast<int>(photos.size()), parent);
  progress.setObjectName("geotagProgress");
  progress.setWindowModality(Qt::WindowModal);
  progress.setMinimumDuration(0);
  std::atomic<bool> cancelled{false};
  QObject::connect(&progress, &QProgressDialog::canceled, [&cancelled] { cancelled = true; });
  progress.setValue(0);

  std::atomic<std::size_t> done{0};
  bool started = true;
  bool refused = false;
  std::string jobMessage;
  QEventLoop loop;
  // The document's tracks are only read by the window while the modal dialog is up; the worker
  // is the only one to change them (marks).
  std::jthread worker([&] {
    for (std::size_t first = 0; first < photos.size() && !cancelled; first += kBatchPhotos) {
      GeotagOptions batch = options;
      const std::size_t end = std::min(photos.size(), first + kBatchPhotos);
      batch.inputs.assign(photos.begin() + static_cast<std::ptrdiff_t>(first),
                          photos.begin() + static_cast<std::ptrdiff_t>(end));
      std::vector<GeotagPhotoResult> part;
      const std::size_t base = first;
      const bool ok = geotagWithTracks(batch, document.tracks, part, jobMessage,
                                       [&done, base](std::size_t n, std::size_t) { done = base + n; });
      if (!ok) {
        started = false;
        break;
      }
      // A job that answers a batch of photos with no result at all has refused the clock offset.
      if (part.empty()) {
        refused = true;
        break;
      }
      results.insert(results.end(), part.begin(), part.end());
      done = end;
    }
    QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
  });
  QTimer ticker;
  QObject::connect(&ticker, &QTimer::timeout, [&] {
    if (progress.wasCanceled()) cancelled = true;  // closed or Escape, not only the button
    else progress.setValue(static_cast<int>(done.load()));
  });
  ticker.start(50);
  loop.exec();
  worker.join();
  ticker.stop();
  progress.setValue(static_cast<int>(photos.size()));
  if (!jobMessage.empty()) appendMessage(message, jobMessage);
  if (refused)
    appendMessage(message, "The photos do not fit the track with this camera clock offset, so no more were written. "
                           "Check the offset: the map shows where the photos would land.");
  if (cancelled) appendMessage(message, "Cancelled: " + std::to_string(results.size()) + " of " +
                                            std::to_string(photos.size()) + " photos done");
  return started && !cancelled && !refused;
}

void applyGeotagResults(Document& document, const std::vector<GeotagPhotoResult>& results) {
  for (const GeotagPhotoResult& r : results) {
    if (r.status != GeotagStatus::Tagged) continue;
    for (TFoto* photo : document.allPhotos()) {
      if (photo->fileName != r.file) continue;
      photo->position = TCoord{r.lon, r.lat, static_cast<float>(r.altM)};
      photo->datum = kDatumWgs84;
      photo->hasPosition = true;
      if (!r.written.empty() && std::filesystem::exists(r.written)) photo->fileName = r.written;
    }
  }
}

std::vector<PlannedPlace> planPlaces(Document& document, double offsetSeconds) {
  TCjtoFotos planner;  // addCoordinates off: the photos are only looked at
  std::vector<PlannedPlace> out;
  for (TFoto* photo : document.allPhotos()) {
    int track = -1;
    const Placement placement =
        planner.placeOnTracks(*photo, document.tracks, TrackSettings{}, offsetSeconds / kSecondsPerDay, track);
    if (placement.status != PlacementStatus::Placed) continue;
    TCoord p = placement.where.position;
    std::string ignored;
    datumTable().Transforma_Grados_Datum(p, kWorkingDatum, kDatumWgs84, ignored);
    out.push_back({photo, p.lat, p.lon});
  }
  return out;
}

}  // namespace pixtrail::gui
