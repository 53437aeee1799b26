// Opening a large photo folder in the desktop program: how soon the list is usable (every row
// there and painted), how soon every capture time is read (on the worker, the list filling in),
// how soon the thumbnails of the visible rows are in, and what the thumbnail cache holds afterwards. Run by gui_photo_folder_bench.sh, which makes the folder and times a
// peer on it. Prints one line of figures per run.

#include <QApplication>
#include <QElapsedTimer>
#include <QTreeView>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

#include "app/Configuration.hpp"
#include "app/Startup.hpp"
#include "gui/PhotoFolderLoader.hpp"
#include "gui/TAForm_MultiGPS.hpp"
#include "gui/TFrame_Lista_Fotos.hpp"
#include "gui/ThumbnailCache.hpp"

namespace {

long residentKiB() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
  return -1;
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  if (argc < 2) {
    std::fprintf(stderr, "usage: gui_photo_folder FOLDER [RUNS]\n");
    return 2;
  }
  const QString folder = QString::fromLocal8Bit(argv[1]);
  const int runs = argc > 2 ? std::atoi(argv[2]) : 5;
  pixtrail::StartupOptions options;
  options.readConfiguration = false;
  std::string message;
  if (!pixtrail::startSystem(options, message)) {
    std::fprintf(stderr, "%s\n", message.c_str());
    return 1;
  }
  pixtrail::configuration().mapTiles.set(false);
  std::printf(
      "run rows open_ms list_usable_ms longest_stall_ms times_read_ms visible_thumbnails_ms cached_thumbnails "
      "cache_kib cache_limit_kib rss_kib\n");
  for (int run = 1; run <= runs; ++run) {
    pixtrail::gui::TAForm_MultiGPS window;
    window.resize(1280, 800);
    window.show();
    QCoreApplication::processEvents();
    QElapsedTimer timer;
    timer.start();
    window.openFiles({folder});
    const qint64 openMs = timer.elapsed();
    pixtrail::gui::TFrame_Lista_Fotos* list = window.photoList();
    list->grab();  // the first paint of the list asks for its visible rows only
    const qint64 usableMs = timer.elapsed();
    // While the times come in, the window answers: the longest time one round of events and a
    // repaint of the list take is what a user would feel as a stall.
    qint64 stallMs = 0;
    pixtrail::gui::PhotoFolderLoader* loader = window.photoLoader();
    while (loader->isLoading()) {
      QElapsedTimer round;
      round.start();
      QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
      list->grab();
      stallMs = std::max(stallMs, round.elapsed());
      QThread::msleep(2);
    }
    const qint64 timesMs = timer.elapsed();
    pixtrail::gui::ThumbnailCache* thumbnails = window.thumbnails();
    list->grab();
    while (thumbnails->pendingCount() > 0) {
      QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
      QThread::msleep(1);
    }
    list->grab();
    const qint64 thumbsMs = timer.elapsed();
    // Scroll through the whole list, as a user looking for a photo would, and let it settle.
    QTreeView* view = list->view();
    const int rows = list->model()->rowCount();
    for (int row = 0; row < rows; row += 10) {
      view->scrollTo(list->model()->index(row, 0));
      list->grab();
      QCoreApplication::processEvents();
    }
    while (thumbnails->pendingCount() > 0) {
      QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
      QThread::msleep(1);
    }
    std::printf("%d %d %lld %lld %lld %lld %lld %d %lld %lld %ld\n", run, rows, openMs, usableMs, stallMs, timesMs,
                thumbsMs,
                thumbnails->cachedCount(), thumbnails->cachedBytes() / 1024, thumbnails->limitBytes() / 1024,
                residentKiB());
    std::fflush(stdout);
  }
  return 0;
}
