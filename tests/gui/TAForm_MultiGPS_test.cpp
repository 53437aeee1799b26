// The main window as a user meets it: files opened by menu, drop and command line, their messages,
// the tree's check boxes, the status bar's position, photo and marker selection, save, recent files.

#include "gui/TAForm_MultiGPS.hpp"

#include <gtest/gtest.h>

#include <QLabel>
#include <QMimeData>
#include <QStatusBar>
#include <QTest>
#include <QTreeView>
#include <QTreeWidget>
#include <QUrl>

#include "app/Configuration.hpp"
#include "gui/MapCanvas.hpp"
#include "gui/PhotoFolderLoader.hpp"
#include "gui/TFrame_Lista_Fotos.hpp"
#include "gui/TFrame_Opciones_Fotos.hpp"
#include "gui/ThumbnailCache.hpp"
#include "gui/TrackPanel.hpp"
#include "gui/gui_text.hpp"
#include "gui_test_support.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::gui {
namespace {

namespace fs = std::filesystem;

QString track() { return QString::fromStdString((test::samplesDir() / "retiro-walk.trk").string()); }

// The sample photos, tagged by the command line, so the window has photos with positions to show.
fs::path taggedPhotos(const test::TempDir& temp) {
  const fs::path out = temp / "tagged";
  const test::CommandOutput r = test::runPixtrail(
      "--config " + test::shellQuote((temp / "gps.ini").string()) + " geotag --track " +
      test::shellQuote(track().toStdString()) + " --offset -01:00:00 --out " + test::shellQuote(out.string()) + " " +
      test::shellQuote(test::samplesDir().string()));
  EXPECT_LE(r.status, 1) << r.err;
  return out;
}

QTreeWidgetItem* leaf(QTreeWidget* tree, int group, int child = 0) {
  QTreeWidgetItem* g = tree->topLevelItem(group);
  return g ? g->child(child) : nullptr;
}

class MainWindow : public testing::Test {
 protected:
  void SetUp() override {
    configuration().angleFormat.set(1);
    configuration().displayProjection.set("");
    configuration().recentFiles.set("");
    window_.resize(1280, 800);
    window_.show();
    window_.applySettings();
  }
  void TearDown() override {
    configuration().angleFormat.set(1);
    configuration().displayProjection.set("");
  }
  test::TempDir temp_;
  TAForm_MultiGPS window_;
};

TEST_F(MainWindow, ShowsTheTrackAndThePhotosWhereTheyWereTaken) {
  const fs::path photos = taggedPhotos(temp_);
  ASSERT_EQ(window_.openFiles({track(), QString::fromStdString(photos.string())}), 2);
  ASSERT_EQ(window_.tree()->topLevelItemCount(), 2);  // Tracks, Fotos
  EXPECT_EQ(window_.tree()->topLevelItem(1)->text(0), "Fotos");
  const int tagged = static_cast<int>(window_.document().allPhotos().size());
  EXPECT_EQ(window_.photoList()->model()->rowCount(), tagged);  // listed before they are read
  ASSERT_TRUE(test::waitFor([&] { return !window_.photoLoader()->isLoading(); }));
  EXPECT_EQ(window_.canvas()->photoMarkerCount(), tagged);
  ASSERT_TRUE(test::waitFor([&] {
    for (const TFoto* p : window_.document().allPhotos()) window_.thumbnails()->thumbnail(*p);
    return window_.thumbnails()->pendingCount() == 0;
  }));
  // Every marker is inside the view after fitting.
  for (const TFoto* p : window_.document().allPhotos()) {
    TCoord w = p->position;
    const QPointF s = window_.canvas()->screenFromGeo(w.lat, w.lon);
    EXPECT_TRUE(window_.canvas()->rect().contains(s.toPoint())) << p->name();
  }
  window_.tree()->setCurrentItem(leaf(window_.tree(), 0));
  const QImage shot = test::screenshot(&window_, "main-window");
  QString why;
  EXPECT_TRUE(test::looksLikeStored(shot, "main-window", why)) << why.toStdString();

  // Hovering a marker shows that photo's thumbnail beside it.
  const TFoto* first = window_.document().allPhotos()[0];
  const QPointF at = window_.canvas()->screenFromGeo(first->position.lat, first->position.lon);
  QTest::mouseMove(window_.canvas(), at.toPoint());
  EXPECT_EQ(window_.canvas()->hoveredPhoto(), first);
  test::screenshot(window_.canvas(), "map-hover-thumbnail");

  // A click on the marker selects the photo in the list, and a row of the list selects its marker.
  QTest::mouseClick(window_.canvas(), Qt::LeftButton, {}, at.toPoint());
  EXPECT_EQ(window_.photoList()->selectedPhoto(), first);
  const TFoto* last = window_.document().allPhotos().back();
  window_.photoList()->view()->setCurrentIndex(window_.photoList()->model()->index(tagged - 1, 0));
  EXPECT_EQ(window_.canvas()->selectedPhoto(), last);
}

TEST_F(MainWindow, StatusBarShowsTheCursorInTheChosenFormatAndProjection) {
  ASSERT_EQ(window_.openFiles({track()}), 1);
  // Retiro park, Madrid: 40.4153 N 3.6844 W = 40º 24.918' N, 3º 41.064' W (by hand); the
  // cursor lands on the nearest pixel, so only the first decimals are certain.
  const QPointF at = window_.canvas()->screenFromGeo(40.4153, -3.6844);
  QTest::mouseMove(window_.canvas(), at.toPoint());
  QString text = window_.statusText();
  EXPECT_TRUE(text.contains(QString::fromUtf8("40º24.9"))) << text.toStdString();
  EXPECT_TRUE(text.contains(QString::fromUtf8("003º41.0"))) << text.toStdString();
  EXPECT_TRUE(text.contains("W")) << text.toStdString();
  EXPECT_TRUE(text.contains("WGS 84")) << text.toStdString();

  configuration().angleFormat.set(0);
  configuration().displayProjection.set("UTM");
  window_.applySettings();
  QTest::mouseMove(window_.canvas(), at.toPoint() + QPoint(1, 0));
  QTest::mouseMove(window_.canvas(), at.toPoint());
  text = window_.statusText();
  EXPECT_TRUE(text.contains("40.415")) << text.toStdString();
  EXPECT_TRUE(text.contains("3.684")) << text.toStdString();
  // UTM zone 30, band T: 441935 4474078 (cs2cs +proj=utm +zone=30 +datum=WGS84), give or take
  // the pixel the cursor sits on.
  EXPECT_TRUE(text.contains("30T 4419")) << text.toStdString();
  EXPECT_TRUE(text.contains(" 447407")) << text.toStdString();
}

TEST_F(MainWindow, OpenProblemsReachTheUserInTheSystemsWords) {
  const fs::path empty = temp_ / "empty";
  fs::create_directories(empty);
  EXPECT_EQ(window_.openFiles({QString::fromStdString(empty.string())}), 0);
  EXPECT_TRUE(window_.lastMessage().contains("No hay fotos en la carpeta indicada")) << window_.lastMessage().toStdString();
  EXPECT_EQ(window_.openFiles({QString::fromStdString((temp_ / "missing.trk").string())}), 0);
  EXPECT_TRUE(window_.lastMessage().contains("File not found!")) << window_.lastMessage().toStdString();
  test::writeFileBytes(temp_ / "notes.xyz", "hello");
  EXPECT_EQ(window_.openFiles({QString::fromStdString((temp_ / "notes.xyz").string())}), 0);
  EXPECT_TRUE(window_.lastMessage().contains("Unknown file format opening track")) << window_.lastMessage().toStdString();
  EXPECT_TRUE(window_.document().empty());
  // A good file beside bad ones still opens.
  EXPECT_EQ(window_.openFiles({QString::fromStdString((temp_ / "missing.trk").string()), track()}), 1);
  EXPECT_EQ(window_.document().tracks.size(), 1u);
}

TEST_F(MainWindow, DroppedFilesOpenAndAreRemembered) {
  const fs::path photos = taggedPhotos(temp_);
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(track()), QUrl::fromLocalFile(QString::fromStdString(photos.string()))});
  EXPECT_EQ(window_.openDropped(data), 2);
  ASSERT_TRUE(test::waitFor([&] { return !window_.photoLoader()->isLoading(); }));
  EXPECT_EQ(window_.document().tracks.size(), 1u);
  EXPECT_EQ(window_.document().photos.groups.size(), 1u);
  const QStringList recent = window_.recentFiles();
  ASSERT_EQ(recent.size(), 2);
  EXPECT_EQ(recent[0], QString::fromStdString(photos.string()));  // newest first
  // Opening the same file again moves it to the front instead of listing it twice.
  window_.openFiles({track()});
  EXPECT_EQ(window_.recentFiles().size(), 2);
  EXPECT_EQ(window_.recentFiles()[0], track());
}

TEST_F(MainWindow, UncheckedObjectsLeaveTheMap) {
  ASSERT_EQ(window_.openFiles({track()}), 1);
  const QImage with = test::screenshot(window_.canvas(), "map-track");
  QTreeWidgetItem* item = leaf(window_.tree(), 0);
  ASSERT_NE(item, nullptr);
  item->setCheckState(0, Qt::Unchecked);
  const QImage without = window_.canvas()->grab().toImage();
  EXPECT_LT(test::drawnShare(without), test::drawnShare(with));
  item->setCheckState(0, Qt::Checked);
  EXPECT_EQ(window_.canvas()->grab().toImage(), with);
}

TEST_F(MainWindow, SaveWritesTheSelectedTrackInTheFormatOfItsName) {
  ASSERT_EQ(window_.openFiles({track()}), 1);
  EXPECT_FALSE(window_.saveSelected(QString::fromStdString((temp_ / "x.gpx").string()))) << "nothing selected";
  window_.tree()->setCurrentItem(leaf(window_.tree(), 0));
  const fs::path gpx = temp_ / "walk.gpx";
  ASSERT_TRUE(window_.saveSelected(QString::fromStdString(gpx.string()))) << window_.lastMessage().toStdString();
  TAForm_MultiGPS other;
  ASSERT_EQ(other.openFiles({QString::fromStdString(gpx.string())}), 1);
  ASSERT_EQ(other.document().tracks.size(), 1u);
  EXPECT_EQ(other.document().tracks[0].pointCount(), window_.document().tracks[0].pointCount());
}

TEST_F(MainWindow, TrackPanelSummarisesTheSelectedTrack) {
  ASSERT_EQ(window_.openFiles({track()}), 1);
  window_.tree()->setCurrentItem(leaf(window_.tree(), 0));
  const TVolGPS& t = window_.document().tracks[0];
  TrackPanel* panel = window_.trackPanel();
  EXPECT_EQ(panel->value("Name"), "retiro-walk.trk");
  EXPECT_EQ(panel->value("Points"), QString::number(t.pointCount()));
  EXPECT_EQ(panel->value("Segments"), "1");
  EXPECT_TRUE(panel->value("Start").startsWith("2024-05-14 ")) << panel->value("Start").toStdString();
  EXPECT_TRUE(panel->value("Length").endsWith("km") || panel->value("Length").endsWith(" m"));
  EXPECT_NE(panel->value("Altitude"), "-");
  // The profile covers the walk from its first to its last timed point.
  const auto& samples = panel->profile()->samples();
  ASSERT_GT(samples.size(), 10u);
  EXPECT_EQ(samples.front().timeS, 0.0);
  EXPECT_NEAR(samples.back().timeS, t.summary().durationS, 1.0);
  test::screenshot(panel, "track-panel");
  window_.tree()->clearSelection();
  window_.tree()->setCurrentItem(nullptr);
  EXPECT_EQ(panel->value("Points"), "-");
}

TEST_F(MainWindow, AFolderIsListedAtOnceAndFilledInByTheWorker) {
  const fs::path folder = temp_ / "many";
  fs::create_directories(folder);
  for (int copy = 0; copy < 30; ++copy) {
    test::copySamplePhotos(temp_ / "one");
    for (const auto& entry : fs::directory_iterator(temp_ / "one"))
      fs::rename(entry.path(), folder.string() + "/" + std::to_string(copy) + "-" + entry.path().filename().string());
  }
  test::writeFileBytes(folder / "broken.jpg", "not a photo");
  const QString path = QString::fromStdString(folder.string());
  ASSERT_EQ(window_.openFiles({path}), 1);
  // Every row is there before one photo is read (reading ends on this thread's event loop).
  PhotoListModel* model = window_.photoList()->model();
  const int rows = model->rowCount();
  EXPECT_EQ(rows, 30 * 6 + 1);
  EXPECT_TRUE(window_.photoLoader()->isLoading());
  EXPECT_EQ(model->data(model->index(rows - 1, PhotoListModel::kStatus), Qt::DisplayRole).toString(), "Reading");
  ASSERT_TRUE(test::waitFor([&] { return !window_.photoLoader()->isLoading(); }));
  // What the worker read is what reading the folder here gives.
  TCjtoFotos direct;
  std::string message;
  ASSERT_NE(direct.LoadFolder(folder, message), nullptr);
  const std::vector<TFoto*> read = window_.document().allPhotos();
  ASSERT_EQ(read.size(), direct.groups[0].photos.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    const TFoto& want = direct.groups[0].photos[i];
    EXPECT_EQ(read[i]->fileName, want.fileName);
    EXPECT_EQ(read[i]->hasTime, want.hasTime) << want.name();
    EXPECT_EQ(dateTimeText(read[i]->time), dateTimeText(want.time)) << want.name();
    EXPECT_EQ(read[i]->readable, want.readable) << want.name();
    EXPECT_EQ(model->data(model->index(static_cast<int>(i), PhotoListModel::kStatus), Qt::DisplayRole).toString(),
              PhotoListModel::statusText(want));
  }
  // The unreadable photo is reported once the folder is read, in the library's words.
  EXPECT_TRUE(window_.lastMessage().startsWith("broken.jpg: ")) << window_.lastMessage().toStdString();
  // A window closed while reading, and a reading finished on demand, leave nothing behind.
  { TAForm_MultiGPS other; other.openFiles({path}); }
  TAForm_MultiGPS waiting;
  waiting.openFiles({path});
  waiting.photoLoader()->finish();
  EXPECT_FALSE(waiting.photoLoader()->isLoading());
  EXPECT_EQ(waiting.document().allPhotos()[0]->hasTime, read[0]->hasTime);
}

TEST_F(MainWindow, PhotoListAtTheThreeThumbnailSizes) {
  const fs::path photos = taggedPhotos(temp_);
  ASSERT_EQ(window_.openFiles({QString::fromStdString(photos.string())}), 1);
  ASSERT_TRUE(test::waitFor([&] { return !window_.photoLoader()->isLoading(); }));
  QWidget* list = window_.photoList();
  int previousRowHeight = 0;
  for (const int percent : TFrame_Opciones_Fotos::kPercents) {
    window_.photoOptions()->setPercent(percent);
    EXPECT_EQ(window_.photoOptions()->percent(), percent);
    ASSERT_TRUE(test::waitFor([&] {
      list->grab();
      return window_.thumbnails()->pendingCount() == 0;
    }));
    const int rowHeight = window_.photoList()->view()->sizeHintForRow(0);
    EXPECT_GT(rowHeight, previousRowHeight) << percent;
    previousRowHeight = rowHeight;
    const QString name = QString("photo-list-%1").arg(percent);
    const QImage shot = test::screenshot(list, name);
    QString why;
    EXPECT_TRUE(test::looksLikeStored(shot, name, why)) << why.toStdString();
  }
}

}  // namespace
}  // namespace pixtrail::gui
