#include "gui/SettingsDialog.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>

#include "app/Configuration.hpp"
#include "coords/TListaDatums.hpp"
#include "gui/gui_text.hpp"

namespace pixtrail::gui {

SettingsDialog::SettingsDialog(QWidget* parent) : QDialog(parent) {
  setObjectName("settings");
  setWindowTitle(tr("Settings"));
  const Configuration& config = configuration();
  datum_ = new QComboBox(this);
  for (int i = 0; i < datumTable().size(); ++i) datum_->addItem(fromLibrary(datumTable().datum(i).name));
  datum_->setCurrentIndex(datumTable().workingDatum());
  format_ = new QComboBox(this);
  for (int f = 0; f < kAngleFormatCount; ++f) format_->addItem(angleFormatName(f));
  format_->setCurrentIndex(config.angleFormat.get() >= 0 && config.angleFormat.get() < kAngleFormatCount
                               ? config.angleFormat.get()
                               : 1);
  projection_ = new QComboBox(this);
  for (const auto& [label, value] : projectionChoices()) projection_->addItem(label, value);
  projection_->setCurrentIndex(std::max(0, projection_->findData(fromLibrary(config.displayProjection.get()))));
  tiles_ = new QCheckBox(tr("Show web map tiles under the tracks"), this);
  tiles_->setChecked(config.mapTiles);
  tileUrl_ = new QLineEdit(fromLibrary(config.tileUrl.get()), this);
  tileUrl_->setToolTip(tr("{z}, {x} and {y} are replaced by the tile's zoom, column and row"));
  attribution_ = new QLineEdit(fromLibrary(config.tileAttribution.get()), this);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* form = new QFormLayout(this);
  form->addRow(tr("Working datum"), datum_);
  form->addRow(tr("Coordinate format"), format_);
  form->addRow(tr("Projection (map and status bar)"), projection_);
  form->addRow(tiles_);
  form->addRow(tr("Tile URL"), tileUrl_);
  form->addRow(tr("Attribution"), attribution_);
  form->addRow(buttons);
  resize(560, 260);
}

int SettingsDialog::workingDatum() const { return datum_->currentIndex(); }

void SettingsDialog::store() const {
  Configuration& config = configuration();
  config.angleFormat.set(format_->currentIndex());
  config.displayProjection.set(projection_->currentData().toString().toLatin1().toStdString());
  config.mapTiles.set(tiles_->isChecked());
  config.tileUrl.set(tileUrl_->text().trimmed().toLatin1().toStdString());
  config.tileAttribution.set(attribution_->text().toLatin1().toStdString());
}

}  // namespace pixtrail::gui
