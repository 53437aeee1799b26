#include "gui/PhotoPropertiesDialog.hpp"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QTableWidget>
#include <QVBoxLayout>

#include "gui/TFrame_Lista_Fotos.hpp"
#include "gui/gui_text.hpp"
#include "photos/TCjtoFotos.hpp"

namespace pixtrail::gui {

PhotoPropertiesDialog::PhotoPropertiesDialog(const TFoto& photo, QWidget* parent) : QDialog(parent) {
  setObjectName("photoProperties");
  setWindowTitle(QString::fromStdString(photo.name()));
  auto* heading = new QLabel(QString("<b>%1</b><br>%2 &nbsp; %3")
                                 .arg(QString::fromStdString(photo.fileName.string()).toHtmlEscaped(),
                                      photo.hasTime ? dateTimeText(photo.time) : QString("-"),
                                      PhotoListModel::statusText(photo).toHtmlEscaped()),
                             this);
  heading->setTextInteractionFlags(Qt::TextSelectableByMouse);
  const std::vector<PhotoField> fields = photo.exifFields();
  table_ = new QTableWidget(static_cast<int>(fields.size()), 3, this);
  table_->setHorizontalHeaderLabels({tr("Field"), tr("Label"), tr("Value")});
  table_->verticalHeader()->hide();
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  for (int row = 0; row < static_cast<int>(fields.size()); ++row) {
    const PhotoField& f = fields[static_cast<std::size_t>(row)];
    table_->setItem(row, 0, new QTableWidgetItem(fromLibrary(f.name)));
    table_->setItem(row, 1, new QTableWidgetItem(fromLibrary(f.label)));
    table_->setItem(row, 2, new QTableWidgetItem(fromLibrary(f.text)));
  }
  table_->resizeColumnsToContents();
  table_->horizontalHeader()->setStretchLastSection(true);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(heading);
  layout->addWidget(table_, 1);
  layout->addWidget(buttons);
  resize(640, 560);
}

}  // namespace pixtrail::gui
