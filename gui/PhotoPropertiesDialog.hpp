#pragma once
// A photo's properties: its file, time and position, and every "Exif::" field with its label
// and its value, as the photo collection offers them.

#include <QDialog>

class QTableWidget;

namespace pixtrail {
class TFoto;
}

namespace pixtrail::gui {

class PhotoPropertiesDialog : public QDialog {
  Q_OBJECT
 public:
  explicit PhotoPropertiesDialog(const TFoto& photo, QWidget* parent = nullptr);
  QTableWidget* table() const { return table_; }

 private:
  QTableWidget* table_ = nullptr;
};

}  // namespace pixtrail::gui
