#pragma once
// The photo list: thumbnail, file name, capture time, position and status of every photo of the
// document. The model asks the thumbnail cache only for the rows the view shows, so a folder of
// thousands of photos is listed at once and its thumbnails fill in behind. The columns fit a dock
// of a normal window: time and position take two short lines each, long texts are elided and
// every cell's tooltip gives the whole text.

#include <QAbstractTableModel>
#include <QHash>
#include <QWidget>
#include <vector>

class QTreeView;

namespace pixtrail {
class TFoto;
}

namespace pixtrail::gui {

class PhotoFolderLoader;
class ThumbnailCache;

class PhotoListModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  enum Column { kName = 0, kTime, kPosition, kStatus, kColumnCount };

  explicit PhotoListModel(ThumbnailCache* thumbnails, QObject* parent = nullptr);
  // Rows whose photos the loader has not read yet show that, and ask for no thumbnail.
  void setLoader(const PhotoFolderLoader* loader) { loader_ = loader; }
  void setPhotos(std::vector<TFoto*> photos);
  // Photos were read or changed: every row's texts again (the view repaints only what it shows).
  void refresh();
  void setThumbnailEdge(int px);
  int thumbnailEdge() const { return edgePx_; }
  const TFoto* photo(int row) const;
  int rowOf(const TFoto* photo) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  // "Positioned", "No position", "No time" or the reason the photo cannot be read.
  static QString statusText(const TFoto& photo);

 private:
  void thumbnailReady(const QString& file);
  bool pending(const TFoto& photo) const;
  QVariant text(const TFoto& photo, int column, bool full) const;

  ThumbnailCache* thumbnails_;
  const PhotoFolderLoader* loader_ = nullptr;
  std::vector<TFoto*> photos_;
  QHash<QString, int> rowByFile_;
  int edgePx_ = 80;
};

class TFrame_Lista_Fotos : public QWidget {
  Q_OBJECT
 public:
  explicit TFrame_Lista_Fotos(ThumbnailCache* thumbnails, QWidget* parent = nullptr);
  void setLoader(const PhotoFolderLoader* loader) { model_->setLoader(loader); }
  void setPhotos(std::vector<TFoto*> photos);
  void setThumbnailPercent(int percent);
  void selectPhoto(const TFoto* photo);
  const TFoto* selectedPhoto() const;
  QTreeView* view() const { return view_; }
  PhotoListModel* model() const { return model_; }

 signals:
  void photoSelected(const TFoto* photo);
  void photoActivated();

 private:
  PhotoListModel* model_ = nullptr;
  QTreeView* view_ = nullptr;
};

}  // namespace pixtrail::gui
