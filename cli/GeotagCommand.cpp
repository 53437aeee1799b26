#include "cli/GeotagCommand.hpp"

#include "cli/json_text.hpp"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "app/GeotagJob.hpp"
#include "app/Configuration.hpp"
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
  std::printf("%-28s %-19s %-11s %14s %14s %10s %8s %8s\n", "photo", "time", "status", "lat", "lon", "alt", "error_m",
              "fix_s");
  for (const GeotagPhotoResult& r : results) {
    const std::string name = r.file.filename().string();
    std::printf("%-28s %-19s %-11s", name.c_str(), timeText(r).c_str(),
                std::string(geotagStatusName(r.status)).c_str());
    if (r.status == GeotagStatus::Tagged) {
      std::printf(" %14.9f %14.9f", r.lat, r.lon);
      if (std::isnan(r.altM)) std::printf(" %10s", "-");
      else std::printf(" %10.4f", r.altM);
      // How sure: the error estimate and the seconds to the nearest fix; "end" when not interpolated.
      if (r.hasConfidence)
        std::printf(" %8.1f %8.0f%s", r.confidence.errorM, r.confidence.nearestS, r.confidence.atEnd ? " end" : "");
    }
    if (r.status != GeotagStatus::Tagged && !r.message.empty() && r.hasConfidence)
      std::printf(" %s", r.message.c_str());
    std::printf("\n");
    if (!r.dropped.empty()) {  // never silently
      std::string names;
      for (const std::string& name : r.dropped) names += (names.empty() ? "" : ", ") + name;
      std::printf("    left out: %s\n", names.c_str());
    }
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
    row["alt"] = tagged && !std::isnan(r.altM) ? nlohmann::json(r.altM) : nlohmann::json();
    if (tagged) row["written"] = r.written.string();
    if (r.hasTime) row["offset_s"] = r.offsetS;
    if (r.hasConfidence) {
      const TagConfidence& c = r.confidence;
      row["gap_s"] = c.gapS;
      row["jump_m"] = c.jumpM;
      row["nearest_s"] = c.nearestS;
      row["at_end"] = c.atEnd;
      row["hdop"] = c.hdop > 0.0 ? nlohmann::json(c.hdop) : nlohmann::json();
      row["sats"] = c.satellites > 0 ? nlohmann::json(c.satellites) : nlohmann::json();
      row["error_m"] = c.errorM;
    }
    if (dryRun && tagged) row["planned"] = r.planned;
    if (tagged) row["dropped"] = r.dropped;
    out.push_back(row);
  }
  std::printf("%s\n", jsonText(out).c_str());
}

// Says what was done with the camera clock; true when the run was refused.
bool reportClock(const GeotagClockReport& clock, const GeotagCommandOptions& options) {
  if (clock.check.looksWrong) {
    std::fprintf(stderr, "geotag: the camera clock offset looks wrong: %s\n", clock.check.message.c_str());
    const OffsetEstimate& better = clock.check.better;
    if (better.found()) {
      std::string suggested = "--offset " + formatSignedClock(better.correction.offsetS);
      if (better.correction.driftSPerHour != 0.0) {
        char drift[48];
        std::snprintf(drift, sizeof drift, " --drift %.3f", better.correction.driftSPerHour);
        suggested += drift;
      }
      std::fprintf(stderr, "geotag: likely offset %s (from %s; `pixtrail offset` shows the evidence)\n",
                   suggested.c_str(), std::string(offsetMethodName(better.method)).c_str());
    }
    if (clock.refused) {
      std::fprintf(stderr, "geotag: nothing written; give the offset, or --force to write anyway\n");
      if (options.json) std::printf("[]\n");
      return true;
    }
  }
  if (options.autoOffset && !options.json && clock.estimate.found())
    std::printf("clock: offset %s, drift %+.3f s/h (%s, %zu photos, spread %.1f s)\n",
                formatSignedClock(clock.applied.offsetS).c_str(), clock.applied.driftSPerHour,
                std::string(offsetMethodName(clock.estimate.method)).c_str(), clock.estimate.photosUsed,
                clock.estimate.spreadS);
  if (clock.ownUtcOffsets > 0 && !options.json)
    std::printf("clock: %zu photos carry their own UTC offset, used instead of %s\n", clock.ownUtcOffsets,
                clock.zone.c_str());
  return false;
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
  cmd->add_flag("--no-sync", options->noSync,
                "With --out, do not flush the new photos to disk at the end (as a plain copy does)")
      ->excludes(inPlace);
  cmd->add_option("--mark-track", options->markTrack, "Save the track with the photos marked on it")->option_text("FILE");
  cmd->add_flag("--overwrite", options->overwrite, "Replace an existing --mark-track file");
  cmd->add_flag("--keep-mtime", options->keepMtime, "Written photos keep the original's modification time");
  cmd->add_flag("--read-only", options->readOnly, "With --in-place, rewrite photos whose write permission is off too");
  cmd->add_flag("--dry-run", options->dryRun, "Show what would be written and write nothing");
  cmd->add_option("--max-gap", options->maxGapSeconds,
                  "Seconds between track points beyond which the time between them is not covered")
      ->option_text("SECONDS")
      ->check(CLI::PositiveNumber);
  addLogDateOption(*cmd, options->logDate);
  cmd->add_option("--timezone", options->timeZone,
                  "The camera clock runs on local time of this zone (photos with their own UTC offset use it)")
      ->option_text("ZONE|local");
  CLI::Option* autoOffset =
      cmd->add_flag("--auto-offset", options->autoOffset, "Find the clock offset and drift and use them");
  cmd->add_option("--drift", options->driftSPerHour, "Added to the offset per hour after the earliest photo (a camera gaining 2 s/h needs -2)")
      ->option_text("SECONDS_PER_HOUR")
      ->excludes(autoOffset);
  cmd->get_option("--offset")->excludes(autoOffset);
  cmd->add_option("--max-jump", options->maxJumpM, "Do not interpolate between track points further apart")
      ->option_text("METRES")
      ->check(CLI::PositiveNumber);
  cmd->add_flag("--write-error", options->writeError, "Also write the estimated error (GPSHPositioningError)");
  cmd->add_flag("--force", options->force, "Write even when the clock offset looks wrong");
  cmd->add_flag("--json", options->json, "One JSON array, one object per photo");
  cmd->add_flag("--exact-quirks", options->exactQuirks,
                "Write GPS entries with the described quirks byte for byte (also gps.ini [Fotos] Exif_Exact_Quirks)");
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
  CommandSettings settings;
  if (!startCommand(global, settings, options.logDate)) return kExitUsage;
  job.trackFiles = settings.trackFiles;
  for (const auto& t : options.tracks) job.tracks.emplace_back(t);
  for (const auto& p : options.inputs) job.inputs.emplace_back(p);
  if (!options.offset.empty() && !parseClockOffset(options.offset, job.offsetSeconds)) {
    std::fprintf(stderr, "Bad --offset \"%s\": expected [+|-]HH:MM:SS\n", options.offset.c_str());
    return kExitUsage;
  }
  job.outDir = options.outDir;
  job.inPlace = options.inPlace;
  job.sync = !options.noSync;
  job.markTrackFile = options.markTrack;
  job.overwriteMarkTrack = options.overwrite;
  job.keepMtime = options.keepMtime;
  job.allowReadOnly = options.readOnly;
  job.dryRun = options.dryRun;
  if (options.maxGapSeconds > 0) job.trackFiles.track.maxGapSeconds = options.maxGapSeconds;
  job.timeZone = options.timeZone;
  job.autoOffset = options.autoOffset;
  job.driftSPerHour = options.driftSPerHour;
  job.maxJumpM = options.maxJumpM;
  job.writeError = options.writeError;
  job.force = options.force;
  job.exactQuirks = options.exactQuirks || settings.exifExactQuirks;

  const bool bar = !options.json && ::isatty(STDERR_FILENO);
  GeotagProgress progress;
  if (bar)
    progress = [](std::size_t done, std::size_t total) {
      if (total >= kProgressFromPhotos) drawProgress(done, total);
    };
  std::vector<GeotagPhotoResult> results;
  GeotagClockReport clock;
  std::vector<std::filesystem::path> markedTracks;
  message.clear();
  if (!geotagPhotos(job, results, clock, markedTracks, message, progress)) {
    std::fprintf(stderr, "%s\n", message.c_str());
    return kExitUsage;
  }
  if (!message.empty()) std::fprintf(stderr, "%s\n", message.c_str());  // inputs passed over
  if (reportClock(clock, options)) return kExitSomeFailed;
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
