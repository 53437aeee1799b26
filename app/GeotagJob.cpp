#include "app/GeotagJob.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "coords/TListaDatums.hpp"
#include "core/SafeFile.hpp"
#include "core/angles.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"
#include "photos/TCjtoFotos.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {

namespace {

struct StatusName {
  GeotagStatus status;
  std::string_view name;
};
constexpr std::array<StatusName, 4> kStatusNames = {{{GeotagStatus::Tagged, "tagged"},
                                                      {GeotagStatus::NoTime, "no-time"},
                                                      {GeotagStatus::NotCovered, "not-covered"},
                                                      {GeotagStatus::Error, "error"}}};

}  // namespace

// The photos named on the command line: a folder gives its photos, a file is a group of its own.
bool collectPhotos(const std::vector<std::filesystem::path>& inputs, TCjtoFotos& photos, std::string& message,
                   const std::function<void(TFoto&)>& loaded) {
  bool any = false;
  std::error_code ec;
  for (const auto& input : inputs) {
    if (std::filesystem::is_directory(input, ec)) {
      std::string folderMessage;
      if (photos.LoadFolder(input, folderMessage, loaded) == nullptr) {
        appendMessage(message, input.string() + ": " + folderMessage);
        continue;
      }
      any = true;  // unreadable photos stay in the group and are reported one by one
      continue;
    }
    if (!std::filesystem::exists(input, ec)) {
      appendMessage(message, input.string() + ": File not found!");
      continue;
    }
    auto group = std::make_unique<TFotos>();
    group->folder = input.parent_path();
    auto photo = std::make_unique<TFoto>();
    photo->exif.setGpsQuirks(photos.gpsQuirks);
    std::string ignored;  // kept in the photo's own load message
    try {
      photo->load(input, ignored);
    } catch (const std::exception& e) {
      photo->readable = false;
      photo->loadMessage = std::string("Error reading the photo: ") + e.what();
    }
    if (loaded) loaded(*photo);
    group->photos.add(std::move(photo));
    photos.groups.add(std::move(group));
    any = true;
  }
  if (!any) appendMessage(message, "No photos to geotag");
  return any;
}

namespace {

// The GPS entries as the rebuilt file holds them, read back from the bytes that would be written.
std::string plannedEntries(const std::string& jpeg) {
  TJpegExif written;
  std::string ignored;
  if (!written.ReadBytes(jpeg, ignored)) return {};
  std::string lines;
  for (const TTifTag& tag : written.tags()) {
    if (tag.directory != kGpsIfd && tag.key != kKeySoftware) continue;
    TJpegExif one;
    one.SetTag(tag.directory, tag.key, tag.type, tag.count, tag.data);
    lines += one.Dump();
  }
  return lines;
}

// Everything that needs the datum table, done on the calling thread: the position goes to WGS 84
// and the result reports it as the file's rationals will hold it. False: the photo failed.
bool preparePhoto(const GeotagOptions& options, TFoto& photo, GeotagPhotoResult& result) {
  std::string& message = result.message;
  TCoord wgs84 = photo.position;
  if (!datumTable().Transforma_Grados_Datum(wgs84, photo.datum, kDatumWgs84, message)) {
    appendMessage(message, "Error saving coordinates");
    result.status = GeotagStatus::Error;
    return false;
  }
  // A damaged track or grid must never reach the photo as a position (NaN would be written as 0).
  if (!isPlausibleLatLon(wgs84.lat, wgs84.lon) || !std::isfinite(wgs84.alt)) {
    appendMessage(message, "No valid position for this photo");
    result.status = GeotagStatus::Error;
    return false;
  }
  photo.position = wgs84;
  photo.datum = kDatumWgs84;
  TJpegExif preview;  // the encoding alone, without touching the photo's own entries
  preview.setGpsQuirks(photo.exif.gpsQuirks());
  preview.SetGpsWgs84(wgs84);
  ExifGpsPosition written;
  if (preview.ReadGps(written, message)) {
    result.lat = written.lat;
    result.lon = written.lon;
    result.altM = written.altM;
    // No elevation on the track: the photo gets no altitude, say none rather than 0 m.
    if (preview.FindTag(kGpsIfd, kGpsAltitude) < 0) result.altM = std::numeric_limits<double>::quiet_NaN();
  }
  result.written = options.inPlace ? photo.fileName : options.outDir / photo.fileName.filename();
  return true;
}

// The file work of one photo; photos are independent, so several run at once.
void writePhotoFile(const GeotagOptions& options, TFoto& photo, GeotagPhotoResult& result, SafeBatch& batch) {
  std::string& message = result.message;
  if (options.writeError && result.hasConfidence) {
    TTifTag error;
    error.key = kGpsHPositioningError;
    error.type = kTypeRational;
    error.count = 1;
    error.data = positioningErrorRational(result.confidence.errorM);
    photo.fixEntries.push_back(error);
  }
  if (options.dryRun) {
    std::string head;
    if (!photo.SetFix(message) || !photo.exif.RenderHead(head, message)) {
      result.status = GeotagStatus::Error;
      return;
    }
    result.planned = plannedEntries(head);
    result.status = GeotagStatus::Tagged;
  } else {
    SafeWriteOptions write;
    write.keepModificationTime = options.keepMtime;
    write.allowReadOnly = options.allowReadOnly;
    write.removeLeftovers = false;  // once per folder, before the writers start
    result.status = photo.Save(result.written, message, write, &batch) ? GeotagStatus::Tagged : GeotagStatus::Error;
  }
  if (result.status != GeotagStatus::Tagged) return;
  result.dropped = photo.exif.dropped();
  if (!result.dropped.empty()) {  // never silently
    std::string names;
    for (const std::string& name : result.dropped) names += (names.empty() ? "" : ", ") + name;
    appendMessage(message, "Left out of the photo: " + names);
  }
}

// A photo that fails in any way is reported and skipped; the others and the summary go on.
void writePhoto(const GeotagOptions& options, TFoto& photo, GeotagPhotoResult& result, SafeBatch& batch) {
  try {
    writePhotoFile(options, photo, result, batch);
  } catch (const std::exception& e) {
    result.status = GeotagStatus::Error;
    appendMessage(result.message, std::string("Error writing the photo: ") + e.what());
  }
  photo.forgetExif();  // its entries, thumbnail and image data are not held once it is written
}

// Two photos of one name from different folders would land on one output: both are refused
// rather than one silently holding the other.
void refuseSharedOutputs(std::vector<std::pair<TFoto*, GeotagPhotoResult*>>& toWrite) {
  std::map<std::filesystem::path, std::size_t> count;
  for (const auto& [photo, result] : toWrite) ++count[result->written.lexically_normal()];
  std::erase_if(toWrite, [&](const std::pair<TFoto*, GeotagPhotoResult*>& item) {
    GeotagPhotoResult& result = *item.second;
    if (count[result.written.lexically_normal()] < 2) return false;
    result.status = GeotagStatus::Error;
    appendMessage(result.message, "Another photo would be written to the same file: " + result.written.string());
    return true;
  });
}

// Several photos in flight: one reads its EXIF segment while another's image data is copied. More
// writers than cores only contend in the file system (ext4 spends the time finding free inodes:
// 300 small photos took 1.4 s with eight writers, 0.6 s with two, on two cores).
std::size_t writerCount() {
  return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 4);
}

}  // namespace

std::string_view geotagStatusName(GeotagStatus status) {
  for (const StatusName& row : kStatusNames)
    if (row.status == status) return row.name;
  return "error";
}

GeotagSummary summarise(const std::vector<GeotagPhotoResult>& results) {
  GeotagSummary s;
  for (const GeotagPhotoResult& r : results) {
    switch (r.status) {
      case GeotagStatus::Tagged: ++s.tagged; break;
      case GeotagStatus::NoTime: ++s.noTime; break;
      case GeotagStatus::NotCovered: ++s.notCovered; break;
      case GeotagStatus::Error: ++s.failed; break;
    }
  }
  return s;
}

bool parseClockOffset(std::string_view text, double& seconds) {
  text = trim(text);
  double sign = 1.0;
  if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
    sign = text[0] == '-' ? -1.0 : 1.0;
    text.remove_prefix(1);
  }
  const std::vector<std::string_view> fields = splitFields(text, ':');
  if (fields.size() != 3) return false;
  double parts[3] = {};
  for (std::size_t i = 0; i < 3; ++i) {
    if (fields[i].empty() || fields[i].find_first_not_of("0123456789.") != std::string_view::npos) return false;
    const auto value = parseDouble(fields[i]);
    if (!value) return false;
    parts[i] = *value;
  }
  if (parts[1] >= kSecondsPerMinute || parts[2] >= kSecondsPerMinute) return false;
  seconds = sign * (parts[0] * kSecondsPerHour + parts[1] * kSecondsPerMinute + parts[2]);
  return true;
}

namespace {

// Callers without the clock report still learn why nothing was written.
bool refusedWithMessage(const GeotagClockReport& clock, std::string& message) {
  if (!clock.refused) return false;
  std::string text = "The camera clock offset looks wrong: " + clock.check.message;
  if (clock.check.better.found()) text += "; likely offset " + formatSignedClock(clock.check.better.correction.offsetS);
  appendMessage(message, text);
  return true;
}

}  // namespace

void addPhotoClock(PhotoClocks& out, const TFoto& photo, const TimeZone& zone) {
  DateTimeValue clock = 0.0;
  if (!photo.readable || !photo.hasTime || !photo.time.toValue(clock)) return;
  ClockSample sample;
  sample.name = photo.name();
  double ownOffsetS = 0.0;
  if (zone.isSet() && readPhotoUtcOffset(photo.exif, ownOffsetS)) {
    sample.clock = clock - ownOffsetS / kSecondsPerDay;
    ++out.ownUtcOffsets;
  } else {
    sample.clock = zone.toUtc(clock);
  }
  sample.hasPosition = photo.hasPosition;
  sample.position = photo.position;
  out.samples.push_back(std::move(sample));
  out.photos.push_back(&photo);
}

PhotoClocks photoClocks(const TCjtoFotos& photos, const TimeZone& zone) {
  PhotoClocks out;
  for (const TFotos& group : photos.groups)
    for (const TFoto& photo : group.photos) addPhotoClock(out, photo, zone);
  return out;
}

std::vector<TrackTimeScale> trackTimeScales(const VectorP<TVolGPS>& tracks) {
  std::vector<TrackTimeScale> scales;
  for (const TVolGPS& track : tracks) scales.push_back(trackTimeScaleOf(extensionOf(track.fileName)));
  return scales;
}

bool geotagWithTracks(const GeotagOptions& options, VectorP<TVolGPS>& tracks,
                      std::vector<GeotagPhotoResult>& results, std::string& message,
                      const GeotagProgress& progress) {
  GeotagClockReport clock;
  if (!geotagWithTracks(options, tracks, results, clock, message, progress)) return false;
  return !refusedWithMessage(clock, message);
}

bool geotagWithTracks(const GeotagOptions& options, VectorP<TVolGPS>& tracks,
                      std::vector<GeotagPhotoResult>& results, GeotagClockReport& clock, std::string& message,
                      const GeotagProgress& progress) {
  results.clear();
  clock = {};
  TimeZone zone;
  if (!zone.set(options.timeZone, message)) return false;
  clock.zone = zone.name();
  TCjtoFotos photos;
  photos.addCoordinates = true;
  photos.markTrack = !options.markTrackFile.empty();
  photos.gpsQuirks = options.exactQuirks ? GpsQuirks::Exact : GpsQuirks::Safe;
  // Each photo's time is taken as it is read, and its EXIF entries let go until it is written:
  // a folder of any size fits in little memory.
  PhotoClocks clocks;
  const auto loaded = [&](TFoto& photo) {
    addPhotoClock(clocks, photo, zone);
    photo.forgetExif();
  };
  if (!collectPhotos(options.inputs, photos, message, loaded)) return false;
  const TrackSettings& settings = options.trackFiles.track;

  // The camera's clock: its zone, then the offset and drift given, found, or checked.
  clock.ownUtcOffsets = clocks.ownUtcOffsets;
  const TrackTimeline timeline(tracks, trackTimeScales(tracks), zone, settings);
  clock.applied = {options.offsetSeconds, options.driftSPerHour, earliestClock(clocks.samples)};
  if (options.autoOffset) {
    clock.estimate = estimateClockOffset(clocks.samples, {}, timeline, zone);
    if (clock.estimate.found() && (!clock.estimate.suggestionOnly || options.force)) {
      clock.applied = clock.estimate.correction;
    } else if (!clocks.samples.empty()) {
      clock.check.looksWrong = true;
      clock.check.better = clock.estimate;
      clock.check.message = clock.estimate.found()
                                ? "the photos alone only suggest an offset; check it, then give it with --offset"
                                : "no offset could be found: no photo holds a position and none fits the tracks";
    }
  } else if (!options.force) {
    clock.check = checkOffset(clocks.samples, timeline, clock.applied);
  }
  if (clock.check.looksWrong && !options.force) {
    clock.refused = true;
    return true;
  }
  if (!options.dryRun && !options.inPlace) {
    std::error_code ec;
    std::filesystem::create_directories(options.outDir, ec);
    if (ec) {
      appendMessage(message, "Cannot create folder " + options.outDir.string() + ": " + ec.message());
      return false;
    }
  }

  std::size_t total = 0, done = 0;
  for (const TFotos& group : photos.groups) total += group.photos.size();
  std::vector<bool> marked(tracks.size(), false);
  results.reserve(total);  // the writers hold pointers into it
  std::vector<std::pair<TFoto*, GeotagPhotoResult*>> toWrite;
  std::size_t sample = 0;
  for (TFotos& group : photos.groups) {
    for (TFoto& photo : group.photos) {
      GeotagPhotoResult& result = results.emplace_back();
      result.file = photo.fileName;
      result.time = photo.time;
      result.hasTime = photo.hasTime;
      const bool timed = sample < clocks.photos.size() && clocks.photos[sample] == &photo;
      if (!photo.readable) {
        result.status = GeotagStatus::Error;
        result.message = photo.loadMessage;
      } else if (!timed) {
        result.status = GeotagStatus::NoTime;
        result.message = photo.timeMessage;
      } else {
        const ClockSample& s = clocks.samples[sample++];
        const DateTimeValue lineTime = clock.applied.apply(s.clock);
        DateTimeValue cameraTime = 0.0;
        photo.time.toValue(cameraTime);
        result.offsetS = std::round((lineTime - cameraTime) * kSecondsPerDay * 1000.0) / 1000.0;  // date noise off
        TrackTimeline::Hit hit;
        if (!timeline.locate(lineTime, hit)) {
          result.status = GeotagStatus::NotCovered;
        } else {
          result.confidence = assessTag(tracks[hit.track], hit.trackTime, hit.where);
          result.hasConfidence = true;
          const bool between = hit.where.status == PositionAtTime::Status::Interpolated && hit.where.fraction > 0.0 &&
                               hit.where.fraction < 1.0;
          if (options.maxJumpM > 0.0 && between && result.confidence.jumpM > options.maxJumpM) {
            result.status = GeotagStatus::NotCovered;
            char why[96];
            std::snprintf(why, sizeof why, "The track jumps %.0f m between the points around this time",
                          result.confidence.jumpM);
            result.message = why;
          } else {
            const Placement placement{PlacementStatus::Placed, hit.trackTime, hit.where};
            photo.position = hit.where.position;
            photo.datum = kWorkingDatum;
            photo.hasPosition = true;
            if (photos.markTrack) {
              markPhotoOnTrack(tracks[hit.track], photo, placement);
              marked[hit.track] = true;
            }
            bool prepared = false;
            try {
              prepared = preparePhoto(options, photo, result);
            } catch (const std::exception& e) {  // one photo's failure, not the run's
              result.status = GeotagStatus::Error;
              appendMessage(result.message, std::string("Error writing the photo: ") + e.what());
            }
            if (prepared) {
              toWrite.emplace_back(&photo, &result);
              continue;  // counted when written
            }
          }
        }
      }
      if (progress) progress(++done, total);
    }
  }
  if (!options.dryRun) {
    refuseSharedOutputs(toWrite);
    std::set<std::filesystem::path> folders;
    for (const auto& item : toWrite) folders.insert(item.second->written.parent_path());
    for (const auto& folder : folders) removeLeftoverTemporaries(folder.empty() ? std::filesystem::path(".") : folder);
  }
  // One flush for the whole run: new files are flushed once at the end (or not at all when asked),
  // rewritten photos all become durable before any of them replaces its original.
  SafeBatch batch(options.inPlace || options.sync ? SafeBatch::Flush::AtEnd : SafeBatch::Flush::None);
  std::mutex progressLock;
  std::atomic<std::size_t> next{0};
  auto writer = [&] {
    for (std::size_t i = next++; i < toWrite.size(); i = next++) {
      writePhoto(options, *toWrite[i].first, *toWrite[i].second, batch);
      const std::lock_guard lock(progressLock);
      if (progress) progress(++done, total);
    }
  };
  {
    std::vector<std::jthread> writers;
    for (std::size_t w = 0; w < std::min(writerCount(), toWrite.size()); ++w) writers.emplace_back(writer);
  }
  if (!options.dryRun) {
    const auto failed = batch.commit();
    for (const auto& [target, why] : failed) {
      for (const auto& [photo, result] : toWrite) {
        if (result->written != target || result->status != GeotagStatus::Tagged) continue;
        result->status = GeotagStatus::Error;
        result->dropped.clear();
        appendMessage(result->message, why);
      }
    }
  }
  for (std::size_t t = 0; t < tracks.size(); ++t) {
    std::string ignored;
    if (marked[t]) tracks[t].Recalculate(settings, ignored);
  }
  return true;
}

namespace {

// With several tracks marked, the later ones go next to FILE as FILE_2, FILE_3, ...
std::filesystem::path markedTrackName(const std::filesystem::path& file, std::size_t n) {
  if (n == 0) return file;
  std::filesystem::path name = file;
  name.replace_filename(file.stem().string() + "_" + std::to_string(n + 1) + file.extension().string());
  return name;
}

}  // namespace

bool geotagPhotos(const GeotagOptions& options, std::vector<GeotagPhotoResult>& results, std::string& message,
                  const GeotagProgress& progress) {
  GeotagClockReport clock;
  std::vector<std::filesystem::path> ignored;
  if (!geotagPhotos(options, results, clock, ignored, message, progress)) return false;
  return !refusedWithMessage(clock, message);
}

bool geotagPhotos(const GeotagOptions& options, std::vector<GeotagPhotoResult>& results, GeotagClockReport& clock,
                  std::string& message, const GeotagProgress& progress) {
  std::vector<std::filesystem::path> ignored;
  return geotagPhotos(options, results, clock, ignored, message, progress);
}

bool geotagPhotos(const GeotagOptions& options, std::vector<GeotagPhotoResult>& results,
                  std::vector<std::filesystem::path>& markedTracks, std::string& message,
                  const GeotagProgress& progress) {
  GeotagClockReport clock;
  if (!geotagPhotos(options, results, clock, markedTracks, message, progress)) return false;
  return !refusedWithMessage(clock, message);
}

bool geotagPhotos(const GeotagOptions& options, std::vector<GeotagPhotoResult>& results, GeotagClockReport& clock,
                  std::vector<std::filesystem::path>& markedTracks, std::string& message,
                  const GeotagProgress& progress) {
  markedTracks.clear();
  TrackFileSettings settings = options.trackFiles;
  settings.mustNotExist = !options.overwriteMarkTrack;
  VectorP<TVolGPS> tracks;
  for (const auto& file : options.tracks) {
    auto track = std::make_unique<TVolGPS>();
    if (!openTrack(file, *track, settings, message)) return false;
    tracks.add(std::move(track));
  }
  // Every name the marked tracks will take is checked before the first photo is written.
  if (!options.markTrackFile.empty() && !options.dryRun) {
    for (std::size_t t = 0; t < tracks.size(); ++t) {
      const std::filesystem::path name = markedTrackName(options.markTrackFile, t);
      if (!isTrackSaveExtension(name)) {
        appendMessage(message, "Unknown file format saving tracks: " + extensionOf(name));
        return false;
      }
      const std::filesystem::path written = savedTrackFileName(tracks[t], name);
      std::error_code ec;
      if (!options.overwriteMarkTrack && std::filesystem::exists(std::filesystem::symlink_status(written, ec))) {
        appendMessage(message, "File already exists (use --overwrite): " + written.string());
        return false;
      }
    }
  }
  if (!geotagWithTracks(options, tracks, results, clock, message, progress)) return false;
  if (options.markTrackFile.empty() || options.dryRun || clock.refused) return true;
  for (std::size_t t = 0; t < tracks.size(); ++t) {
    if (!saveTrack(tracks[t], markedTrackName(options.markTrackFile, t), settings, message)) return false;
    markedTracks.emplace_back(tracks[t].fileName);
  }
  return true;
}

}  // namespace pixtrail
