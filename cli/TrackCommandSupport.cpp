#include "cli/TrackCommandSupport.hpp"

#include <cstdio>

#include "app/Startup.hpp"
#include "app/track_settings.hpp"
#include "core/DateTimeRecord.hpp"

namespace pixtrail::cli {

bool startTrackCommand(const GlobalOptions& global, TrackFileSettings& settings, const std::string& logDate) {
  if (!logDate.empty()) {
    DateTimeRecord date;
    if (!parseIsoDateTime(logDate + "T00:00:00", date)) {
      std::fprintf(stderr, "Bad --date \"%s\": expected YYYY-MM-DD\n", logDate.c_str());
      return false;
    }
    settings.logDate = date;
  }
  if (!startCommand(global)) return false;
  std::string warning;
  const std::optional<DateTimeRecord> date = settings.logDate;
  settings = trackFileSettingsFromConfiguration(warning);
  settings.logDate = date;
  if (!warning.empty()) std::fprintf(stderr, "%s\n", warning.c_str());
  return true;
}

void addLogDateOption(CLI::App& command, std::string& logDate) {
  command.add_option("--date", logDate, "Date of logs whose records carry only times of day (NMEA GGA alone)")
      ->option_text("YYYY-MM-DD");
}

}  // namespace pixtrail::cli
