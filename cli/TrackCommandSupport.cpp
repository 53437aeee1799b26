#include "cli/TrackCommandSupport.hpp"



namespace pixtrail::cli {

bool startTrackCommand(const GlobalOptions& global, TrackFileSettings& settings, const std::string& logDate) {
  CommandSettings all;
  if (!startCommand(global, all, logDate)) return false;
  settings = all.trackFiles;
  return true;
}

void addLogDateOption(CLI::App& command, std::string& logDate) {
  command.add_option("--date", logDate, "Date of logs whose records carry only times of day (NMEA GGA alone)")
      ->option_text("YYYY-MM-DD");
}

}  // namespace pixtrail::cli
