#include "gui/TFrame_Opciones_Fotos.hpp"

#include <QGridLayout>
#include <QLabel>
#include <QSlider>
#include <cstdlib>

namespace pixtrail::gui {

TFrame_Opciones_Fotos::TFrame_Opciones_Fotos(QWidget* parent) : QWidget(parent) {
  setObjectName("TFrame_Opciones_Fotos");
  slider_ = new QSlider(Qt::Horizontal, this);
  slider_->setObjectName("thumbnailSize");
  // One step per mark: the marks are the only sizes, so the slider snaps to them.
  slider_->setRange(0, static_cast<int>(std::size(kPercents)) - 1);
  slider_->setPageStep(1);
  slider_->setTickPosition(QSlider::TicksBelow);
  slider_->setTickInterval(1);
  slider_->setValue(1);
  auto* layout = new QGridLayout(this);
  layout->setContentsMargins(6, 4, 6, 0);
  layout->addWidget(new QLabel(tr("Thumbnails"), this), 0, 0, 2, 1);
  const int columns = static_cast<int>(std::size(kPercents));
  layout->addWidget(slider_, 0, 1, 1, columns);
  for (int i = 0; i < columns; ++i) {
    auto* mark = new QLabel(QString("%1 %").arg(kPercents[i]), this);
    mark->setAlignment(i == 0 ? Qt::AlignLeft : i == columns - 1 ? Qt::AlignRight : Qt::AlignHCenter);
    layout->addWidget(mark, 1, 1 + i);
  }
  connect(slider_, &QSlider::valueChanged, this, [this](int) { emit sizeChanged(percent()); });
}

int TFrame_Opciones_Fotos::percent() const { return kPercents[slider_->value()]; }

void TFrame_Opciones_Fotos::setPercent(int percent) {
  int best = 0;
  for (int i = 1; i < static_cast<int>(std::size(kPercents)); ++i)
    if (std::abs(kPercents[i] - percent) < std::abs(kPercents[best] - percent)) best = i;
  slider_->setValue(best);
}

}  // namespace pixtrail::gui
