#include "cli/OffsetCommand.hpp"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "app/OffsetJob.hpp"
#include "app/Startup.hpp"
#include "cli/TrackCommandSupport.hpp"

namespace pixtrail::cli {

namespace {

std::string geotagOptions(const OffsetJobResult& r) {
  std::string text = "--offset " + formatSignedClock(r.estimate.correction.offsetS);
  if (r.estimate.correction.driftSPerHour != 0.0) {
    char drift[48];
    std::snprintf(drift, sizeof drift, " --drift %.3f", r.estimate.correction.driftSPerHour);
    text += drift;
  }
  if (!r.zone.empty()) text += " --timezone " + r.zone;
  return text;
}

void printText(const OffsetJobResult& r) {
  const OffsetEstimate& e = r.estimate;
  std::printf("offset   %s", formatSignedClock(e.correction.offsetS).c_str());
  if (e.correction.driftSPerHour != 0.0)
    std::printf(", drift %+.3f s/h from %s", e.correction.driftSPerHour,
                formatIsoDateTime(DateTimeRecord::fromValue(e.correction.reference)).c_str());
  std::printf("\nmethod   %s%s\n", std::string(offsetMethodName(e.method)).c_str(),
              e.suggestionOnly ? " (a suggestion: check it before use)" : "");
  std::printf("photos   %zu used of %zu (%zu holding a position)\n", e.photosUsed, r.photos, r.references);
  std::printf("spread   %.1f s\n", e.spreadS);
  for (const std::string& o : e.outliers) std::printf("outlier  %s\n", o.c_str());
  for (const OffsetEvidence& ev : e.evidence)
    std::printf("evidence %s: %zu photos on the tracks, %zu where they stop\n", formatSignedClock(ev.offsetS).c_str(),
                ev.covered, ev.stopped);
  std::printf("options  %s\n", geotagOptions(r).c_str());
}

void printJson(const OffsetJobResult& r) {
  const OffsetEstimate& e = r.estimate;
  nlohmann::json evidence = nlohmann::json::array();
  for (const OffsetEvidence& ev : e.evidence)
    evidence.push_back({{"offset_s", ev.offsetS}, {"covered", ev.covered}, {"stopped", ev.stopped}});
  const nlohmann::json out = {
      {"offset_s", e.correction.offsetS},
      {"drift_s_per_h", e.correction.driftSPerHour},
      {"reference_time", formatIsoDateTime(DateTimeRecord::fromValue(e.correction.reference))},
      {"photos_used", e.photosUsed},
      {"spread_s", e.spreadS},
      {"method", offsetMethodName(e.method)},
      {"suggestion", e.suggestionOnly},
      {"options", geotagOptions(r)},
      {"timezone", r.zone.empty() ? nlohmann::json() : nlohmann::json(r.zone)},
      {"outliers", e.outliers},
      {"evidence", evidence}};
  std::printf("%s\n", out.dump(2).c_str());
}

}  // namespace

void setupOffset(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<OffsetCommandOptions>();
  CLI::App* cmd = parent.add_subcommand("offset", "Find the camera clock's offset and drift against the tracks");
  cmd->add_option("--track", options->tracks, "Track file (repeatable)")->required()->option_text("FILE");
  cmd->add_option("--clock-photo", options->clockPhotos,
                  "A photo of the receiver's clock and the time it showed (Z: the screen showed UTC)")
      ->option_text("PHOTO=HH:MM:SS[Z]");
  cmd->add_option("--timezone", options->timeZone, "The camera clock runs on local time of this zone")
      ->option_text("ZONE|local");
  cmd->add_option("--max-gap", options->maxGapSeconds,
                  "Seconds between track points beyond which the time between them is not covered")
      ->option_text("SECONDS")
      ->check(CLI::PositiveNumber);
  addLogDateOption(*cmd, options->logDate);
  cmd->add_flag("--json", options->json, "One JSON object");
  cmd->add_option("photos", options->inputs, "Photos and folders of photos")->required();
  cmd->callback([options, &global, &result]() { result.status = runOffset(*options, global); });
}

int runOffset(const OffsetCommandOptions& options, const GlobalOptions& global) {
  OffsetJobOptions job;
  if (!startTrackCommand(global, job.trackFiles, options.logDate)) return kExitUsage;
  for (const auto& t : options.tracks) job.tracks.emplace_back(t);
  for (const auto& p : options.inputs) job.inputs.emplace_back(p);
  for (const auto& c : options.clockPhotos) {
    std::filesystem::path photo;
    std::string reading;
    if (!splitClockPhotoArgument(c, photo, reading)) {
      std::fprintf(stderr, "Bad --clock-photo \"%s\": expected PHOTO=HH:MM:SS\n", c.c_str());
      return kExitUsage;
    }
    job.clockPhotos.emplace_back(photo, reading);
  }
  job.timeZone = options.timeZone;
  if (options.maxGapSeconds > 0) job.trackFiles.track.maxGapSeconds = options.maxGapSeconds;
  OffsetJobResult result;
  std::string message;
  if (!estimateOffsetJob(job, result, message)) {
    std::fprintf(stderr, "%s\n", message.c_str());
    return kExitUsage;
  }
  if (!message.empty()) std::fprintf(stderr, "%s\n", message.c_str());  // inputs passed over
  if (!result.estimate.found()) {
    for (const std::string& o : result.estimate.outliers) std::fprintf(stderr, "outlier: %s\n", o.c_str());
    std::fprintf(stderr, "No offset could be found: no photo holds a position near the tracks and none fits them\n");
    return kExitSomeFailed;
  }
  if (options.json) printJson(result);
  else printText(result);
  return kExitOk;
}

}  // namespace pixtrail::cli
