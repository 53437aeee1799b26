#pragma once
// The photo list's options: the thumbnail size on a slider with its three marks, 25 %, 50 % and
// 100 % of the full thumbnail.

#include <QWidget>

class QSlider;

namespace pixtrail::gui {

class TFrame_Opciones_Fotos : public QWidget {
  Q_OBJECT
 public:
  static constexpr int kPercents[] = {25, 50, 100};

  explicit TFrame_Opciones_Fotos(QWidget* parent = nullptr);
  int percent() const;
  void setPercent(int percent);  // the nearest mark
  QSlider* slider() const { return slider_; }

 signals:
  void sizeChanged(int percent);

 private:
  QSlider* slider_ = nullptr;
};

}  // namespace pixtrail::gui
