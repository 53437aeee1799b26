#pragma once
// `pixtrail magellan detect|download|upload|delete`: a Magellan unit on a serial line (--port) or
// mounted as a USB disk (--disk, or found among the removable drives when neither is given).

#include <CLI/CLI.hpp>
#include <string>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct MagellanOptions {
  std::string action;           // detect, download, upload, delete
  std::string kind;             // waypoints, routes, tracks (not for detect)
  std::string port;             // a device path or COMn
  std::string disk;             // root of a mounted disk unit
  unsigned baud = 9600;
  int timeoutMs = 0;            // 0: the link's own waits
  bool handshake = true;
  std::string output;           // download: where the records go (format by extension)
  std::string input;            // upload: the file to send
  std::string name;             // upload to a disk unit: the file name there (default: the input's)
  bool overwrite = false;
  bool json = false;
};

void setupMagellan(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runMagellan(const MagellanOptions& options, const GlobalOptions& global);

}  // namespace pixtrail::cli
