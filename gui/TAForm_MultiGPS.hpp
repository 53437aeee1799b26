#pragma once
// The main window: the document as a tree with check boxes for what the map shows, the map, the
// track panel, the photo list, and the status bar with the working datum, the coordinate format
// and the cursor's position in that format and in the chosen projection.

#include <QMainWindow>
#include <QSet>
#include <QStringList>
#include <memory>

#include "gui/Document.hpp"

class QLabel;
class QMenu;
class QTreeWidget;
class QTreeWidgetItem;
class QAction;
class QMimeData;

namespace pixtrail {
class TProyeccion;
}

namespace pixtrail::gui {

class MapCanvas;
class PhotoFolderLoader;
class ThumbnailCache;
class TileLayer;
class TrackPanel;
class ReceiverPanel;
class TFrame_Lista_Fotos;
class TFrame_Opciones_Fotos;
class TForm_wizard_fotos;

class TAForm_MultiGPS : public QMainWindow {
  Q_OBJECT
 public:
  static constexpr int kMaxRecentFiles = 8;

  explicit TAForm_MultiGPS(QWidget* parent = nullptr);
  ~TAForm_MultiGPS() override;

  // Opens files and folders through the open dispatch; messages are shown to the user. Returns
  // the number of files and folders that added something.
  int openFiles(const QStringList& files);
  // The local files of a drop (or a paste), opened as above.
  int openDropped(const QMimeData& data);
  // Saves the selected tracks, waypoint or route file under `file` (empty: its own name).
  bool saveSelected(const QString& file);

  Document& document() { return document_; }
  MapCanvas* canvas() const { return canvas_; }
  QTreeWidget* tree() const { return tree_; }
  TrackPanel* trackPanel() const { return trackPanel_; }
  ReceiverPanel* receiverPanel() const { return receiverPanel_; }
  TFrame_Lista_Fotos* photoList() const { return photoList_; }
  TFrame_Opciones_Fotos* photoOptions() const { return photoOptions_; }
  TileLayer* tiles() const { return tiles_; }
  ThumbnailCache* thumbnails() const { return thumbnails_; }
  PhotoFolderLoader* photoLoader() const { return loader_; }
  // The last messages shown to the user (also shown in a message box).
  const QString& lastMessage() const { return lastMessage_; }
  QString statusText() const;  // datum, format and position, as the status bar shows them
  QStringList recentFiles() const;
  // Tracks changed in memory (marked with photos) and not saved since.
  int unsavedCount() const { return static_cast<int>(unsaved_.size()); }

  // The wizard, created for the current document; null when there is nothing to geotag.
  TForm_wizard_fotos* startGeotagWizard();
  // The document changed behind the window's back (after a geotag run, a datum change).
  void documentChanged();
  // Re-reads the settings the window shows (format, projection, tiles).
  void applySettings();

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void buildMenus();
  void buildDocks();
  void rebuildTree();
  void treeItemChanged(QTreeWidgetItem* item, int column);
  void treeSelectionChanged();
  void showCursor(double lat, double lon);
  void updateStatusFixed();
  void showMessage(const QString& title, const QString& text);
  void addRecentFile(const QString& file);
  void updateRecentMenu();
  void openDialog();
  void openFolderDialog();
  void saveAsDialog();
  void showSettings();
  void showDatums();
  void showPhotoProperties();
  void runWizard();
  void selectPhoto(const TFoto* photo);
  void previewOffset(double offsetSeconds);

  Document document_;
  MapCanvas* canvas_ = nullptr;
  QTreeWidget* tree_ = nullptr;
  TrackPanel* trackPanel_ = nullptr;
  ReceiverPanel* receiverPanel_ = nullptr;
  TFrame_Lista_Fotos* photoList_ = nullptr;
  TFrame_Opciones_Fotos* photoOptions_ = nullptr;
  TileLayer* tiles_ = nullptr;
  ThumbnailCache* thumbnails_ = nullptr;
  PhotoFolderLoader* loader_ = nullptr;
  QLabel* datumLabel_ = nullptr;
  QLabel* formatLabel_ = nullptr;
  QLabel* positionLabel_ = nullptr;
  QLabel* gridLabel_ = nullptr;
  QMenu* recentMenu_ = nullptr;
  QMenu* projectionMenu_ = nullptr;
  QAction* tilesAction_ = nullptr;
  std::unique_ptr<TProyeccion> projection_;
  QSet<const void*> hidden_;
  QSet<const void*> unsaved_;  // tracks marked with photos and not saved since
  QString lastMessage_;
  bool fillingTree_ = false;
};

}  // namespace pixtrail::gui
