#include "gui/TForm_wizard_fotos.hpp"

#include "app/track_settings.hpp"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDateTime>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>
#include <QVBoxLayout>

namespace pixtrail::gui {

namespace {
constexpr char kTimeFormat[] = "yyyy-MM-dd HH:mm:ss";
// geotagWithTracks marks the tracks in memory whenever a marked-track file is named; the window
// saves the document's tracks itself, so the name only switches marking on.
constexpr char kMarkInMemory[] = "document";
}  // namespace

class WelcomePage : public QWizardPage {
 public:
  WelcomePage() {
    setTitle("Benvinguts");
    auto* text = new QLabel(
        tr("This wizard places your photos on the track by the time each was taken, writes the positions into "
           "the photos and, if you wish, marks the places on the track.\n\nNothing is written before you press "
           "Finish."));
    text->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addStretch();
  }
};

class WhatPage : public QWizardPage {
 public:
  explicit WhatPage(TForm_wizard_fotos& w, const std::filesystem::path& folder) : wizard_(w) {
    setTitle("Que quieres hacer?");
    w.track_ = new QCheckBox("!Modicar track amb waypoints fotos");
    w.track_->setObjectName("track");
    w.foto_ = new QCheckBox("Afegir Coordenades a les fotos");
    w.foto_->setObjectName("foto");
    w.foto_->setChecked(true);
    w.newFiles_ = new QRadioButton(tr("Write tagged copies into this folder:"));
    w.newFiles_->setObjectName("newFiles");
    w.newFiles_->setChecked(true);
    w.outDir_ = new QLineEdit(QString::fromStdString((folder / "geotagged").string()));
    w.outDir_->setObjectName("outDir");
    auto* browse = new QPushButton(tr("Browse..."));
    w.inPlace_ = new QRadioButton(tr("Rewrite the original photos (each safely replaced, never half-written)"));
    w.inPlace_->setObjectName("inPlace");
    auto* folderRow = new QHBoxLayout;
    folderRow->setContentsMargins(24, 0, 0, 0);
    folderRow->addWidget(w.outDir_, 1);
    folderRow->addWidget(browse);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(w.track_);
    layout->addWidget(w.foto_);
    layout->addSpacing(12);
    layout->addWidget(w.newFiles_);
    layout->addLayout(folderRow);
    layout->addWidget(w.inPlace_);
    layout->addStretch();
    auto enable = [&w, browse] {
      const bool on = w.foto_->isChecked();
      w.newFiles_->setEnabled(on);
      w.inPlace_->setEnabled(on);
      w.outDir_->setEnabled(on && w.newFiles_->isChecked());
      browse->setEnabled(on && w.newFiles_->isChecked());
    };
    connect(w.foto_, &QCheckBox::toggled, this, enable);
    connect(w.newFiles_, &QRadioButton::toggled, this, enable);
    connect(browse, &QPushButton::clicked, this, [this, &w] {
      const QString dir = QFileDialog::getExistingDirectory(this, tr("Folder for the tagged photos"), w.outDir_->text());
      if (!dir.isEmpty()) w.outDir_->setText(dir);
    });
  }

  bool validatePage() override {
    if (!wizard_.track_->isChecked() && !wizard_.foto_->isChecked()) {
      wizard_.showWarning(tr("Marca al menos una de las dos opciones: modificar el track o afegir coordenades a les "
                             "fotos."));
      return false;
    }
    if (wizard_.foto_->isChecked() && wizard_.newFiles_->isChecked() && wizard_.outDir_->text().trimmed().isEmpty()) {
      wizard_.showWarning(tr("Choose the folder for the tagged photos."));
      return false;
    }
    return true;
  }

 private:
  TForm_wizard_fotos& wizard_;
};

class SyncPage : public QWizardPage {
 public:
  explicit SyncPage(TForm_wizard_fotos& w) : wizard_(w) {
    setTitle("Proceso de sincronización");
    w.allSynced_ = new QRadioButton("Tot Sincronitzat");
    w.allSynced_->setObjectName("allSynced");
    w.allSynced_->setChecked(true);
    w.manual_ = new QRadioButton("#Introduir desfase horari manualment");
    w.manual_->setObjectName("manualOffset");
    auto* hint = new QLabel(tr("\"Tot Sincronitzat\": the camera clock showed the same time as the GPS track."));
    hint->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(w.allSynced_);
    layout->addWidget(w.manual_);
    layout->addSpacing(12);
    layout->addWidget(hint);
    layout->addStretch();
    // QWizard settles Next and Finish when a page is entered; here they follow the choice made
    // on the page itself.
    connect(w.manual_, &QRadioButton::toggled, this, [this] {
      followChoice();
      if (wizard_.allSynced_->isChecked()) emit wizard_.offsetPreview(0.0);
    });
  }
  void initializePage() override {
    followChoice();
    if (wizard_.allSynced_->isChecked()) emit wizard_.offsetPreview(0.0);
  }
  void followChoice() {
    if (wizard() == nullptr || wizard()->currentPage() != this) return;
    const bool manual = wizard_.manual_->isChecked();
    wizard()->button(QWizard::NextButton)->setEnabled(manual);
    wizard()->button(QWizard::FinishButton)->setEnabled(!manual);
  }
  int nextId() const override {
    return wizard_.manual_->isChecked() ? TForm_wizard_fotos::kOffsetPage : -1;
  }

 private:
  TForm_wizard_fotos& wizard_;
};

class OffsetPage : public QWizardPage {
 public:
  explicit OffsetPage(TForm_wizard_fotos& w) : wizard_(w) {
    setTitle("Calculo del desfase");
    w.localTime_ = new QLabel;
    w.localTime_->setObjectName("localTime");
    w.offset_ = new QLineEdit;
    w.offset_->setObjectName("offset");
    w.offset_->setInputMask("99:99:99");
    w.offset_->setText("00:00:00");
    w.offset_->setMaximumWidth(w.offset_->fontMetrics().horizontalAdvance("00:00:00") * 2);
    w.ahead_ = new QRadioButton(tr("The camera runs ahead"));
    w.ahead_->setObjectName("ahead");
    w.ahead_->setChecked(true);
    w.behind_ = new QRadioButton(tr("The camera runs behind"));
    w.behind_->setObjectName("behind");
    w.result_ = new QLabel;
    w.result_->setObjectName("result");
    auto* sign = new QHBoxLayout;
    sign->addWidget(w.ahead_);
    sign->addWidget(w.behind_);
    sign->addStretch();
    auto* form = new QFormLayout(this);
    form->addRow("Local", w.localTime_);
    form->addRow("Introduir desfase", w.offset_);
    form->addRow(QString(), sign);
    form->addRow("Resultat", w.result_);
    auto* hint = new QLabel(tr("Resultat is the time the camera shows now. The map marks where the photos will land."));
    hint->setWordWrap(true);
    form->addRow(hint);
    w.clock_ = new QTimer(this);
    connect(w.clock_, &QTimer::timeout, this, [&w] { w.updateOffsetPage(); });
    w.clock_->start(1000);
    auto changed = [this] {
      wizard_.updateOffsetPage();
      emit completeChanged();
      double seconds = 0.0;
      if (wizard_.offsetSeconds(seconds)) emit wizard_.offsetPreview(seconds);
    };
    connect(w.offset_, &QLineEdit::textChanged, this, changed);
    connect(w.ahead_, &QRadioButton::toggled, this, changed);
  }
  void initializePage() override {
    wizard_.updateOffsetPage();
    double seconds = 0.0;
    if (wizard_.offsetSeconds(seconds)) emit wizard_.offsetPreview(seconds);
  }
  bool isComplete() const override {
    double seconds = 0.0;
    return wizard_.offsetSeconds(seconds);
  }

 private:
  TForm_wizard_fotos& wizard_;
};

TForm_wizard_fotos::TForm_wizard_fotos(const std::filesystem::path& photoFolder, QWidget* parent) : QWizard(parent) {
  setObjectName("TForm_wizard_fotos");
  setWindowTitle(tr("Geotag photos"));
  setWizardStyle(QWizard::ClassicStyle);
  setOption(QWizard::NoBackButtonOnStartPage);
  // Page 3 ends the wizard or leads to page 4 depending on a choice made on it: both buttons stay
  // in place and only their enabled state follows the choice.
  setOption(QWizard::HaveNextButtonOnLastPage);
  setButtonText(QWizard::NextButton, "Siguiente >");
  setButtonText(QWizard::BackButton, "< Atras");
  setButtonText(QWizard::CancelButton, "Cancel");
  setButtonText(QWizard::FinishButton, tr("Finish"));
  setPage(kWelcomePage, new WelcomePage);
  setPage(kWhatPage, new WhatPage(*this, photoFolder));
  setPage(kSyncPage, new SyncPage(*this));
  setPage(kOffsetPage, new OffsetPage(*this));
  setStartId(kWelcomePage);
  resize(560, 400);
}

void TForm_wizard_fotos::showWarning(const QString& text) {
  if (warning_ == nullptr) {
    warning_ = new QMessageBox(QMessageBox::Warning, windowTitle(), text, QMessageBox::Ok, this);
    warning_->setObjectName("wizardWarning");
  }
  warning_->setText(text);
  warning_->open();  // window-modal, the wizard stays where it is
}

bool TForm_wizard_fotos::markTrack() const { return track_->isChecked(); }
bool TForm_wizard_fotos::addCoordinates() const { return foto_->isChecked(); }

bool TForm_wizard_fotos::offsetSeconds(double& seconds) const {
  if (!manual_->isChecked()) {
    seconds = 0.0;
    return true;
  }
  double typed = 0.0;
  if (!parseClockOffset(offset_->text().toStdString(), typed)) return false;
  // A camera ahead of the track shows later times: its photos belong earlier on the track.
  seconds = ahead_->isChecked() ? -typed : typed;
  return true;
}

void TForm_wizard_fotos::updateOffsetPage() {
  const QDateTime now = QDateTime::currentDateTime();
  localTime_->setText(now.toString(kTimeFormat));
  double seconds = 0.0;
  if (!offsetSeconds(seconds)) {
    result_->setText(tr("(minutes and seconds go up to 59)"));
    return;
  }
  result_->setText(now.addMSecs(static_cast<qint64>(-seconds * 1000.0)).toString(kTimeFormat));
}

GeotagOptions TForm_wizard_fotos::jobOptions() const {
  GeotagOptions options;
  std::string ignored;  // an unknown file datum was reported when the document was opened
  options.trackFiles = commandSettingsFromConfiguration(ignored).trackFiles;
  double seconds = 0.0;
  if (offsetSeconds(seconds)) options.offsetSeconds = seconds;
  options.dryRun = !foto_->isChecked();  // positions found, nothing written
  options.inPlace = foto_->isChecked() && inPlace_->isChecked();
  if (!options.inPlace) options.outDir = outDir_->text().trimmed().toStdString();
  if (track_->isChecked()) options.markTrackFile = kMarkInMemory;
  return options;
}

}  // namespace pixtrail::gui
