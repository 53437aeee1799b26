#include "gui/DatumListDialog.hpp"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "app/Configuration.hpp"
#include "coords/TListaDatums.hpp"
#include "core/text.hpp"
#include "gui/gui_text.hpp"

namespace pixtrail::gui {

namespace {
QString formatted(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return QString::fromLatin1(text);
}
}  // namespace

DatumListDialog::DatumListDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("datumList");
  setWindowTitle(tr("Datums"));
  table_ = new QTableWidget(this);
  table_->setColumnCount(kColumnCount);
  table_->setHorizontalHeaderLabels({"Name", "Radius(a)", "1/f", "Delta X", "Delta Y", "Delta Z", "Device datum",
                                     "Alternative Names", "ECW name"});
  table_->horizontalHeader()->setStretchLastSection(true);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->verticalHeader()->hide();  // row numbers would suggest indexes off by one
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 6);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  QPushButton* add = buttons->addButton(tr("Add"), QDialogButtonBox::ActionRole);
  QPushButton* remove = buttons->addButton(tr("Delete"), QDialogButtonBox::ActionRole);
  QPushButton* save = buttons->addButton(tr("Save"), QDialogButtonBox::ActionRole);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(table_);
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(add, &QPushButton::clicked, this, &DatumListDialog::addDatum);
  connect(remove, &QPushButton::clicked, this, [this] {
    QString message;
    if (!deleteSelected(message)) QMessageBox::information(this, windowTitle(), message);
  });
  connect(save, &QPushButton::clicked, this, [this] {
    QString message;
    if (!this->save(message)) QMessageBox::warning(this, windowTitle(), message);
  });
  connect(table_, &QTableWidget::itemChanged, this, &DatumListDialog::cellEdited);
  fill();
  resize(1000, 520);
}

QStringList DatumListDialog::rowTexts(int index) {
  const TDatum& d = datumTable().datum(index);
  return {fromLibrary(d.name), formatted("%.11g", d.a), formatted("%f", d.inverseFlattening),
          formatted("%lg", d.dX), formatted("%lg", d.dY), formatted("%lg", d.dZ),
          QString::number(d.deviceDatumNumber), fromLibrary(d.alternativeNames), fromLibrary(d.ecwName)};
}

void DatumListDialog::fill() {
  filling_ = true;
  const TListaDatums& datums = datumTable();
  table_->setRowCount(datums.size());
  for (int row = 0; row < datums.size(); ++row) {
    const QStringList texts = rowTexts(row);
    const bool editable = row >= datums.systemRowCount();  // delivered rows stay as shipped
    for (int column = 0; column < kColumnCount; ++column) {
      auto* item = new QTableWidgetItem(texts[column]);
      Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
      if (editable) flags |= Qt::ItemIsEditable;
      item->setFlags(flags);
      if (column != kName && column != kAlternative && column != kEcw)
        item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
      table_->setItem(row, column, item);
    }
  }
  table_->resizeColumnsToContents();
  table_->setColumnWidth(kAlternative, std::min(table_->columnWidth(kAlternative), 320));
  filling_ = false;
}

void DatumListDialog::cellEdited(QTableWidgetItem* item) {
  if (filling_) return;
  TDatum& d = datumTable().datum(item->row());
  const std::string text = item->text().toLatin1().toStdString();
  const auto number = parseDouble(text);
  bool ok = true;
  switch (item->column()) {
    case kName: d.name = text; break;
    case kAlternative: d.alternativeNames = text; break;
    case kEcw: d.ecwName = text; break;
    case kDeviceNumber: {
      const auto n = parseInteger(text);
      ok = n.has_value();
      if (ok) d.deviceDatumNumber = static_cast<std::int32_t>(*n);
      break;
    }
    case kRadius: ok = number && *number > 0.0; if (ok) d.a = *number; break;
    // A flattening that is not positive would stop the program in the derived values.
    case kInverseFlattening: ok = number && *number > 0.0; if (ok) d.inverseFlattening = *number; break;
    case kDeltaX: ok = number.has_value(); if (ok) d.dX = *number; break;
    case kDeltaY: ok = number.has_value(); if (ok) d.dY = *number; break;
    case kDeltaZ: ok = number.has_value(); if (ok) d.dZ = *number; break;
    default: break;
  }
  if (ok) d.deriveShape();
  // The row shows what the table holds: a refused value goes back to the old one.
  filling_ = true;
  item->setText(rowTexts(item->row())[item->column()]);
  filling_ = false;
}

void DatumListDialog::addDatum() {
  const int row = datumTable().addDatum("New Datum");
  fill();
  table_->selectRow(row);
  table_->scrollToItem(table_->item(row, 0));
}

bool DatumListDialog::deleteSelected(QString& message) {
  const int row = table_->currentRow();
  if (row < datumTable().systemRowCount()) {
    message = tr("Only datums you added can be deleted.");
    return false;
  }
  // Loaded positions are held in the working datum; taking it away would silently move them.
  if (row == datumTable().workingDatum()) {
    message = tr("The working datum cannot be deleted; choose another one in the settings first.");
    return false;
  }
  std::string text;
  if (!datumTable().deleteDatum(row, text)) {
    message = fromLibrary(text);
    return false;
  }
  configuration().workingDatum.set(datumTable().workingDatum());  // later rows moved up one
  fill();
  return true;
}

bool DatumListDialog::save(QString& message) {
  std::string text;
  if (!datumTable().save(text)) {
    message = fromLibrary(text);
    return false;
  }
  return true;
}

}  // namespace pixtrail::gui
