#pragma once
// The photo wizard: welcome, what to do (mark the track, add coordinates to the photos, and where
// the tagged photos go), how the camera clock relates to the track's, and the manual offset with
// the local time and the camera time it implies. It only gathers the job's options; the window
// runs the job when the wizard is finished. While the offset is typed, offsetPreview tells the
// window where the photos would land.

#include <QWizard>
#include <filesystem>

#include "app/GeotagJob.hpp"

class QCheckBox;
class QLabel;
class QLineEdit;
class QMessageBox;
class QRadioButton;
class QTimer;

namespace pixtrail::gui {

class TForm_wizard_fotos : public QWizard {
  Q_OBJECT
 public:
  enum PageId { kWelcomePage = 0, kWhatPage, kSyncPage, kOffsetPage };

  explicit TForm_wizard_fotos(const std::filesystem::path& photoFolder, QWidget* parent = nullptr);

  // The job as the user set it up (photos and tracks come from the document).
  GeotagOptions jobOptions() const;
  bool markTrack() const;
  bool addCoordinates() const;
  // The camera clock offset in seconds (capture time + offset = track time); false while the
  // typed offset is not a valid time.
  bool offsetSeconds(double& seconds) const;
  // The message box shown when leaving the second page with neither box checked (null if none).
  QMessageBox* warning() const { return warning_; }

 signals:
  void offsetPreview(double offsetSeconds);

 private:
  friend class WhatPage;
  friend class SyncPage;
  friend class OffsetPage;
  void showWarning(const QString& text);
  void updateOffsetPage();

  QCheckBox* track_ = nullptr;
  QCheckBox* foto_ = nullptr;
  QRadioButton* newFiles_ = nullptr;
  QRadioButton* inPlace_ = nullptr;
  QLineEdit* outDir_ = nullptr;
  QRadioButton* allSynced_ = nullptr;
  QRadioButton* manual_ = nullptr;
  QLabel* localTime_ = nullptr;
  QLineEdit* offset_ = nullptr;
  QRadioButton* ahead_ = nullptr;
  QRadioButton* behind_ = nullptr;
  QLabel* result_ = nullptr;
  QTimer* clock_ = nullptr;
  QMessageBox* warning_ = nullptr;
};

}  // namespace pixtrail::gui
