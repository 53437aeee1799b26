#include "gui/PhotoFolderLoader.hpp"

#include <QMetaObject>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <exception>

#include "core/messages.hpp"

namespace pixtrail::gui {

namespace {
// Batches are handed over this often, so the list fills in visibly without an update per photo.
constexpr auto kBatchInterval = std::chrono::milliseconds(60);
// The window's thread keeps a core of its own: on two cores a second reader made the window stall
// longer and read no sooner (bench/gui_photo_folder_bench.sh); beyond that, two readers at most,
// as reading waits on the disk as much as it computes.
int readerCount() { return std::clamp(QThread::idealThreadCount() - 1, 1, 2); }
}  // namespace

PhotoFolderLoader::PhotoFolderLoader(QObject* parent) : QObject(parent) {}

PhotoFolderLoader::~PhotoFolderLoader() { stopWorker(); }

void PhotoFolderLoader::start(TFotos& group, GpsQuirks quirks) {
  const std::lock_guard lock(mutex_);
  for (TFoto& photo : group.photos) {
    jobs_.push_back({&photo, photo.fileName, quirks});
    pending_.insert(&photo);
  }
  if (running_ > 0 || jobs_.empty()) return;  // the readers at work take the new photos too
  joinWorkers();  // readers that ran out of work are gone or going, without the lock again
  stop_ = false;
  for (running_ = 0; running_ < readerCount(); ++running_) workers_.emplace_back([this] { work(); });
}

void PhotoFolderLoader::joinWorkers() {
  for (std::thread& worker : workers_)
    if (worker.joinable()) worker.join();
  workers_.clear();
}

void PhotoFolderLoader::work() {
  auto lastHandOver = std::chrono::steady_clock::now();
  for (;;) {
    Job job;
    {
      const std::lock_guard lock(mutex_);
      if (stop_ || jobs_.empty()) {
        --running_;
        if (!drainPosted_ && !done_.empty()) {
          drainPosted_ = true;
          QMetaObject::invokeMethod(this, &PhotoFolderLoader::drain, Qt::QueuedConnection);
        }
        return;
      }
      job = std::move(jobs_.front());
      jobs_.pop_front();
    }
    Read read{job.target, std::make_unique<TFoto>(), {}};
    read.photo->exif.setGpsQuirks(job.quirks);
    try {
      if (!read.photo->load(job.file, read.message)) read.message = job.file.filename().string() + ": " + read.message;
    } catch (const std::exception& e) {  // a damaged photo is reported, never the end of the window
      read.photo->fileName = job.file;
      read.photo->readable = false;
      read.photo->loadMessage = std::string("Error reading the photo: ") + e.what();
      read.message = job.file.filename().string() + ": " + read.photo->loadMessage;
    }
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(mutex_);
    done_.push_back(std::move(read));
    if (!drainPosted_ && (now - lastHandOver >= kBatchInterval || jobs_.empty())) {
      drainPosted_ = true;
      lastHandOver = now;
      QMetaObject::invokeMethod(this, &PhotoFolderLoader::drain, Qt::QueuedConnection);
    }
  }
}

void PhotoFolderLoader::drain() {
  std::vector<Read> batch;
  {
    const std::lock_guard lock(mutex_);
    batch.swap(done_);
    drainPosted_ = false;
  }
  bool anyPositioned = false;
  for (Read& read : batch) {
    if (pending_.erase(read.target) == 0) continue;  // cancelled meanwhile
    *read.target = std::move(*read.photo);
    anyPositioned = anyPositioned || read.target->hasPosition;
    if (!read.message.empty()) appendMessage(messages_, read.message);
  }
  if (!batch.empty()) emit photosRead(anyPositioned);
  if (pending_.empty() && !batch.empty()) {
    joinWorkers();
    const QString messages = QString::fromLatin1(messages_.c_str());
    messages_.clear();
    emit finished(messages);
  }
}

void PhotoFolderLoader::finish() {
  joinWorkers();  // they read the rest; nothing else stops them
  drain();
}

void PhotoFolderLoader::stopWorker() {
  stop_ = true;
  joinWorkers();
}

void PhotoFolderLoader::cancel() {
  stopWorker();
  const std::lock_guard lock(mutex_);
  jobs_.clear();
  done_.clear();
  pending_.clear();
  messages_.clear();
}

}  // namespace pixtrail::gui
