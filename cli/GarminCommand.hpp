#pragma once
// `pixtrail garmin info|download|upload|time|position|pvt`: a Garmin unit on a serial line
// (--port) or on USB (--usb): identification, transfers of waypoints, routes and tracks between the
// unit and files of any format the program opens and saves, the unit's clock, position and fixes.

#include <CLI/CLI.hpp>
#include <string>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct GarminOptions {
  std::string action;     // info, download, upload, time, position, pvt
  std::string kind;       // waypoints, routes, tracks (download and upload)
  std::string port;       // a device path or COMn
  bool usb = false;
  int baud = 9600;
  int timeoutMs = -1;     // negative: "Comm_Timeout_Garmin" of gps.ini
  std::string file;       // -o FILE for download, FILE for upload
  bool overwrite = false;
  bool asCourse = false;  // upload tracks as courses
  int count = 10;         // pvt fixes
  bool json = false;
};

void setupGarmin(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runGarmin(const GarminOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
