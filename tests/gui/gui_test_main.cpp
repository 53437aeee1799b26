// The desktop tests run without a screen: Qt's offscreen platform, the system started with the
// shipped datum table and a configuration that is never read from or written to the user's files,
// and no network (map tiles off unless a test serves its own).

#include <gtest/gtest.h>

#include <QApplication>
#include <QStandardPaths>
#include <cstdio>

#include "app/Configuration.hpp"
#include "app/Startup.hpp"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QStandardPaths::setTestModeEnabled(true);
  QApplication app(argc, argv);
  pixtrail::StartupOptions options;
  options.readConfiguration = false;
  std::string message;
  if (!pixtrail::startSystem(options, message)) {
    std::fprintf(stderr, "cannot start: %s\n", message.c_str());
    return 1;
  }
  pixtrail::configuration().mapTiles.set(false);
  return RUN_ALL_TESTS();
}
