// The geotagging workflow as a photographer drives it: open the track and the photos, go through
// the wizard, finish, and find the same photos `pixtrail geotag` writes.

#include "gui/TForm_wizard_fotos.hpp"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QCheckBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QRadioButton>
#include <QProgressDialog>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>
#include <QTimer>

#include "gui/GeotagRunner.hpp"
#include "gui/MapCanvas.hpp"
#include "gui/PhotoFolderLoader.hpp"
#include "gui/TAForm_MultiGPS.hpp"
#include "gui_test_support.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::gui {
namespace {

namespace fs = std::filesystem;

// Every file of a folder by name, with its bytes.
std::map<std::string, std::string> folderBytes(const fs::path& folder) {
  std::map<std::string, std::string> out;
  if (!fs::exists(folder)) return out;
  for (const auto& entry : fs::directory_iterator(folder))
    if (entry.is_regular_file()) out[entry.path().filename().string()] = test::readFileBytes(entry.path());
  return out;
}

void expectLikeStored(const QImage& shot, const QString& name) {
  QString why;
  EXPECT_TRUE(test::looksLikeStored(shot, name, why)) << name.toStdString() << ": " << why.toStdString();
}

class Workflow : public testing::Test {
 protected:
  void SetUp() override {
    photos_ = temp_ / "photos";
    test::copySamplePhotos(photos_);
    before_ = folderBytes(photos_);
    window_.openFiles({QString::fromStdString((test::samplesDir() / "retiro-walk.trk").string()),
                       QString::fromStdString(photos_.string())});
    window_.show();
    ASSERT_EQ(window_.document().tracks.size(), 1u);
    ASSERT_EQ(window_.document().allPhotos().size(), 6u);
  }

  TForm_wizard_fotos* openWizard() {
    TForm_wizard_fotos* wizard = window_.startGeotagWizard();
    if (wizard == nullptr) return nullptr;
    wizard->show();
    wizard->findChild<QLineEdit*>("outDir")->setText(QString::fromStdString((temp_ / "out").string()));
    return wizard;
  }
  static void next(QWizard* wizard) { wizard->button(QWizard::NextButton)->click(); }

  test::TempDir temp_;
  fs::path photos_;
  std::map<std::string, std::string> before_;
  TAForm_MultiGPS window_;
};

TEST_F(Workflow, ManualOffsetWritesWhatTheCommandLineWrites) {
  TForm_wizard_fotos* wizard = openWizard();
  ASSERT_NE(wizard, nullptr);
  expectLikeStored(test::screenshot(wizard, "wizard-1-welcome"), "wizard-1-welcome");
  next(wizard);
  ASSERT_EQ(wizard->currentId(), TForm_wizard_fotos::kWhatPage);
  expectLikeStored(test::screenshot(wizard, "wizard-2-what"), "wizard-2-what");
  next(wizard);
  ASSERT_EQ(wizard->currentId(), TForm_wizard_fotos::kSyncPage);
  wizard->findChild<QRadioButton*>("manualOffset")->setChecked(true);
  expectLikeStored(test::screenshot(wizard, "wizard-3-sync"), "wizard-3-sync");
  EXPECT_TRUE(wizard->button(QWizard::NextButton)->isEnabled());
  EXPECT_FALSE(wizard->button(QWizard::FinishButton)->isEnabled());
  next(wizard);
  ASSERT_EQ(wizard->currentId(), TForm_wizard_fotos::kOffsetPage);
  // The sample camera ran an hour ahead of the track's clock.
  auto* offset = wizard->findChild<QLineEdit*>("offset");
  offset->selectAll();
  QTest::keyClicks(offset, "010000");
  wizard->findChild<QRadioButton*>("ahead")->setChecked(true);
  EXPECT_EQ(offset->text(), "01:00:00");
  double seconds = 0.0;
  ASSERT_TRUE(wizard->offsetSeconds(seconds));
  EXPECT_EQ(seconds, -3600.0);
  expectLikeStored(test::screenshot(wizard, "wizard-4-offset"), "wizard-4-offset");
  EXPECT_TRUE(folderBytes(temp_ / "out").empty()) << "nothing is written before Finish";

  wizard->button(QWizard::FinishButton)->click();
  ASSERT_TRUE(test::waitFor([&] { return !folderBytes(temp_ / "out").empty(); }));

  const test::CommandOutput cli = test::runPixtrail(
      "--config " + test::shellQuote((temp_ / "gps.ini").string()) + " geotag --track " + test::shellQuote((test::samplesDir() / "retiro-walk.trk").string()) +
      " --offset -01:00:00 --out " + test::shellQuote((temp_ / "cli").string()) + " " +
      test::shellQuote(photos_.string()));
  ASSERT_LE(cli.status, 1) << cli.err;
  const auto fromWindow = folderBytes(temp_ / "out");
  const auto fromCli = folderBytes(temp_ / "cli");
  ASSERT_FALSE(fromCli.empty());
  ASSERT_EQ(fromWindow.size(), fromCli.size());
  for (const auto& [name, bytes] : fromCli) {
    ASSERT_TRUE(fromWindow.count(name)) << name;
    EXPECT_TRUE(fromWindow.at(name) == bytes) << name << " differs from what the command line wrote";
  }
  EXPECT_EQ(folderBytes(photos_), before_) << "the originals are never touched when copies are asked for";
  // The document now shows the written photos where they were placed.
  EXPECT_EQ(window_.canvas()->photoMarkerCount(), static_cast<int>(fromCli.size()));
}

TEST_F(Workflow, InPlaceRewritesTheOriginalsAsTheCommandLineDoes) {
  const fs::path twin = temp_ / "twin";
  test::copySamplePhotos(twin);
  TForm_wizard_fotos* wizard = openWizard();
  ASSERT_NE(wizard, nullptr);
  next(wizard);
  wizard->findChild<QRadioButton*>("inPlace")->setChecked(true);
  next(wizard);
  wizard->findChild<QRadioButton*>("manualOffset")->setChecked(true);
  next(wizard);
  wizard->findChild<QLineEdit*>("offset")->setText("01:00:00");
  wizard->button(QWizard::FinishButton)->click();
  QCoreApplication::processEvents();
  const test::CommandOutput cli = test::runPixtrail(
      "--config " + test::shellQuote((temp_ / "gps.ini").string()) + " geotag --track " +
      test::shellQuote((test::samplesDir() / "retiro-walk.trk").string()) + " --offset -01:00:00 --in-place " +
      test::shellQuote(twin.string()));
  ASSERT_LE(cli.status, 1) << cli.err;
  const auto mine = folderBytes(photos_), theirs = folderBytes(twin);
  EXPECT_NE(mine, before_) << "the originals were rewritten";
  EXPECT_EQ(mine, theirs);
  EXPECT_FALSE(fs::exists(temp_ / "out"));
}

TEST_F(Workflow, MarkingTheTrackAloneWritesNoPhoto) {
  TForm_wizard_fotos* wizard = openWizard();
  ASSERT_NE(wizard, nullptr);
  const std::size_t points = window_.document().tracks[0].pointCount();
  next(wizard);
  wizard->findChild<QCheckBox*>("track")->setChecked(true);
  wizard->findChild<QCheckBox*>("foto")->setChecked(false);
  next(wizard);
  wizard->findChild<QRadioButton*>("manualOffset")->setChecked(true);
  next(wizard);
  wizard->findChild<QLineEdit*>("offset")->setText("01:00:00");
  wizard->button(QWizard::FinishButton)->click();
  QCoreApplication::processEvents();
  // Four of the six sample photos fall inside the walk; each becomes a mark beside the track,
  // whose own points stay as they were.
  EXPECT_EQ(window_.document().tracks[0].pointCount(), points);
  EXPECT_EQ(window_.document().tracks[0].marks.size(), 4u);
  EXPECT_FALSE(fs::exists(temp_ / "out"));
  EXPECT_EQ(folderBytes(photos_), before_);
  EXPECT_EQ(window_.canvas()->photoMarkerCount(), 0) << "the photos were not given positions";
  // The marks live in memory until the track is saved.
  EXPECT_EQ(window_.unsavedCount(), 1);
  window_.tree()->setCurrentItem(window_.tree()->topLevelItem(0)->child(0));
  ASSERT_TRUE(window_.saveSelected(QString::fromStdString((temp_ / "marked.trk").string())));
  EXPECT_EQ(window_.unsavedCount(), 0);
}

TEST_F(Workflow, CancelOnAnyPageWritesNothing) {
  for (int page = TForm_wizard_fotos::kWelcomePage; page <= TForm_wizard_fotos::kOffsetPage; ++page) {
    TForm_wizard_fotos* wizard = openWizard();
    ASSERT_NE(wizard, nullptr);
    wizard->findChild<QRadioButton*>("manualOffset")->setChecked(true);
    for (int i = 0; i < page; ++i) next(wizard);
    ASSERT_EQ(wizard->currentId(), page);
    wizard->button(QWizard::CancelButton)->click();
    QCoreApplication::processEvents();
    EXPECT_FALSE(fs::exists(temp_ / "out")) << "page " << page;
    EXPECT_EQ(folderBytes(photos_), before_) << "page " << page;
    EXPECT_EQ(window_.canvas()->photoMarkerCount(), 0) << "page " << page;
  }
}

TEST_F(Workflow, NeitherBoxCheckedKeepsThePageAndSaysWhy) {
  TForm_wizard_fotos* wizard = openWizard();
  ASSERT_NE(wizard, nullptr);
  next(wizard);
  auto* track = wizard->findChild<QCheckBox*>("track");
  auto* foto = wizard->findChild<QCheckBox*>("foto");
  EXPECT_EQ(track->text(), "!Modicar track amb waypoints fotos");
  EXPECT_EQ(foto->text(), "Afegir Coordenades a les fotos");
  track->setChecked(false);
  foto->setChecked(false);
  next(wizard);
  EXPECT_EQ(wizard->currentId(), TForm_wizard_fotos::kWhatPage);
  ASSERT_NE(wizard->warning(), nullptr);
  EXPECT_TRUE(wizard->warning()->isVisible());
  EXPECT_FALSE(wizard->warning()->text().isEmpty());
  wizard->warning()->accept();
  // Either box alone is enough to go on.
  track->setChecked(true);
  next(wizard);
  EXPECT_EQ(wizard->currentId(), TForm_wizard_fotos::kSyncPage);
  wizard->reject();
}

TEST_F(Workflow, TypedOffsetMovesThePreviewAndWritesNothing) {
  TForm_wizard_fotos* wizard = openWizard();
  ASSERT_NE(wizard, nullptr);
  wizard->findChild<QRadioButton*>("manualOffset")->setChecked(true);
  next(wizard);
  next(wizard);
  next(wizard);
  auto* offset = wizard->findChild<QLineEdit*>("offset");
  std::vector<std::vector<PreviewMarker>> previews;
  for (const char* typed : {"01:00:00", "01:05:00"}) {
    offset->setText(typed);
    QCoreApplication::processEvents();
    previews.push_back(window_.canvas()->preview());
    const QImage shot = test::screenshot(window_.canvas(), QString("preview-%1").arg(QString(typed).remove(':')));
    EXPECT_GT(test::drawnShare(shot), 0.05);
  }
  ASSERT_FALSE(previews[0].empty());
  ASSERT_EQ(previews[0].size(), previews[1].size());
  // Five more minutes move a walking photographer's photos along the track.
  bool moved = false;
  for (std::size_t i = 0; i < previews[0].size(); ++i) {
    EXPECT_EQ(previews[0][i].photo, previews[1][i].photo);
    moved = moved || previews[0][i].lat != previews[1][i].lat || previews[0][i].lon != previews[1][i].lon;
  }
  EXPECT_TRUE(moved);
  // Twelve hours off lands every photo outside the walk: the preview empties instead of inventing places.
  offset->setText("12:00:00");
  QCoreApplication::processEvents();
  EXPECT_TRUE(window_.canvas()->preview().empty());
  EXPECT_TRUE(folderBytes(temp_ / "out").empty());
  wizard->reject();
  QCoreApplication::processEvents();
  EXPECT_TRUE(window_.canvas()->preview().empty()) << "closing the wizard clears the preview";
  EXPECT_EQ(window_.canvas()->photoMarkerCount(), 0);
}

}  // namespace
}  // namespace pixtrail::gui

namespace pixtrail::gui {
namespace {

TEST(GeotagRun, CancelStopsBetweenBatchesAndLeavesOnlyWholePhotos) {
  test::TempDir temp;
  const std::filesystem::path photos = temp / "many";
  std::filesystem::create_directories(photos);
  for (int copy = 0; copy < 100; ++copy)
    for (const char* name : {"fountain", "palace", "pond", "rose-garden"})
      std::filesystem::copy_file(test::samplesDir() / (std::string(name) + ".jpg"),
                                 photos / (std::string(name) + "-" + std::to_string(copy) + ".jpg"));
  TAForm_MultiGPS window;
  window.openFiles({QString::fromStdString((test::samplesDir() / "retiro-walk.trk").string()),
                    QString::fromStdString(photos.string())});
  window.photoLoader()->finish();
  GeotagOptions options;
  options.offsetSeconds = -3600.0;
  options.outDir = temp / "out";
  // The run is about cancelling; the clock check of a batch is not what is tested here.
  options.force = true;
  // Press Cancel once the first photos are done.
  QTimer watcher;
  QObject::connect(&watcher, &QTimer::timeout, [&window, &watcher] {
    auto* progress = window.findChild<QProgressDialog*>("geotagProgress");
    if (progress == nullptr || progress->value() <= 0) return;
    watcher.stop();
    if (QPushButton* cancel = progress->findChild<QPushButton*>()) cancel->click();
  });
  watcher.start(2);
  std::vector<GeotagPhotoResult> results;
  std::string message;
  EXPECT_FALSE(runGeotagJob(&window, window.document(), options, results, message));
  EXPECT_NE(message.find("Cancelled"), std::string::npos) << message;
  EXPECT_GT(results.size(), 0u);
  EXPECT_LT(results.size(), 400u);
  ASSERT_TRUE(std::filesystem::exists(temp / "out"));
  std::size_t written = 0;
  for (const auto& entry : std::filesystem::directory_iterator(temp / "out")) {
    ++written;
    TFoto back;
    std::string why;
    EXPECT_TRUE(back.load(entry.path(), why)) << entry.path() << ": " << why;
    EXPECT_TRUE(back.hasPosition) << entry.path();
    EXPECT_EQ(entry.path().extension(), ".jpg") << "no temporary file is left behind";
  }
  EXPECT_EQ(written, results.size());
}

}  // namespace
}  // namespace pixtrail::gui
