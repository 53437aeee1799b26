#pragma once
// `pixtrail detect --port PORT [--baud N] [--timeout MS] [--json]`: which protocol the receiver
// on PORT speaks: NMEA, Garmin or Magellan. The protocol found is kept in gps.ini
// ("Last_Autodetect_Protocol") and tried first next time.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct DetectOptions {
  std::string port;
  std::uint32_t baud = 0;   // 0: each protocol's usual speed
  int timeoutMs = 0;        // 0: the configured time-outs
  bool json = false;
  bool verbose = false;     // the detection's log lines on stderr
  std::string configFile;
};

void setupDetect(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runDetect(const DetectOptions& options);

}  // namespace pixtrail::cli
