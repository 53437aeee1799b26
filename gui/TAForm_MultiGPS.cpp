#include "gui/TAForm_MultiGPS.hpp"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QSplitter>
#include <QStatusBar>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/Configuration.hpp"
#include "app/GeotagJob.hpp"
#include "app/track_settings.hpp"
#include "coords/TListaDatums.hpp"
#include "coords/TListaProyecciones.hpp"
#include "coords/coordinate_text.hpp"
#include "gui/DatumListDialog.hpp"
#include "gui/GeotagRunner.hpp"
#include "gui/MapCanvas.hpp"
#include "gui/PhotoFolderLoader.hpp"
#include "gui/PhotoPropertiesDialog.hpp"
#include "gui/ReceiverPanel.hpp"
#include "gui/SettingsDialog.hpp"
#include "gui/TForm_wizard_fotos.hpp"
#include "gui/TFrame_Lista_Fotos.hpp"
#include "gui/TFrame_Opciones_Fotos.hpp"
#include "gui/ThumbnailCache.hpp"
#include "gui/TileLayer.hpp"
#include "gui/TrackPanel.hpp"
#include "gui/gui_text.hpp"

namespace pixtrail::gui {

namespace {

enum class ItemKind { Group = 0, Track, Waypoints, Routes, Photos };
constexpr int kPointerRole = Qt::UserRole;
constexpr int kKindRole = Qt::UserRole + 1;
constexpr char kRecentSeparator = '|';

const void* pointerOf(const QTreeWidgetItem* item) {
  return reinterpret_cast<const void*>(item->data(0, kPointerRole).value<quintptr>());
}
ItemKind kindOf(const QTreeWidgetItem* item) { return static_cast<ItemKind>(item->data(0, kKindRole).toInt()); }

QString fileLabel(const std::string& fileName, const QString& fallback) {
  if (fileName.empty()) return fallback;
  return QFileInfo(QString::fromStdString(fileName)).fileName();
}

}  // namespace

TAForm_MultiGPS::TAForm_MultiGPS(QWidget* parent) : QMainWindow(parent) {
  setObjectName("TAForm_MultiGPS");
  setWindowTitle("Pixtrail");
  setAcceptDrops(true);
  thumbnails_ = new ThumbnailCache(ThumbnailCache::kDefaultLimitBytes, this);
  loader_ = new PhotoFolderLoader(this);
  document_.readPhotosLater = true;
  tiles_ = new TileLayer(this);
  canvas_ = new MapCanvas(this);
  canvas_->setDocument(&document_);
  canvas_->setThumbnails(thumbnails_);
  canvas_->setTileLayer(tiles_);
  setCentralWidget(canvas_);
  buildDocks();
  buildMenus();

  datumLabel_ = new QLabel(this);
  formatLabel_ = new QLabel(this);
  positionLabel_ = new QLabel(this);
  gridLabel_ = new QLabel(this);
  positionLabel_->setMinimumWidth(260);
  statusBar()->addWidget(positionLabel_);
  statusBar()->addWidget(gridLabel_);
  statusBar()->addPermanentWidget(formatLabel_);
  statusBar()->addPermanentWidget(datumLabel_);

  connect(canvas_, &MapCanvas::cursorMoved, this, &TAForm_MultiGPS::showCursor);
  connect(canvas_, &MapCanvas::cursorLeft, this, [this] {
    positionLabel_->clear();
    gridLabel_->clear();
  });
  connect(canvas_, &MapCanvas::photoClicked, this, &TAForm_MultiGPS::selectPhoto);
  connect(loader_, &PhotoFolderLoader::photosRead, this, [this](bool anyPositioned) {
    photoList_->model()->refresh();
    if (anyPositioned) canvas_->rebuild();
  });
  connect(loader_, &PhotoFolderLoader::finished, this, [this](const QString& messages) {
    if (!messages.isEmpty()) showMessage(tr("Open"), messages);
  });
  applySettings();
  resize(1280, 800);
}

// The reader and the views that point into the document go before it.
TAForm_MultiGPS::~TAForm_MultiGPS() {
  loader_->cancel();
  photoList_->setPhotos({});
  canvas_->setDocument(nullptr);
}

void TAForm_MultiGPS::buildDocks() {
  tree_ = new QTreeWidget(this);
  tree_->setObjectName("documentTree");
  tree_->setHeaderHidden(true);
  tree_->setSelectionMode(QAbstractItemView::SingleSelection);
  auto* treeDock = new QDockWidget(tr("Document"), this);
  treeDock->setObjectName("documentDock");
  treeDock->setWidget(tree_);
  addDockWidget(Qt::LeftDockWidgetArea, treeDock);
  connect(tree_, &QTreeWidget::itemChanged, this, &TAForm_MultiGPS::treeItemChanged);
  connect(tree_, &QTreeWidget::itemSelectionChanged, this, &TAForm_MultiGPS::treeSelectionChanged);

  trackPanel_ = new TrackPanel(this);
  auto* trackDock = new QDockWidget(tr("Track"), this);
  trackDock->setObjectName("trackDock");
  trackDock->setWidget(trackPanel_);
  addDockWidget(Qt::BottomDockWidgetArea, trackDock);

  receiverPanel_ = new ReceiverPanel(this);
  auto* receiverDock = new QDockWidget(tr("Receiver"), this);
  receiverDock->setObjectName("receiverDock");
  receiverDock->setWidget(receiverPanel_);
  addDockWidget(Qt::BottomDockWidgetArea, receiverDock);
  tabifyDockWidget(trackDock, receiverDock);
  trackDock->raise();

  auto* photoBox = new QWidget(this);
  auto* photoLayout = new QVBoxLayout(photoBox);
  photoLayout->setContentsMargins(0, 0, 0, 0);
  photoOptions_ = new TFrame_Opciones_Fotos(photoBox);
  photoList_ = new TFrame_Lista_Fotos(thumbnails_, photoBox);
  photoList_->setLoader(loader_);
  photoLayout->addWidget(photoOptions_);
  photoLayout->addWidget(photoList_, 1);
  auto* photoDock = new QDockWidget(tr("Photos"), this);
  photoDock->setObjectName("photoDock");
  photoDock->setWidget(photoBox);
  addDockWidget(Qt::RightDockWidgetArea, photoDock);
  connect(photoOptions_, &TFrame_Opciones_Fotos::sizeChanged, photoList_, &TFrame_Lista_Fotos::setThumbnailPercent);
  connect(photoList_, &TFrame_Lista_Fotos::photoSelected, this, [this](const TFoto* photo) {
    canvas_->setSelectedPhoto(photo);
  });
  connect(photoList_, &TFrame_Lista_Fotos::photoActivated, this, &TAForm_MultiGPS::showPhotoProperties);
  resizeDocks({treeDock, photoDock}, {230, 460}, Qt::Horizontal);
  resizeDocks({trackDock}, {190}, Qt::Vertical);
}

void TAForm_MultiGPS::buildMenus() {
  QMenu* file = menuBar()->addMenu(tr("&File"));
  file->addAction(tr("&Open..."), QKeySequence::Open, this, &TAForm_MultiGPS::openDialog);
  file->addAction(tr("Open photo &folder..."), this, &TAForm_MultiGPS::openFolderDialog);
  recentMenu_ = file->addMenu(tr("Open &recent"));
  file->addSeparator();
  file->addAction(tr("&Save"), QKeySequence::Save, this, [this] { saveSelected({}); });
  file->addAction(tr("Save &as..."), QKeySequence::SaveAs, this, &TAForm_MultiGPS::saveAsDialog);
  file->addSeparator();
  file->addAction(tr("&Close all"), this, [this] {
    loader_->cancel();
    unsaved_.clear();
    document_.clear();
    documentChanged();
  });
  file->addAction(tr("&Quit"), QKeySequence::Quit, this, &QWidget::close);

  QMenu* view = menuBar()->addMenu(tr("&View"));
  view->addAction(tr("&Fit to document"), QKeySequence(Qt::Key_F), canvas_, &MapCanvas::fitToDocument);
  tilesAction_ = view->addAction(tr("Map &tiles"));
  tilesAction_->setCheckable(true);
  connect(tilesAction_, &QAction::toggled, this, [this](bool on) {
    configuration().mapTiles.set(on);
    tiles_->setEnabled(on);
    canvas_->update();
  });

  projectionMenu_ = view->addMenu(tr("&Projection"));
  auto* projections = new QActionGroup(projectionMenu_);
  for (const auto& [label, value] : projectionChoices()) {
    QAction* action = projectionMenu_->addAction(label);
    action->setCheckable(true);
    action->setData(value);
    projections->addAction(action);
    connect(action, &QAction::triggered, this, [this, value] {
      configuration().displayProjection.set(value.toLatin1().toStdString());
      applySettings();
    });
  }

  QMenu* photos = menuBar()->addMenu(tr("&Photos"));
  photos->addAction(tr("&Geotag photos..."), QKeySequence(Qt::CTRL | Qt::Key_G), this, &TAForm_MultiGPS::runWizard);
  photos->addAction(tr("Photo &properties..."), this, &TAForm_MultiGPS::showPhotoProperties);

  QMenu* tools = menuBar()->addMenu(tr("&Tools"));
  tools->addAction(tr("&Datums..."), this, &TAForm_MultiGPS::showDatums);
  tools->addAction(tr("&Settings..."), this, &TAForm_MultiGPS::showSettings);
  updateRecentMenu();
}

void TAForm_MultiGPS::applySettings() {
  Configuration& config = configuration();
  tiles_->setUrlTemplate(QString::fromLatin1(config.tileUrl.get().c_str()));
  tiles_->setAttribution(QString::fromLatin1(config.tileAttribution.get().c_str()));
  tiles_->setEnabled(config.mapTiles);
  if (tilesAction_) {
    const QSignalBlocker block(tilesAction_);
    tilesAction_->setChecked(config.mapTiles);
  }
  projection_.reset();
  if (!config.displayProjection.get().empty()) {
    std::string ignored;
    projection_ = TListaProyecciones().create(config.displayProjection.get(), ignored);
  }
  canvas_->setProjection(projection_.get());
  if (projectionMenu_)
    for (QAction* action : projectionMenu_->actions())
      action->setChecked(action->data().toString().toLatin1().toStdString() == config.displayProjection.get());
  updateStatusFixed();
}

void TAForm_MultiGPS::updateStatusFixed() {
  datumLabel_->setText(tr("Datum: %1").arg(QString::fromLatin1(datumTable().datum(kWorkingDatum).name.c_str())));
  formatLabel_->setText(angleFormatName(configuration().angleFormat));
}

void TAForm_MultiGPS::showCursor(double lat, double lon) {
  TCoord working{lon, lat, kUnknownAltitude};
  std::string message;
  datumTable().Transforma_Grados_Datum(working, kDatumWgs84, kWorkingDatum, message);
  positionLabel_->setText(positionText(working.lat, working.lon, configuration().angleFormat));
  gridLabel_->setText(projection_ ? projectedText(*projection_, working) : QString());
}

QString TAForm_MultiGPS::statusText() const {
  return QStringList{positionLabel_->text(), gridLabel_->text(), formatLabel_->text(), datumLabel_->text()}.join(
      "  |  ");
}

int TAForm_MultiGPS::openFiles(const QStringList& files) {
  std::string message;
  TrackFileSettings settings = commandSettingsFromConfiguration(message).trackFiles;
  int opened = 0;
  const std::size_t groupsBefore = document_.photos.groups.size();
  QApplication::setOverrideCursor(Qt::WaitCursor);
  for (const QString& file : files) {
    OpenResult added;
    std::string fileMessage;
    if (document_.open(file.toStdString(), settings, added, fileMessage) && added.total() > 0) {
      ++opened;
      addRecentFile(QFileInfo(file).absoluteFilePath());
    }
    if (!fileMessage.empty()) appendMessage(message, fileMessage);
  }
  QApplication::restoreOverrideCursor();
  for (std::size_t i = groupsBefore; i < document_.photos.groups.size(); ++i)
    loader_->start(document_.photos.groups[i], document_.photos.gpsQuirks);
  if (opened > 0) {
    documentChanged();
    canvas_->fitToDocument();
  }
  if (!message.empty()) showMessage(tr("Open"), QString::fromLatin1(message.c_str()));
  return opened;
}

bool TAForm_MultiGPS::saveSelected(const QString& file) {
  const QList<QTreeWidgetItem*> selected = tree_->selectedItems();
  const QTreeWidgetItem* item = selected.isEmpty() ? nullptr : selected.front();
  if (item == nullptr || kindOf(item) == ItemKind::Group || kindOf(item) == ItemKind::Photos) {
    showMessage(tr("Save"), tr("Select a track, waypoint file or route file to save."));
    return false;
  }
  std::string message;
  const TrackFileSettings settings = commandSettingsFromConfiguration(message).trackFiles;
  message.clear();
  const void* object = pointerOf(item);
  bool ok = false;
  auto target = [&file](const std::string& own) { return file.isEmpty() ? own : file.toStdString(); };
  for (std::size_t i = 0; i < document_.tracks.size(); ++i)
    if (&document_.tracks[i] == object)
      ok = document_.saveTrack(i, target(document_.tracks[i].fileName), settings, message);
  for (std::size_t i = 0; i < document_.waypointFiles.size(); ++i)
    if (&document_.waypointFiles[i] == object)
      ok = document_.saveWaypoints(i, target(document_.waypointFiles[i].fileName), settings, message);
  for (std::size_t i = 0; i < document_.routeFiles.size(); ++i)
    if (&document_.routeFiles[i] == object)
      ok = document_.saveRoutes(i, target(document_.routeFiles[i].fileName), settings, message);
  if (!ok) showMessage(tr("Save"), QString::fromLatin1(message.c_str()));
  else {
    unsaved_.remove(object);
    statusBar()->showMessage(tr("Saved"), 3000);
    rebuildTree();
  }
  return ok;
}

void TAForm_MultiGPS::documentChanged() {
  canvas_->rebuild();
  rebuildTree();
  photoList_->setPhotos(document_.allPhotos());
  updateStatusFixed();
}

void TAForm_MultiGPS::rebuildTree() {
  fillingTree_ = true;
  tree_->clear();
  auto group = [this](const QString& name) {
    auto* item = new QTreeWidgetItem(tree_, {name});
    item->setData(0, kKindRole, static_cast<int>(ItemKind::Group));
    item->setFlags(Qt::ItemIsEnabled);
    item->setExpanded(true);
    return item;
  };
  auto leaf = [this](QTreeWidgetItem* parent, const QString& name, const void* object, ItemKind kind,
                     const QString& tip) {
    auto* item = new QTreeWidgetItem(parent, {name});
    item->setData(0, kPointerRole, QVariant::fromValue(reinterpret_cast<quintptr>(object)));
    item->setData(0, kKindRole, static_cast<int>(kind));
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    item->setCheckState(0, hidden_.contains(object) ? Qt::Unchecked : Qt::Checked);
    item->setToolTip(0, tip);
  };
  if (!document_.tracks.empty()) {
    QTreeWidgetItem* g = group(tr("Tracks"));
    for (const TVolGPS& t : document_.tracks)
      leaf(g, fileLabel(t.fileName, tr("Track")) + tr(" (%1 points)").arg(t.pointCount()), &t, ItemKind::Track,
           QString::fromStdString(t.fileName));
  }
  if (!document_.waypointFiles.empty()) {
    QTreeWidgetItem* g = group(tr("Waypoints"));
    for (const TBalizas& w : document_.waypointFiles)
      leaf(g, fileLabel(w.fileName, tr("Waypoints")) + tr(" (%1)").arg(w.waypoints.size()), &w, ItemKind::Waypoints,
           QString::fromStdString(w.fileName));
  }
  if (!document_.routeFiles.empty()) {
    QTreeWidgetItem* g = group(tr("Routes"));
    for (const TRutas& r : document_.routeFiles)
      leaf(g, fileLabel(r.fileName, tr("Routes")) + tr(" (%1)").arg(r.routes.size()), &r, ItemKind::Routes,
           QString::fromStdString(r.fileName));
  }
  if (!document_.photos.groups.empty()) {
    QTreeWidgetItem* g = group(QString::fromLatin1(TCjtoFotos::kDisplayName.data(),
                                                   static_cast<qsizetype>(TCjtoFotos::kDisplayName.size())));
    for (const TFotos& f : document_.photos.groups)
      leaf(g, QFileInfo(QString::fromStdString(f.folder.string())).fileName() + tr(" (%1)").arg(f.photos.size()), &f,
           ItemKind::Photos, QString::fromStdString(f.folder.string()));
  }
  tree_->expandAll();
  fillingTree_ = false;
}

void TAForm_MultiGPS::treeItemChanged(QTreeWidgetItem* item, int) {
  if (fillingTree_ || kindOf(item) == ItemKind::Group) return;
  const void* object = pointerOf(item);
  if (item->checkState(0) == Qt::Checked) hidden_.remove(object);
  else hidden_.insert(object);
  canvas_->setHidden(hidden_);
}

void TAForm_MultiGPS::treeSelectionChanged() {
  const QList<QTreeWidgetItem*> selected = tree_->selectedItems();
  const QTreeWidgetItem* item = selected.isEmpty() ? nullptr : selected.front();
  const TVolGPS* track = nullptr;
  if (item && kindOf(item) == ItemKind::Track) track = static_cast<const TVolGPS*>(pointerOf(item));
  trackPanel_->setTrack(track);
  canvas_->setSelectedTrack(track);
}

void TAForm_MultiGPS::selectPhoto(const TFoto* photo) {
  canvas_->setSelectedPhoto(photo);
  photoList_->selectPhoto(photo);
}

void TAForm_MultiGPS::showMessage(const QString& title, const QString& text) {
  lastMessage_ = text;
  statusBar()->showMessage(text.section('\n', 0, 0), 8000);
  // Window-modal and not waiting: the window stays usable (and scriptable) while it is shown.
  auto* box = new QMessageBox(QMessageBox::Information, title, text, QMessageBox::Ok, this);
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setObjectName("messageBox");
  box->open();
}

QStringList TAForm_MultiGPS::recentFiles() const {
  return QString::fromStdString(configuration().recentFiles.get()).split(kRecentSeparator, Qt::SkipEmptyParts);
}

void TAForm_MultiGPS::addRecentFile(const QString& file) {
  QStringList recent = recentFiles();
  recent.removeAll(file);
  recent.prepend(file);
  while (recent.size() > kMaxRecentFiles) recent.removeLast();
  configuration().recentFiles.set(recent.join(kRecentSeparator).toStdString());
  updateRecentMenu();
}

void TAForm_MultiGPS::updateRecentMenu() {
  recentMenu_->clear();
  const QStringList recent = recentFiles();
  for (const QString& file : recent)
    recentMenu_->addAction(QFileInfo(file).fileName(), this, [this, file] { openFiles({file}); })->setToolTip(file);
  recentMenu_->setEnabled(!recent.isEmpty());
}

void TAForm_MultiGPS::openDialog() {
  const QStringList files = QFileDialog::getOpenFileNames(
      this, tr("Open"), {},
      tr("Tracks, waypoints and routes (*.trk *.ple *.wpt *.rte *.gpx *.plt *.igc *.nmea *.log *.txt *.csv *.hrm "
         "*.kml *.zip);;All files (*)"));
  if (!files.isEmpty()) openFiles(files);
}

void TAForm_MultiGPS::openFolderDialog() {
  const QString folder = QFileDialog::getExistingDirectory(this, tr("Open photo folder"));
  if (!folder.isEmpty()) openFiles({folder});
}

void TAForm_MultiGPS::saveAsDialog() {
  const QString file = QFileDialog::getSaveFileName(this, tr("Save as"));
  if (!file.isEmpty()) saveSelected(file);
}

void TAForm_MultiGPS::showSettings() {
  SettingsDialog dialog(this);
  if (dialog.exec() != QDialog::Accepted) return;
  loader_->finish();  // photos read later would land in the old working datum
  std::string message;
  const TrackFileSettings settings = commandSettingsFromConfiguration(message).trackFiles;
  if (dialog.workingDatum() != datumTable().workingDatum()) {
    document_.changeWorkingDatum(dialog.workingDatum(), settings.track);
    configuration().workingDatum.set(datumTable().workingDatum());
  }
  dialog.store();
  applySettings();
  documentChanged();
}

void TAForm_MultiGPS::showDatums() {
  loader_->finish();  // the worker reads the datum table
  DatumListDialog dialog(this);
  dialog.exec();
  updateStatusFixed();
}

void TAForm_MultiGPS::showPhotoProperties() {
  const TFoto* photo = canvas_->selectedPhoto();
  if (photo == nullptr) return;
  auto* dialog = new PhotoPropertiesDialog(*photo, this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->show();
}

TForm_wizard_fotos* TAForm_MultiGPS::startGeotagWizard() {
  if (document_.photos.groups.empty() || document_.tracks.empty()) {
    showMessage(tr("Geotag photos"), tr("Open a track and a folder of photos first."));
    return nullptr;
  }
  loader_->finish();  // every capture time is needed
  auto* wizard = new TForm_wizard_fotos(document_.photos.groups[0].folder, this);
  wizard->setAttribute(Qt::WA_DeleteOnClose);
  connect(wizard, &TForm_wizard_fotos::offsetPreview, this, &TAForm_MultiGPS::previewOffset);
  connect(wizard, &QDialog::finished, this, [this, wizard](int result) {
    canvas_->setPreview({});
    if (result != QDialog::Accepted) return;
    std::vector<GeotagPhotoResult> results;
    std::string message;
    const GeotagOptions options = wizard->jobOptions();
    const bool ok = runGeotagJob(this, document_, options, results, message);
    if (!options.dryRun) applyGeotagResults(document_, results);
    documentChanged();
    const GeotagSummary s = summarise(results);
    QString text = tr("%1 photos placed, %2 without time, %3 not covered by the track, %4 failed.")
                       .arg(s.tagged).arg(s.noTime).arg(s.notCovered).arg(s.failed);
    if (!options.markTrackFile.empty() && s.tagged > 0) {
      text += "\n" + tr("The track now holds a point for each photo placed; File > Save keeps it.");
      for (const TVolGPS& t : document_.tracks) unsaved_.insert(&t);
    }
    if (!message.empty()) text += "\n" + QString::fromLatin1(message.c_str());
    for (const GeotagPhotoResult& r : results)
      if (r.status == GeotagStatus::Error)
        text += "\n" + QString::fromStdString(r.file.filename().string()) + ": " +
                QString::fromLatin1(r.message.c_str());
    showMessage(ok ? tr("Geotag photos") : tr("Geotag photos: stopped"), text);
  });
  return wizard;
}

void TAForm_MultiGPS::runWizard() {
  if (TForm_wizard_fotos* wizard = startGeotagWizard()) wizard->open();
}

void TAForm_MultiGPS::previewOffset(double offsetSeconds) {
  std::vector<PreviewMarker> markers;
  for (const PlannedPlace& place : planPlaces(document_, offsetSeconds))
    markers.push_back({place.photo, place.lat, place.lon});
  canvas_->setPreview(std::move(markers));
}

void TAForm_MultiGPS::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void TAForm_MultiGPS::dropEvent(QDropEvent* event) {
  if (openDropped(*event->mimeData()) > 0) event->acceptProposedAction();
}

int TAForm_MultiGPS::openDropped(const QMimeData& data) {
  QStringList files;
  for (const QUrl& url : data.urls())
    if (url.isLocalFile()) files << url.toLocalFile();
  return files.isEmpty() ? 0 : openFiles(files);
}

void TAForm_MultiGPS::closeEvent(QCloseEvent* event) {
  if (!unsaved_.isEmpty() &&
      QMessageBox::question(this, tr("Quit"),
                            tr("%n marked track(s) not saved. Quit anyway and lose the marks?", nullptr,
                               static_cast<int>(unsaved_.size())),
                            QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Cancel) != QMessageBox::Discard) {
    event->ignore();
    return;
  }
  loader_->cancel();
  thumbnails_->waitForIdle();
  event->accept();
}

}  // namespace pixtrail::gui
