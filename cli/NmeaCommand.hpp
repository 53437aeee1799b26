#pragma once
// `pixtrail nmea [--json] FILE|-`, or a live receiver (NmeaLiveCommand): a log fed line by line to the NMEA protocol object, printing
// per line the sentence type, the checksum verdict, whether the fix changed, and the current fix.

#include <CLI/CLI.hpp>
#include <string>

#include "cli/CommandContext.hpp"
#include "cli/NmeaLiveCommand.hpp"
#include "devices/TProtocoloNMEA.hpp"

namespace pixtrail::cli {

struct NmeaOptions {
  std::string input;                // a file, or "-" for standard input
  bool json = false;                // JSON lines
  bool ignoreChecksum = false;      // "Use_Checksum_NMEA" off for this run
  std::string preferredSentence;    // "Comanda_NMEA_MovingMap" for this run; empty: gps.ini's
  std::string configFile;           // gps.ini; empty: the user's
  NmeaLiveOptions live;             // a receiver instead of a log
};

void setupNmea(CLI::App& parent, const GlobalOptions& global, CommandResult& result);
int runNmea(const NmeaOptions& options);
// gps.ini (the given file, else the user's) loaded into the configuration, and the sentence
// dispatch settings it gives with the command's own options on top.
NmeaSettings loadNmeaSettings(const std::string& configFile, bool ignoreChecksum,
                              const std::string& preferredSentence);

// One line of output for the line just processed: a JSON object, or the text form.
void appendNmeaJsonLine(std::string& out, long long lineNumber, const TProtocoloNMEA& protocol, bool changed,
                        const TDatosGPSActual& fix);
void appendNmeaTextLine(std::string& out, long long lineNumber, const TProtocoloNMEA& protocol, bool changed,
                        const TDatosGPSActual& fix);

}  // namespace pixtrail::cli
