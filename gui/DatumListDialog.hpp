#pragma once
// The datum list: every row of the datum table in a grid (name, a, 1/f, the three shifts, the
// device datum number, alternative names, ECW name). The user's own rows can be edited, added
// ("New Datum", a copy of row 0), deleted and saved; the delivered rows are read-only.

#include <QDialog>

class QTableWidget;
class QTableWidgetItem;

namespace pixtrail::gui {

class DatumListDialog : public QDialog {
  Q_OBJECT
 public:
  enum Column { kName = 0, kRadius, kInverseFlattening, kDeltaX, kDeltaY, kDeltaZ, kDeviceNumber, kAlternative,
                kEcw, kColumnCount };

  explicit DatumListDialog(QWidget* parent = nullptr);
  QTableWidget* table() const { return table_; }
  // The cell texts of a table row, in the grid's number formats.
  static QStringList rowTexts(int index);

  void addDatum();
  bool deleteSelected(QString& message);
  bool save(QString& message);

 private:
  void fill();
  void cellEdited(QTableWidgetItem* item);
  QTableWidget* table_ = nullptr;
  bool filling_ = false;
};

}  // namespace pixtrail::gui
