#include "gui/ReceiverPanel.hpp"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMetaObject>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>

#include "app/Configuration.hpp"
#include "coords/TListaDatums.hpp"
#include "core/angles.hpp"
#include "devices/TPuertoCom.hpp"
#include "gui/gui_text.hpp"

namespace pixtrail::gui {

namespace {
const char* const kRows[] = {"Fix", "Position", "Altitude", "Speed", "Course", "Satellites", "HDOP", "Time (UTC)",
                             "Sentences"};
constexpr int kReadTimeoutMs = 200;  // how soon the watch thread notices that it must stop
constexpr int kReadChunk = 512;
constexpr std::size_t kMaxLineBytes = 1024;  // a line without an end is noise, not a sentence
constexpr double kKmhPerMs = 3.6;
}  // namespace

ReceiverPanel::ReceiverPanel(QWidget* parent)
    : QWidget(parent), protocol_(NmeaSettings{configuration().useNmeaChecksum, configuration().nmeaMovingMapSentence}) {
  setObjectName("receiverPanel");
  portEdit_ = new QLineEdit("/dev/ttyUSB0", this);
  portEdit_->setObjectName("port");
  portEdit_->setToolTip(tr("A device path (/dev/ttyUSB0, /dev/rfcomm0) or COM n for the n-th port found"));
  connectButton_ = new QPushButton(tr("Connect"), this);
  state_ = new QLabel(tr("Not connected"), this);
  auto* line = new QHBoxLayout;
  line->addWidget(new QLabel(tr("Port"), this));
  line->addWidget(portEdit_, 1);
  line->addWidget(connectButton_);
  // Three readings to a line keep the panel as low as the track panel it shares the dock with.
  auto* form = new QGridLayout;
  constexpr int kPerLine = 3;
  int i = 0;
  for (const char* name : kRows) {
    auto* label = new QLabel("-", this);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* caption = new QLabel(tr(name), this);
    caption->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->addWidget(caption, i / kPerLine, 2 * (i % kPerLine));
    form->addWidget(label, i / kPerLine, 2 * (i % kPerLine) + 1);
    form->setColumnStretch(2 * (i % kPerLine) + 1, 1);
    rows_.emplace_back(name, label);
    ++i;
  }
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(line);
  layout->addWidget(state_);
  layout->addLayout(form);
  layout->addStretch();
  connect(connectButton_, &QPushButton::clicked, this, [this] {
    if (isConnected()) {
      disconnectLine();
      return;
    }
    QString message;
    if (!connectLine(portEdit_->text().trimmed(), kDefaultBaud, message)) state_->setText(message);
  });
}

ReceiverPanel::~ReceiverPanel() { disconnectLine(); }

bool ReceiverPanel::connectLine(const QString& port, std::uint32_t baud, QString& message) {
  disconnectLine();
  std::unique_ptr<TPuertoCom> line = createPuertoCom();
  // Port errors are the protocols' exceptions; they stop here, at the panel.
  try {
    const std::string name = port.toStdString();
    bool opened = false;
    if (port.startsWith("COM", Qt::CaseInsensitive) && port.mid(3).trimmed().toInt() > 0)
      opened = line->open(port.mid(3).trimmed().toInt() - 1, true);
    else
      opened = line->openPath(name, true);
    if (!opened) {
      message = tr("Cannot open %1").arg(port);
      return false;
    }
    line->setBuffers();
    line->setState(baud);
    line->setTimeouts();
  } catch (const TErrorPr& e) {
    message = fromLibrary(e.text()) + (e.detail().empty() ? QString() : " " + fromLibrary(e.detail()));
    return false;
  }
  port_ = std::move(line);
  fix_ = TDatosGPSActual{};
  pending_.clear();
  stop_ = false;
  TPuertoCom* reader = port_.get();
  watcher_ = std::jthread([this, reader] {
    std::vector<char> buffer(kReadChunk + 1);
    while (!stop_) {
      int n = 0;
      try {
        n = reader->read(kReadTimeoutMs, buffer.data(), kReadChunk, false);
      } catch (const TErrorPr&) {
        break;  // the line went away; the panel shows it as silent
      }
      if (n > 0) {
        QByteArray bytes(buffer.data(), n);
        QMetaObject::invokeMethod(this, [this, bytes] { receive(bytes); }, Qt::QueuedConnection);
      }
    }
  });
  state_->setText(tr("Listening on %1 at %2 baud").arg(port).arg(baud));
  connectButton_->setText(tr("Disconnect"));
  return true;
}

void ReceiverPanel::disconnectLine() {
  if (!port_) return;
  stop_ = true;
  if (watcher_.joinable()) watcher_.join();
  port_->close();
  port_.reset();
  state_->setText(tr("Not connected"));
  connectButton_->setText(tr("Connect"));
}

void ReceiverPanel::receive(const QByteArray& bytes) {
  pending_ += bytes;
  bool changed = false;
  for (qsizetype end = pending_.indexOf('\n'); end >= 0; end = pending_.indexOf('\n')) {
    const QByteArray line = pending_.left(end).trimmed();
    pending_.remove(0, end + 1);
    if (line.isEmpty()) continue;
    changed = protocol_.processLine(std::string_view(line.constData(), static_cast<std::size_t>(line.size())), fix_,
                                    sinceLastPosition_, previousType_) ||
              changed;
  }
  if (static_cast<std::size_t>(pending_.size()) > kMaxLineBytes) pending_.clear();
  showFix();
  if (changed) emit fixChanged();
}

void ReceiverPanel::setRow(const char* row, const QString& text) {
  for (auto& [name, label] : rows_)
    if (name == row) label->setText(text);
}

QString ReceiverPanel::value(const QString& row) const {
  for (const auto& [name, label] : rows_)
    if (name == row) return label->text();
  return {};
}

void ReceiverPanel::showFix() {
  setRow("Sentences", tr("%1 (%2 refused)").arg(counters().lines).arg(counters().parseErrors + counters().checksumDropped));
  if (fix_.changed == 2) return;  // nothing has come in yet
  setRow("Fix", fix_.fixValid ? (fix_.differential ? tr("valid, differential") : tr("valid")) : tr("no fix"));
  TCoord working = fix_.position;  // receivers speak WGS 84
  std::string ignored;
  datumTable().Transforma_Grados_Datum(working, kDatumWgs84, kWorkingDatum, ignored);
  setRow("Position", positionText(working.lat, working.lon, configuration().angleFormat));
  setRow("Altitude", hasAltitude(fix_.position.alt) ? QString("%1 m").arg(fix_.position.alt, 0, 'f', 1) : "-");
  setRow("Speed", fix_.speedMs >= 0 ? QString("%1 km/h").arg(fix_.speedMs * kKmhPerMs, 0, 'f', 1) : "-");
  setRow("Course", fix_.courseRad >= 0 ? QString::fromUtf8("%1°").arg(fix_.courseRad * kDegPerRad, 0, 'f', 0)
                                       : "-");
  setRow("Satellites", fix_.satellites >= 0 ? QString::number(fix_.satellites) : "-");
  setRow("HDOP", fix_.hdop > 0 ? QString::number(fix_.hdop, 'f', 1) : "-");
  const QString t = QString::fromStdString(fix_.time);
  setRow("Time (UTC)", t.size() >= 6 ? t.left(2) + ":" + t.mid(2, 2) + ":" + t.mid(4, 2) : "-");
}

}  // namespace pixtrail::gui
