#include "app/OffsetJob.hpp"

#include "app/GeotagJob.hpp"
#include "core/messages.hpp"
#include "photos/TCjtoFotos.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {

bool splitClockPhotoArgument(std::string_view text, std::filesystem::path& photo, std::string& reading) {
  // The last '=' splits, so a file name may hold one.
  const std::size_t at = text.rfind('=');
  if (at == std::string_view::npos || at == 0 || at + 1 == text.size()) return false;
  photo = std::string(text.substr(0, at));
  reading = std::string(text.substr(at + 1));
  return true;
}

bool estimateOffsetJob(const OffsetJobOptions& options, OffsetJobResult& result, std::string& message) {
  TimeZone zone;
  if (!zone.set(options.timeZone, message)) return false;
  const TrackFileSettings& settings = options.trackFiles;
  VectorP<TVolGPS> tracks;
  for (const auto& file : options.tracks) {
    auto track = std::make_unique<TVolGPS>();
    if (!openTrack(file, *track, settings, message)) return false;
    tracks.add(std::move(track));
  }
  TCjtoFotos photos;
  if (!collectPhotos(options.inputs, photos, message)) return false;
  const PhotoClocks clocks = photoClocks(photos, zone);

  std::vector<ClockReading> readings;
  for (const auto& [file, text] : options.clockPhotos) {
    ClockReading reading;
    reading.name = file.filename().string();
    if (!parseClockReading(text, reading.shownSecondsOfDay, reading.shownUtc)) {
      appendMessage(message, "Bad clock reading \"" + text + "\": expected HH:MM:SS, with Z when it is UTC");
      return false;
    }
    TCjtoFotos one;
    const std::vector<std::filesystem::path> inputs{file};
    if (!collectPhotos(inputs, one, message)) return false;
    const PhotoClocks clock = photoClocks(one, zone);
    if (clock.samples.empty() || !clock.photos.front()->time.toValue(reading.cameraClock)) {
      appendMessage(message, file.string() + ": the photo has no capture time");
      return false;
    }
    reading.lineClock = clock.samples.front().clock;
    readings.push_back(std::move(reading));
  }

  const TrackTimeline timeline(tracks, trackTimeScales(tracks), zone, settings.track);
  result = {};
  result.zone = zone.name();
  result.photos = clocks.samples.size();
  for (const ClockSample& s : clocks.samples) result.references += s.hasPosition ? 1 : 0;
  std::vector<ClockSample> samples = clocks.samples;
  if (samples.empty())  // clock photos alone: the drift counts from the first of them
    for (const ClockReading& r : readings) samples.push_back({r.name, r.lineClock, false, {}});
  result.estimate = estimateClockOffset(samples, readings, timeline, zone);
  return true;
}

}  // namespace pixtrail
