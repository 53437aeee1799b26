// pixtrail-gui: the desktop program. Starts the system as the command line does (gps.ini, the
// datum table, the working datum, the language file), then opens the files given.

#include <QApplication>
#include <QMessageBox>
#include <QStringList>

#include "app/Startup.hpp"
#include "gui/TAForm_MultiGPS.hpp"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("pixtrail");
  QApplication::setApplicationVersion(PIXTRAIL_VERSION);
  std::string message;
  if (!pixtrail::startSystem(pixtrail::StartupOptions{}, message)) {
    QMessageBox::critical(nullptr, "Pixtrail", QString::fromLatin1(message.c_str()));
    return 1;
  }
  pixtrail::gui::TAForm_MultiGPS window;
  window.show();
  QStringList files = QApplication::arguments();
  files.removeFirst();
  if (!files.isEmpty()) window.openFiles(files);
  if (!message.empty()) QMessageBox::warning(&window, "Pixtrail", QString::fromLatin1(message.c_str()));
  return QApplication::exec();
}
