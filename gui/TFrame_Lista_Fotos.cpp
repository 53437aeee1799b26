#include "gui/TFrame_Lista_Fotos.hpp"

#include <QHeaderView>
#include <QPainter>
#include <QPixmap>
#include <QStyle>
#include <QStyledItemDelegate>
#include <algorithm>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/Configuration.hpp"
#include "coords/TListaDatums.hpp"
#include "coords/coordinate_text.hpp"
#include "gui/PhotoFolderLoader.hpp"
#include "gui/ThumbnailCache.hpp"
#include "gui/gui_text.hpp"
#include "photos/TCjtoFotos.hpp"

namespace pixtrail::gui {

namespace {

// The thumbnail above its file name: the name column is then as wide as the thumbnail, not the
// two side by side, and the time and position keep their room in a dock of a normal window.
class ThumbnailAboveNameDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

 protected:
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
    QStyledItemDelegate::initStyleOption(option, index);
    option->decorationPosition = QStyleOptionViewItem::Top;
    option->displayAlignment = Qt::AlignHCenter | Qt::AlignTop;
  }
};

}  // namespace

PhotoListModel::PhotoListModel(ThumbnailCache* thumbnails, QObject* parent)
    : QAbstractTableModel(parent), thumbnails_(thumbnails) {
  connect(thumbnails_, &ThumbnailCache::ready, this, &PhotoListModel::thumbnailReady);
}

void PhotoListModel::setPhotos(std::vector<TFoto*> photos) {
  beginResetModel();
  photos_ = std::move(photos);
  rowByFile_.clear();
  for (int row = 0; row < static_cast<int>(photos_.size()); ++row)
    rowByFile_.insert(QString::fromStdString(photos_[static_cast<std::size_t>(row)]->fileName.string()), row);
  endResetModel();
}

void PhotoListModel::refresh() {
  if (!photos_.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, kColumnCount - 1));
}

void PhotoListModel::setThumbnailEdge(int px) {
  edgePx_ = px;
  if (!photos_.empty()) emit dataChanged(index(0, kName), index(rowCount() - 1, kName), {Qt::DecorationRole});
}

const TFoto* PhotoListModel::photo(int row) const {
  return row >= 0 && row < rowCount() ? photos_[static_cast<std::size_t>(row)] : nullptr;
}

int PhotoListModel::rowOf(const TFoto* photo) const {
  for (int row = 0; row < rowCount(); ++row)
    if (photos_[static_cast<std::size_t>(row)] == photo) return row;
  return -1;
}

int PhotoListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(photos_.size());
}

int PhotoListModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kColumnCount; }

bool PhotoListModel::pending(const TFoto& photo) const { return loader_ && loader_->isPending(&photo); }

QString PhotoListModel::statusText(const TFoto& photo) {
  if (!photo.readable) return tr("Unreadable: %1").arg(fromLibrary(photo.loadMessage));
  if (!photo.hasTime) return tr("No time");
  return photo.hasPosition ? tr("Positioned") : tr("No position");
}

// The cell's text; `full` for the tooltip, which may take more room than the column.
QVariant PhotoListModel::text(const TFoto& p, int column, bool full) const {
  const QString lineBreak = full ? "  " : "\n";
  switch (column) {
    case kName: return full ? QString::fromStdString(p.fileName.string()) : QString::fromStdString(p.name());
    case kTime: {
      if (pending(p)) return QString::fromUtf8("\u2026");
      if (!p.hasTime) return QString("-");
      QString text = dateTimeText(p.time);
      return full ? text : text.replace(' ', lineBreak);
    }
    case kPosition: {
      if (!p.hasPosition) return pending(p) ? QString() : QString("-");
      TCoord working = p.position;
      std::string ignored;
      datumTable().Transforma_Grados_Datum(working, p.datum, kWorkingDatum, ignored);
      const int format = configuration().angleFormat;
      QString text = fromLibrary(latitudeText(working.lat, format)) + lineBreak +
                     fromLibrary(longitudeText(working.lon, format));
      if (full) text += "  (" + fromLibrary(datumTable().datum(kWorkingDatum).name) + ")";
      return text;
    }
    case kStatus: return pending(p) ? tr("Reading") : statusText(p);
    default: return {};
  }
}

QVariant PhotoListModel::data(const QModelIndex& index, int role) const {
  const TFoto* p = photo(index.row());
  if (p == nullptr) return {};
  if (role == Qt::DisplayRole) return text(*p, index.column(), false);
  if (role == Qt::ToolTipRole) return text(*p, index.column(), true);
  if (role == Qt::DecorationRole && index.column() == kName) {
    // A photo not read yet may still hold an EXIF thumbnail: no full decode is started for it.
    const QImage image = pending(*p) ? QImage() : thumbnails_->thumbnail(*p);
    // Every row keeps the same height while its thumbnail is on its way.
    QPixmap cell(edgePx_, edgePx_ * 3 / 4);
    cell.fill(Qt::transparent);
    QPainter painter(&cell);
    if (image.isNull()) {
      painter.fillRect(cell.rect().adjusted(2, 2, -2, -2), QColor(225, 225, 225));
    } else {
      const QImage scaled = image.scaled(cell.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation);
      painter.drawImage((cell.width() - scaled.width()) / 2, (cell.height() - scaled.height()) / 2, scaled);
    }
    return cell;
  }
  return {};
}

QVariant PhotoListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case kName: return tr("Photo");
    case kTime: return tr("Taken");
    case kPosition: return tr("Position");
    case kStatus: return tr("Status");
    default: return {};
  }
}

void PhotoListModel::thumbnailReady(const QString& file) {
  const auto it = rowByFile_.constFind(file);
  if (it == rowByFile_.cend()) return;
  emit dataChanged(index(*it, kName), index(*it, kName), {Qt::DecorationRole});
}

TFrame_Lista_Fotos::TFrame_Lista_Fotos(ThumbnailCache* thumbnails, QWidget* parent) : QWidget(parent) {
  setObjectName("TFrame_Lista_Fotos");
  model_ = new PhotoListModel(thumbnails, this);
  view_ = new QTreeView(this);
  view_->setObjectName("photoView");
  view_->setRootIsDecorated(false);
  view_->setUniformRowHeights(true);  // lets the view skip measuring thousands of rows
  view_->setAlternatingRowColors(true);
  view_->setSelectionMode(QAbstractItemView::SingleSelection);
  view_->setSelectionBehavior(QAbstractItemView::SelectRows);
  view_->setModel(model_);
  view_->setItemDelegateForColumn(PhotoListModel::kName, new ThumbnailAboveNameDelegate(view_));
  view_->setTextElideMode(Qt::ElideMiddle);  // both ends of a file name or a message tell most
  // Widths from the font, never from the rows: measuring 20 000 rows would hold the window up.
  QHeaderView* header = view_->header();
  header->setStretchLastSection(false);
  header->setMinimumSectionSize(40);
  const QFontMetrics metrics(view_->font());
  const int padding = 2 * view_->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 8;
  header->setSectionResizeMode(PhotoListModel::kName, QHeaderView::Interactive);
  header->setSectionResizeMode(PhotoListModel::kTime, QHeaderView::Interactive);
  view_->setColumnWidth(PhotoListModel::kTime, metrics.horizontalAdvance("0000-00-00") + padding);
  header->setSectionResizeMode(PhotoListModel::kPosition, QHeaderView::Stretch);
  header->setSectionResizeMode(PhotoListModel::kStatus, QHeaderView::Interactive);
  view_->setColumnWidth(PhotoListModel::kStatus, metrics.horizontalAdvance(tr("No position")) + padding);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(view_);
  setThumbnailPercent(50);
  connect(view_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          [this](const QModelIndex& current) { emit photoSelected(model_->photo(current.row())); });
  connect(view_, &QTreeView::doubleClicked, this, [this] { emit photoActivated(); });
}

void TFrame_Lista_Fotos::setPhotos(std::vector<TFoto*> photos) {
  model_->setPhotos(std::move(photos));
}

void TFrame_Lista_Fotos::setThumbnailPercent(int percent) {
  const int edge = ThumbnailCache::kMaxEdgePx * percent / 100;
  model_->setThumbnailEdge(edge);
  view_->setIconSize(QSize(edge, edge * 3 / 4));
  const int nameWidth = QFontMetrics(view_->font()).horizontalAdvance("IMG_0000.jpg");
  view_->setColumnWidth(PhotoListModel::kName, std::max(edge, nameWidth) + 10);
}

void TFrame_Lista_Fotos::selectPhoto(const TFoto* photo) {
  const int row = model_->rowOf(photo);
  if (row < 0) {
    view_->clearSelection();
    return;
  }
  const QModelIndex index = model_->index(row, 0);
  view_->setCurrentIndex(index);
  view_->scrollTo(index);
}

const TFoto* TFrame_Lista_Fotos::selectedPhoto() const { return model_->photo(view_->currentIndex().row()); }

}  // namespace pixtrail::gui
