#include "cli/PositionCommand.hpp"

#include "cli/json_text.hpp"

#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/TrackCommandSupport.hpp"
#include "core/DateTimeRecord.hpp"
#include "core/text.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail::cli {

namespace {
const char* statusName(const PositionAtTime& p) {
  switch (p.status) {
    case PositionAtTime::Status::Interpolated: return "interpolated";
    case PositionAtTime::Status::AtEnd: return "at-end";
    case PositionAtTime::Status::NotCovered: break;
  }
  return "not-covered";
}
}  // namespace

void setupPosition(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<PositionCommandOptions>();
  CLI::App* cmd = parent.add_subcommand("position", "The position on a track at given times");
  cmd->add_option("--track", options->track, "Track file")->required()->option_text("FILE");
  cmd->add_option("--max-gap", options->maxGapSeconds,
                  "Seconds between points beyond which the time between them is not covered")
      ->option_text("SECONDS")
      ->check(CLI::PositiveNumber);
  cmd->add_flag("--json", options->json, "One JSON array, one object per time");
  cmd->add_option("times", options->times, "Times YYYY-MM-DDTHH:MM:SS[.sss]")->required();
  addLogDateOption(*cmd, options->logDate);
  cmd->callback([options, &global, &result]() { result.status = runPosition(*options, global); });
}

int runPosition(const PositionCommandOptions& options, const GlobalOptions& global) {
  TrackFileSettings settings;
  if (!startTrackCommand(global, settings, options.logDate)) return kExitUsage;
  if (options.maxGapSeconds > 0) settings.track.maxGapSeconds = options.maxGapSeconds;
  TVolGPS track;
  std::string message;
  if (!openTrack(options.track, track, settings, message)) {
    std::fprintf(stderr, "%s: %s\n", options.track.c_str(), message.c_str());
    return kExitUsage;
  }
  if (!message.empty()) std::fprintf(stderr, "%s: %s\n", options.track.c_str(), message.c_str());
  int status = kExitOk;
  nlohmann::json out = nlohmann::json::array();
  for (const std::string& text : options.times) {
    DateTimeRecord record;
    DateTimeValue t = 0.0;
    if (!parseIsoDateTime(text, record) || !record.toValue(t)) {
      std::fprintf(stderr, "Bad time \"%s\": expected YYYY-MM-DDTHH:MM:SS[.sss]\n", text.c_str());
      status = kExitSomeFailed;
      continue;
    }
    const PositionAtTime p = track.positionAtTime(t, settings.track);
    if (options.json) {
      nlohmann::json row = {{"time", text}, {"index", p.index}, {"status", statusName(p)}};
      if (p.covered()) {
        row["lat"] = p.position.lat;
        row["lon"] = p.position.lon;
        row["alt"] = hasAltitude(p.position.alt) ? nlohmann::json(p.position.alt) : nlohmann::json(nullptr);
      } else {
        row["lat"] = row["lon"] = row["alt"] = nullptr;
      }
      if (p.beyondTrack) row["beyond_track"] = true;
      out.push_back(row);
    } else if (p.covered()) {
      char alt[32] = "-";
      if (hasAltitude(p.position.alt)) std::snprintf(alt, sizeof alt, "%.4f", p.position.alt);
      std::printf("%s %ld %.9f %.9f %s %s\n", text.c_str(), p.index, p.position.lat, p.position.lon, alt,
                  statusName(p));
    } else {
      std::printf("%s not-covered\n", text.c_str());
    }
  }
  if (options.json) std::printf("%s\n", jsonText(out).c_str());
  return status;
}

}  // namespace pixtrail::cli
