#include "cli/ConvertCommand.hpp"

#include <cstdio>
#include <filesystem>
#include <memory>

#include "cli/TrackCommandSupport.hpp"
#include "tracks/track_datum.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail::cli {

namespace {
int fail(const std::string& file, const std::string& message, int status) {
  std::fprintf(stderr, "%s: %s\n", file.c_str(), message.c_str());
  return status;
}
}  // namespace

void setupConvert(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<ConvertCommandOptions>();
  CLI::App* cmd = parent.add_subcommand("convert", "Open a track, waypoint or route file and save it in another format");
  cmd->add_option("--coords", options->coordinateMode,
                  "Coordinate mode of written files: 0 degrees, 1 degrees and minutes, 2 degrees minutes "
                  "seconds, 3 grads from Paris, 4 signed degrees, 5 UTM")
      ->option_text("MODE")
      ->check(CLI::Range(0, kFileCoordinateModeCount - 1));
  cmd->add_option("--file-datum", options->fileDatum, "Datum of the written file's coordinates")->option_text("NAME");
  cmd->add_flag("--overwrite", options->overwrite, "Replace OUT if it exists (the old file is kept as .bak)");
  cmd->add_option("in", options->input, "Input file")->required();
  cmd->add_option("out", options->output, "Output file; its extension chooses the format")->required();
  addLogDateOption(*cmd, options->logDate);
  cmd->callback([options, &global, &result]() { result.status = runConvert(*options, global); });
}

int runConvert(const ConvertCommandOptions& options, const GlobalOptions& global) {
  TrackFileSettings settings;
  if (!startTrackCommand(global, settings, options.logDate)) return kExitUsage;
  std::string message;
  if (options.coordinateMode >= 0) settings.file.mode = options.coordinateMode;
  if (!options.fileDatum.empty() && !datumFromFileName(options.fileDatum, settings.file.datum, message))
    return fail(options.fileDatum, message, kExitUsage);
  settings.keepBackup = options.overwrite;
  // Checked again when the file is linked in, so that two runs to one new name never both succeed.
  settings.mustNotExist = !options.overwrite;
  const DataKind kind = dataKindOf(options.input);
  if (kind != dataKindOf(options.output))
    return fail(options.output, "Tracks, waypoints and routes convert only into their own kind", kExitUsage);

  std::error_code ec;
  if (kind == DataKind::Track) {
    TVolGPS track;
    if (!openTrack(options.input, track, settings, message)) return fail(options.input, message, kExitUsage);
    if (!message.empty()) std::fprintf(stderr, "%s: %s\n", options.input.c_str(), message.c_str());
    message.clear();
    const std::filesystem::path target = savedTrackFileName(track, options.output);
    if (!options.overwrite && std::filesystem::exists(target, ec))
      return fail(target.string(), "File already exists (use --overwrite)", kExitSomeFailed);
    if (!saveTrack(track, options.output, settings, message)) return fail(options.output, message, kExitUsage);
    std::printf("%s\n", track.fileName.c_str());
    return kExitOk;
  }
  if (!options.overwrite && std::filesystem::exists(options.output, ec))
    return fail(options.output, "File already exists (use --overwrite)", kExitSomeFailed);
  bool ok = false;
  if (kind == DataKind::Waypoints) {
    TBalizas w;
    ok = openWaypoints(options.input, w, settings, message) && saveWaypoints(w, options.output, settings, message);
  } else {
    TRutas r;
    ok = openRoutes(options.input, r, settings, message) && saveRoutes(r, options.output, settings, message);
  }
  if (!ok) return fail(options.input, message, kExitUsage);
  if (!message.empty()) std::fprintf(stderr, "%s: %s\n", options.input.c_str(), message.c_str());  // lines dropped
  std::printf("%s\n", options.output.c_str());
  return kExitOk;
}

}  // namespace pixtrail::cli
