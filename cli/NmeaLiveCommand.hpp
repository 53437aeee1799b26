#pragma once
// `pixtrail nmea --port PORT | --mailslot | --gpsd [HOST:PORT]`: the live fix of a receiver, a
// status line redrawn in place on a terminal, JSON lines or text lines otherwise; with --record
// the positions received are saved as a track when it stops (Ctrl-C, --seconds, or the line
// going away), nothing received being lost.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct NmeaLiveOptions {
  std::string port;              // PORT as `pixtrail ports` names it, or a device path
  std::uint32_t baud = 4800;
  bool mailslot = false;
  bool gpsd = false;
  std::string gpsdAddress;       // empty: localhost:2947
  std::string record;            // track file to save; empty: none
  double seconds = 0.0;          // 0: until Ctrl-C
  int timeoutMs = 0;             // silence before a warning; 0: "Comm_NNEA_Timeout"
  bool json = false;
  bool ignoreChecksum = false;
  std::string preferredSentence;
  std::string configFile;
  GlobalOptions global;

  bool hasSource() const { return !port.empty() || mailslot || gpsd; }
};

void addNmeaLiveOptions(CLI::App& cmd, NmeaLiveOptions& options);
int runNmeaLive(const NmeaLiveOptions& options);

}  // namespace pixtrail::cli
