#include "cli/GeotagCommand.hpp"

#include <unistd.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "app/GeotagJob.hpp"
#include "app/Startup.hpp"
#include "cli/TrackCommandSupport.hpp"

namespace pixtrail::cli {

namespace {

constexpr std::size_t kProgressWidth = 40;
constexpr std::size_t kProgressFromPhotos = 10;  // shorter runs finish before a bar helps

void drawProgress(std::size_t done, std::size_t total) {
  const std::size_t filled = total == 0 ? kProgressWidth : done * kProgressWidth / total;
  std::fprintf(stderr, "\r[%s%s] %zu/%zu", std::string(filled, '#').c_str(),
               std::string(kProgressWidth - filled, ' ').c_str(), done, total);
  if (done == total) std::fprintf(stderr, "\r%s\r", std::string(kProgressWidth + 24, ' ').c_str());
  std::fflush(stderr);
}

std::string timeText(const GeotagPhotoResult& r) { return r.hasTime ? formatIsoDateTime(r.time) : "-"; }

void printTable(const std::vector<GeotagPhotoResult>& results, bool dryRun) {
  std::printf("%-28s %-19s %-11s %14s %14s %10s\n", "photo", "time", "status", "lat", "lon", "alt");
  for (const GeotagPhotoResult& r : results) {
    const std::string name = r.file.filename().string();
    std::printf("%-28s %-19s %-11s", name.c_str(), timeText(r).c_str(),
                std::string(geotagStatusName(r.status)).c_str());
    if (r.status == GeotagStatus::Tagged) std::printf(" %14.9f %14.9f %10.4f", r.lat, r.lon, r.altM);
    std::printf("\n");
    if (dryRun && r.status == GeotagStatus::Tagged) {
      std::printf("    would write %s:\n", r.written.string().c_str());
      std::string lines = r.planned;
      std::size_t start = 0;
      while (start < lines.size()) {
        const std::size_t end = lines.find('\n', start);
        std::printf("      %s\n", lines.substr(start, end - start).c_str());
        start = end == std::string::npos ? lines.size() : end + 1;
      }
    }
  }
}

void printJson(const std::vector<GeotagPhotoResult>& results, bool dryRun) {
  nlohmann::json out = nlohmann::json::array();
  for (const GeotagPhotoResult& r : results) {
    nlohmann::json row = {{"file", r.file.string()},
                          {"time", r.hasTime ? nlohmann::json(formatIsoDateTime(r.time)) : nlohmann::json()},
                          {"status", geotagStatusName(r.status)},
                          {"message", r.message}};
    const bool tagged = r.status == GeotagStatus::Tagged;
    row["lat"] = tagged ? nlohmann::json(r.lat) : nlohmann::json();
    row["lon"] = tagged ? nlohmann::json(r.lon) : nlohmann::json();
    row["alt"] = tagged ? nlohmann::json(r.altM) : nlohmann::json();
    if (tagged) row["written"] = r.written.string();
    if (dryRun && tagged) row["planned"] = r.planned;
    out.push_back(row);
  }
  std::printf("%s\n", out.dump(2).c_str());
}

}  // namespace

void setupGeotag(CLI::App& parent, const GlobalOptions& global, CommandResult& result) {
  auto options = std::make_shared<GeotagCommandOptions>();
  CLI::App* cmd = parent.add_subcommand("geotag", "Place photos on tracks by capture time and write the positions");
  cmd->add_option("--track", options->tracks, "Track file (repeatable; the first that covers a photo wins)")
      ->required()
      ->option_text("FILE");
  cmd->add_option("--offset", options->offset, "Camera clock offset: capture time + offset = track time")
      ->option_text("[+|-]HH:MM:SS");
  CLI::Option* out = cmd->add_option("--out", options->outDir, "Write tagged photos as new files in DIR (never overwrites)")
                         ->option_text("DIR");
  CLI::Option* inPlace = cmd->add_flag("--in-place", options->inPlace, "Rewrite the original photos safely");
  out->excludes(inPlace);
  cmd->add_option("--mark-track", options->markTrack, "Save the track with the photos marked on it")->option_text("FILE");
  cmd->add_flag("--dry-run", options->dryRun, "Show what would be written and write nothing");
  cmd->add_option("--max-gap", options->maxGapSeconds,
                  "Seconds between track points beyond which the time between them is not covered")
      ->option_text("SECONDS")
      ->check(CLI::PositiveNumber);
  addLogDateOption(*cmd, options->logDate);
  cmd->add_flag("--json", options->json, "One JSON array, one object per photo");
  cmd->add_option("photos", options->inputs, "Photos and folders of photos")->required();
  cmd->callback([options, &global, &result]() {
    if (options->outDir.empty() && !options->inPlace) {
      std::fprintf(stderr, "geotag: give --out DIR or --in-place\n");
      result.status = kExitUsage;
      return;
    }
    result.status = runGeotag(*options, global);
  });
}

int runGeotag(const GeotagCommandOptions& options, const GlobalOptions& global) {
  std::string message;
  GeotagOptions job;
  if (!startTrackCommand(global, job.trackFiles, options.logDate)) return kExitUsage;
  for (const auto& t : options.tracks) job.tracks.emplace_back(t);
  for (const auto& p : options.inputs) job.inputs.emplace_back(p);
  if (!options.offset.empty() && !parseClockOffset(options.offset, job.offsetSeconds)) {
    std::fprintf(stderr, "Bad --offset \"%s\": expected [+|-]HH:MM:SS\n", options.offset.c_str());
    return kExitUsage;
  }
  job.outDir = options.outDir;
  job.inPlace = options.inPlace;
  job.markTrackFile = options.markTrack;
  job.dryRun = options.dryRun;
  if (options.maxGapSeconds > 0) job.trackFiles.track.maxGapSeconds = options.maxGapSeconds;

  const bool bar = !options.json && ::isatty(STDERR_FILENO);
  GeotagProgress progress;
  if (bar)
    progress = [](std::size_t done, std::size_t total) {
      if (total >= kProgressFromPhotos) drawProgress(done, total);
    };
  std::vector<GeotagPhotoResult> results;
  std::vector<std::filesystem::path> markedTracks;
  message.clear();
  if (!geotagPhotos(job, results, markedTracks, message, progress)) {
    std::fprintf(stderr, "%s\n", message.c_str());
    return kExitUsage;
  }
  if (!message.empty()) std::fprintf(stderr, "%s\n", message.c_str());  // inputs passed over
  if (options.json) printJson(results, options.dryRun);
  else printTable(results, options.dryRun);
  for (const GeotagPhotoResult& r : results)
    if (r.status == GeotagStatus::Error) std::fprintf(stderr, "%s: %s\n", r.file.string().c_str(), r.message.c_str());
  // The name written, which the writer may have changed (the native writer's "TRK", IGC's "IGC").
  for (const auto& marked : markedTracks)
    std::fprintf(options.json ? stderr : stdout, "marked track: %s\n", marked.string().c_str());
  const GeotagSummary s = summarise(results);
  if (!options.json)
    std::printf("%s%zu tagged, %zu no time, %zu not covered, %zu failed\n", options.dryRun ? "dry run: " : "",
                s.tagged, s.noTime, s.notCovered, s.failed);
  return s.failed > 0 || !message.empty() ? kExitSomeFailed : kExitOk;
}

}  // namespace pixtrail::cli
