#include "gui_test_support.hpp"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QThread>
#include <QWidget>
#include <cmath>

namespace pixtrail::test {

namespace {
constexpr int kGridColumns = 12, kGridRows = 9;
constexpr int kSizeSlackPx = 8;
constexpr double kCellAgreement = 0.8;  // fonts and anti-aliasing move things a little

// True when the cell holds more than one colour, ignoring faint shading.
bool cellDrawn(const QImage& image, const QRect& cell) {
  const QRgb first = image.pixel(cell.topLeft());
  for (int y = cell.top(); y <= cell.bottom(); y += 2)
    for (int x = cell.left(); x <= cell.right(); x += 2) {
      const QRgb c = image.pixel(x, y);
      if (std::abs(qRed(c) - qRed(first)) + std::abs(qGreen(c) - qGreen(first)) +
              std::abs(qBlue(c) - qBlue(first)) > 24)
        return true;
    }
  return false;
}

std::vector<bool> drawnCells(const QImage& image) {
  std::vector<bool> cells;
  for (int r = 0; r < kGridRows; ++r)
    for (int c = 0; c < kGridColumns; ++c) {
      const QRect cell(c * image.width() / kGridColumns, r * image.height() / kGridRows,
                       image.width() / kGridColumns, image.height() / kGridRows);
      cells.push_back(cellDrawn(image, cell));
    }
  return cells;
}
}  // namespace

std::filesystem::path samplesDir() { return PIXTRAIL_SAMPLES_DIR; }

void copySamplePhotos(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  for (const auto& entry : std::filesystem::directory_iterator(samplesDir()))
    if (entry.path().extension() == ".jpg") std::filesystem::copy_file(entry.path(), folder / entry.path().filename());
}

QImage screenshot(QWidget* widget, const QString& name) {
  QCoreApplication::processEvents();
  const QImage image = widget->grab().toImage();
  QDir().mkpath(PIXTRAIL_SCREENSHOT_DIR);
  image.save(QString(PIXTRAIL_SCREENSHOT_DIR) + "/" + name + ".png");
  return image;
}

double drawnShare(const QImage& image) {
  const std::vector<bool> cells = drawnCells(image);
  return static_cast<double>(std::count(cells.begin(), cells.end(), true)) / static_cast<double>(cells.size());
}

bool looksLikeStored(const QImage& image, const QString& name, QString& why) {
  const QString file = QString(PIXTRAIL_REFERENCE_SCREENSHOT_DIR) + "/" + name + ".png";
  QImage stored;
  if (!stored.load(file)) {
    why = "no stored screenshot " + file;
    return false;
  }
  if (std::abs(stored.width() - image.width()) > kSizeSlackPx ||
      std::abs(stored.height() - image.height()) > kSizeSlackPx) {
    why = QString("size %1x%2, stored %3x%4").arg(image.width()).arg(image.height()).arg(stored.width()).arg(stored.height());
    return false;
  }
  const std::vector<bool> a = drawnCells(image), b = drawnCells(stored);
  std::size_t same = 0;
  for (std::size_t i = 0; i < a.size(); ++i) same += a[i] == b[i];
  const double agreement = static_cast<double>(same) / static_cast<double>(a.size());
  if (agreement < kCellAgreement) {
    why = QString("only %1 % of the grid cells agree with the stored picture").arg(std::lround(agreement * 100));
    return false;
  }
  return true;
}

bool waitFor(const std::function<bool()>& done, int timeoutMs) {
  QElapsedTimer timer;
  timer.start();
  while (!done() && timer.elapsed() < timeoutMs) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    QThread::msleep(2);
  }
  return done();
}

}  // namespace pixtrail::test
