#pragma once
// The live receiver panel: the current fix of a GPS receiver that speaks NMEA on a serial line
// (a port path or "COM n", or the local mailslot), shown as it arrives. A watch thread only
// waits for bytes and posts them to the panel; the sentences are parsed on the window's thread.

#include <QByteArray>
#include <QWidget>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "devices/TDatosGPSActual.hpp"
#include "devices/TProtocoloNMEA.hpp"

class QLabel;
class QLineEdit;
class QPushButton;

namespace pixtrail {
class TPuertoCom;
}

namespace pixtrail::gui {

class ReceiverPanel : public QWidget {
  Q_OBJECT
 public:
  static constexpr std::uint32_t kDefaultBaud = 4800;  // the NMEA 0183 rate

  explicit ReceiverPanel(QWidget* parent = nullptr);
  ~ReceiverPanel() override;

  // Opens the line and starts listening; false with the port's own message.
  bool connectLine(const QString& port, std::uint32_t baud, QString& message);
  void disconnectLine();
  bool isConnected() const { return port_ != nullptr; }
  const TDatosGPSActual& fix() const { return fix_; }
  const NmeaCounters& counters() const { return protocol_.counters(); }
  // The text of a row ("Position", "Satellites", ...).
  QString value(const QString& row) const;
  // Received bytes: split into lines and folded into the fix.
  void receive(const QByteArray& bytes);

 signals:
  void fixChanged();

 private:
  void showFix();
  void setRow(const char* row, const QString& text);

  std::unique_ptr<TPuertoCom> port_;
  std::jthread watcher_;
  std::atomic<bool> stop_{false};
  TProtocoloNMEA protocol_;
  TDatosGPSActual fix_;
  int sinceLastPosition_ = 0;
  std::string previousType_;
  QByteArray pending_;
  QLineEdit* portEdit_ = nullptr;
  QPushButton* connectButton_ = nullptr;
  QLabel* state_ = nullptr;
  std::vector<std::pair<QString, QLabel*>> rows_;
};

}  // namespace pixtrail::gui
