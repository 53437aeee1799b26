#pragma once
// The settings the window shows: the working datum, the coordinate format, the projection of the
// status bar and the map tiles. Everything lands in gps.ini through the configuration object.

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;

namespace pixtrail::gui {

class SettingsDialog : public QDialog {
  Q_OBJECT
 public:
  explicit SettingsDialog(QWidget* parent = nullptr);
  int workingDatum() const;
  // Writes format, projection and tile settings to the configuration (the datum is the window's).
  void store() const;

 private:
  QComboBox* datum_ = nullptr;
  QComboBox* format_ = nullptr;
  QComboBox* projection_ = nullptr;
  QCheckBox* tiles_ = nullptr;
  QLineEdit* tileUrl_ = nullptr;
  QLineEdit* attribution_ = nullptr;
};

}  // namespace pixtrail::gui
