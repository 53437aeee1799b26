#include "cli/KmlCommand.hpp"

#include <cstdio>
#include <filesystem>
#include <memory>

#include "cli/TrackCommandSupport.hpp"
#include "tracks/kml_export.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail::cli {

void setupKml(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<KmlCommandOptions>();
  CLI::App* cmd = parent.add_subcommand("kml", "Export tracks and waypoints as KML for a globe viewer");
  cmd->add_option("--waypoints", options->waypointFiles, "Waypoint file (WPT, OziExplorer WPT or GPX) shown as pins")
      ->option_text("FILE");
  cmd->add_option("-o,--out", options->output, "KML file to write")->required();
  cmd->add_flag("--overwrite", options->overwrite, "Replace OUT if it exists (the old file is kept as .bak)");
  cmd->add_option("tracks", options->inputs, "Track files, opened by their extension");
  addLogDateOption(*cmd, options->logDate);
  cmd->callback([options, &global, &result]() { result.status = runKml(*options, global); });
}

int runKml(const KmlCommandOptions& options, const GlobalOptions& global) {
  TrackFileSettings settings;
  if (!startTrackCommand(global, settings, options.logDate)) return kExitUsage;
  std::error_code ec;
  if (!options.overwrite && std::filesystem::exists(options.output, ec)) {
    std::fprintf(stderr, "%s: File already exists (use --overwrite)\n", options.output.c_str());
    return kExitSomeFailed;
  }
  std::vector<std::unique_ptr<TVolGPS>> tracks;
  std::vector<std::unique_ptr<TBalizas>> pins;
  int status = kExitOk;
  for (const std::string& file : options.inputs) {
    auto track = std::make_unique<TVolGPS>();
    std::string message;
    if (!openTrack(file, *track, settings, message)) {
      std::fprintf(stderr, "%s: %s\n", file.c_str(), message.c_str());
      status = kExitSomeFailed;
      continue;
    }
    tracks.push_back(std::move(track));
  }
  for (const std::string& file : options.waypointFiles) {
    auto w = std::make_unique<TBalizas>();
    std::string message;
    if (!openWaypoints(file, *w, settings, message)) {
      std::fprintf(stderr, "%s: %s\n", file.c_str(), message.c_str());
      status = kExitSomeFailed;
      continue;
    }
    pins.push_back(std::move(w));
  }
  if (tracks.empty() && pins.empty()) {
    std::fprintf(stderr, "%s: nothing to export\n", options.output.c_str());
    return kExitUsage;
  }
  KmlContent content;
  for (const auto& t : tracks) content.tracks.push_back(t.get());
  for (const auto& w : pins) content.waypointFiles.push_back(w.get());
  content.documentName = std::filesystem::path(options.output).stem().string();
  content.settings = settings.track;
  std::string message;
  if (!writeKml(content, options.output, options.overwrite, message)) {
    std::fprintf(stderr, "%s: %s\n", options.output.c_str(), message.c_str());
    return kExitUsage;
  }
  std::printf("%s\n", options.output.c_str());
  return status;
}

}  // namespace pixtrail::cli
