#pragma once
// `pixtrail nmea [--json] FILE|-`: a log fed line by line to the NMEA protocol object, printing
// per line the sentence type, the checksum verdict, whether the fix changed, and the current fix.

#include <CLI/CLI.hpp>
#include <string>

#include "cli/CommandContext.hpp"

namespace pixtrail::cli {

struct NmeaOptions {
  std::string input;                // a file, or "-" for standard input
  bool json = false;                // JSON lines
  bool ignoreChecksum = false;      // "Use_Checksum_NMEA" off for this run
  std::string preferredSentence;    // "Comanda_NMEA_MovingMap" for this run
};

void setupNmea(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runNmea(const NmeaOptions& options);

}  // namespace pixtrail::cli
