#include "cli/InfoCommand.hpp"

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
std::string timeText(bool has, DateTimeValue t) {
  return has ? formatIsoDateTime(DateTimeRecord::fromValue(t)) : std::string();
}

nlohmann::json trackJson(const std::string& file, const TVolGPS& track) {
  const TrackSummary& s = track.summary();
  nlohmann::json j = {{"file", file},
                      {"format", toUpperAscii(extensionOf(file))},
                      {"name", latin1ToUtf8(track.headerText('P'))},
                      {"points", track.pointCount()},
                      {"segments", s.segments},
                      {"start", s.hasTimes ? nlohmann::json(timeText(true, s.start)) : nlohmann::json(nullptr)},
                      {"end", s.hasTimes ? nlohmann::json(timeText(true, s.end)) : nlohmann::json(nullptr)},
                      {"length_m", measuredValue(s.distanceM)},
                      {"duration_s", s.durationS},
                      {"moving_time_s", s.movingTimeS},
                      {"average_speed_ms", measuredValue(s.averageSpeedMs)},
                      {"moving_speed_ms", measuredValue(s.movingSpeedMs)},
                      {"max_speed_ms", measuredValue(s.maxSpeedMs)}};
  j["bbox"] = track.pointCount() ? nlohmann::json::array({s.minLat, s.minLon, s.maxLat, s.maxLon})
                                 : nlohmann::json(nullptr);
  if (s.hasAltitudes) {
    j["altitude_min_m"] = s.altitudeMinM;
    j["altitude_max_m"] = s.altitudeMaxM;
    j["gain_m"] = s.gainM;
    j["loss_m"] = s.lossM;
    j["max_climb_ms"] = measuredValue(s.maxClimbMs);
    j["max_sink_ms"] = measuredValue(s.maxSinkMs);
  }
  return j;
}

void printTrack(const std::string& file, const TVolGPS& track) {
  const TrackSummary& s = track.summary();
  std::printf("%s\n  format    %s\n  points    %zu\n  segments  %zu\n", file.c_str(),
              toUpperAscii(extensionOf(file)).c_str(), track.pointCount(), s.segments);
  if (s.hasTimes)
    std::printf("  start     %s\n  end       %s\n", timeText(true, s.start).c_str(), timeText(true, s.end).c_str());
  if (track.pointCount())
    std::printf("  bbox      %.9f %.9f %.9f %.9f\n", s.minLat, s.minLon, s.maxLat, s.maxLon);
  std::printf("  length    %.4f m\n", s.distanceM);
  for (const TrackInfoNode& node : track.informationTree()) {
    if (node.rows.empty()) continue;
    std::printf("  [%s]\n", std::string(node.key).c_str());
    for (const auto& [label, value] : node.rows)
      std::printf("    %-16s %s\n", label.c_str(), latin1ToUtf8(value).c_str());
  }
}

nlohmann::json waypointJson(const TBaliza& w) {
  return {{"name", latin1ToUtf8(w.name)},
          {"lat", w.position.lat},
          {"lon", w.position.lon},
          {"alt", hasAltitude(w.position.alt) ? nlohmann::json(w.position.alt) : nlohmann::json(nullptr)},
          {"description", latin1ToUtf8(w.description)}};
}

// One file as JSON; false (message printed) when it cannot be read.
bool describe(const std::string& file, const TrackFileSettings& settings, bool json, nlohmann::json& out) {
  std::string message;
  bool ok = false;
  const DataKind kind = dataKindOf(file);
  switch (kind) {
    case DataKind::Waypoints: {
      TBalizas w;
      ok = openWaypoints(file, w, settings, message);
      out = {{"file", file}, {"format", "WPT"}, {"waypoints", nlohmann::json::array()}};
      for (const TBaliza& b : w.waypoints) out["waypoints"].push_back(waypointJson(b));
      break;
    }
    case DataKind::Routes: {
      TRutas r;
      ok = openRoutes(file, r, settings, message);
      out = {{"file", file}, {"format", "RTE"}, {"routes", nlohmann::json::array()}};
      for (const TRuta& route : r.routes) {
        nlohmann::json j = {{"name", latin1ToUtf8(route.name)}, {"length_m", route.lengthM()},
                            {"waypoints", nlohmann::json::array()}};
        for (const TBaliza& b : route.waypoints) j["waypoints"].push_back(waypointJson(b));
        out["routes"].push_back(j);
      }
      break;
    }
    case DataKind::Track: {
      TVolGPS track;
      ok = openTrack(file, track, settings, message);
      if (ok) {
        out = trackJson(file, track);
        if (!json) printTrack(file, track);
      }
      break;
    }
  }
  if (!message.empty()) std::fprintf(stderr, "%s: %s\n", file.c_str(), message.c_str());
  if (ok && !json && kind != DataKind::Track) std::printf("%s\n", jsonText(out).c_str());
  return ok;
}
}  // namespace

void setupInfo(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<InfoCommandOptions>();
  CLI::App* cmd = parent.add_subcommand("info", "What a track, waypoint or route file holds");
  cmd->add_flag("--json", options->json, "JSON: one object, or an array of them for several files");
  cmd->add_option("files", options->files, "Track (by extension), waypoint (.wpt) or route (.rte) files")
      ->required();
  addLogDateOption(*cmd, options->logDate);
  cmd->callback([options, &global, &result]() { result.status = runInfo(*options, global); });
}

int runInfo(const InfoCommandOptions& options, const GlobalOptions& global) {
  TrackFileSettings settings;
  if (!startTrackCommand(global, settings, options.logDate)) return kExitUsage;
  nlohmann::json all = nlohmann::json::array();
  std::size_t failed = 0;
  for (const std::string& file : options.files) {
    nlohmann::json one;
    if (describe(file, settings, options.json, one)) all.push_back(one);
    else ++failed;
  }
  if (options.json) std::printf("%s\n", jsonText(options.files.size() == 1 && all.size() == 1 ? all[0] : all).c_str());
  if (failed == 0) return kExitOk;
  return failed == options.files.size() ? kExitUsage : kExitSomeFailed;
}

}  // namespace pixtrail::cli
