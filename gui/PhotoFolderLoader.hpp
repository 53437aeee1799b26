#pragma once
// Reads the photos of newly opened folders on worker threads: the list shows every file at once
// and fills in capture times, positions and states as they are read, in batches, so a folder of
// thousands of photos never holds the window up. The photos are changed on the window's thread
// only; the worker reads into photos of its own.

#include <QObject>
#include <QString>
#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

#include "photos/TCjtoFotos.hpp"

namespace pixtrail::gui {

class PhotoFolderLoader : public QObject {
  Q_OBJECT
 public:
  explicit PhotoFolderLoader(QObject* parent = nullptr);
  ~PhotoFolderLoader() override;

  // Reads every photo of `group` (which has its file names) after those already queued.
  void start(TFotos& group, GpsQuirks quirks);
  bool isLoading() const { return !pending_.empty(); }
  // Not read yet: its time, position and thumbnail are still to come.
  bool isPending(const TFoto* photo) const { return pending_.count(photo) != 0; }
  int pendingCount() const { return static_cast<int>(pending_.size()); }
  // Blocks until every queued photo is read and filled in (before a geotag run, a datum change).
  void finish();
  // Stops reading and forgets the queue (the photos are about to be closed).
  void cancel();

 signals:
  // A batch was filled in; `anyPositioned` when one of them carries a stored position.
  void photosRead(bool anyPositioned);
  // The queue is empty; `messages` are those of the photos that could not be read.
  void finished(const QString& messages);

 private:
  struct Read {
    TFoto* target = nullptr;
    std::unique_ptr<TFoto> photo;
    std::string message;
  };
  struct Job {
    TFoto* target = nullptr;
    std::filesystem::path file;
    GpsQuirks quirks = GpsQuirks::Safe;
  };
  void work();
  void drain();
  void stopWorker();
  void joinWorkers();

  std::unordered_set<const TFoto*> pending_;  // window thread only
  std::string messages_;                      // gathered until the queue is empty

  std::mutex mutex_;
  std::deque<Job> jobs_;
  std::vector<Read> done_;
  bool drainPosted_ = false;
  int running_ = 0;  // readers not yet out of work
  std::atomic<bool> stop_{false};
  std::vector<std::thread> workers_;  // window thread only
};

}  // namespace pixtrail::gui
