#include "tests/support/generated_trip.hpp"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <numbers>
#include <random>

#include "photos/TJpegExif.hpp"

namespace pixtrail::test {

namespace {

constexpr double kSpeedMs = 1.4;
constexpr int kFixEveryS = 5;
constexpr int kWalkMinS = 900, kWalkMaxS = 1700, kStopMinS = 90, kStopMaxS = 240;
constexpr int kStopMarginS = 20;  // the photo is taken once standing, not while stopping
constexpr double kNoiseM = 0.5;
constexpr double kMetresPerDegree = 6371008.8 * std::numbers::pi / 180.0;
constexpr int kDayStartUtcHour = 7;

DateTimeValue at(int year, int month, int day, int hour, int minute, double seconds) {
  DateTimeValue v = 0;
  DateTimeRecord{day, month, year, hour, minute, seconds}.toValue(v);
  return v;
}

}  // namespace

double madridOffsetS(DateTimeValue utc) { return utc < at(2026, 10, 25, 1, 0, 0) ? 7200.0 : 3600.0; }

double metresBetween(double lat1, double lon1, double lat2, double lon2) {
  const double dy = (lat2 - lat1) * kMetresPerDegree;
  const double dx = (lon2 - lon1) * kMetresPerDegree * std::cos(lat1 * std::numbers::pi / 180.0);
  return std::hypot(dx, dy);
}

Trip makeTrip(const TripOptions& o) {
  Trip trip;
  trip.track = std::make_unique<TVolGPS>();
  trip.track->fileName = "trip.gpx";
  std::mt19937 random(20261024);
  std::uniform_real_distribution<double> noise(-kNoiseM, kNoiseM), unit(0.0, 1.0);
  std::uniform_int_distribution<int> walkS(kWalkMinS, kWalkMaxS), stopS(kStopMinS, kStopMaxS);
  double lat = 40.4168, lon = -3.7038;
  DateTimeValue firstPhotoUtc = -1.0;
  auto cameraAt = [&](DateTimeValue trueUtc) {
    if (firstPhotoUtc < 0) firstPhotoUtc = trueUtc;
    const double hours = (trueUtc - firstPhotoUtc) * 24.0;
    const double wall = o.cameraFollowsMadrid ? madridOffsetS(trueUtc) : o.cameraUtcOffsetS;
    return trueUtc + (wall + o.clockErrorS + o.driftSPerHour * hours) / kSecondsPerDay;
  };
  for (int day = 0; day < o.days; ++day) {
    const DateTimeValue start = at(2026, 10, 24, kDayStartUtcHour, 0, 0) + day;
    // Irregular, as people are: a regular rhythm would let a wrong offset line the stops up too.
    struct Cycle {
      int walkS, stopS;
    };
    std::vector<Cycle> cycles;
    int daySeconds = 0;
    for (int c = 0; c < o.cyclesPerDay; ++c) {
      cycles.push_back({walkS(random), stopS(random)});
      daySeconds += cycles.back().walkS + cycles.back().stopS;
    }
    std::vector<bool> walking;
    for (const Cycle& c : cycles) {
      walking.insert(walking.end(), static_cast<std::size_t>(c.walkS), true);
      walking.insert(walking.end(), static_cast<std::size_t>(c.stopS), false);
    }
    std::vector<TCoord> truth;  // one a second
    for (int s = 0; s <= daySeconds; ++s) {
      truth.push_back({lon, lat, 650.0f});
      if (s == daySeconds || !walking[static_cast<std::size_t>(s)]) continue;
      const double heading = 0.6 + 0.8 * std::sin(2.0 * std::numbers::pi * (s + day * 40000) / 3000.0);
      lat += kSpeedMs * std::cos(heading) / kMetresPerDegree;
      lon += kSpeedMs * std::sin(heading) / (kMetresPerDegree * std::cos(lat * std::numbers::pi / 180.0));
    }
    for (int s = 0; s <= daySeconds; s += kFixEveryS) {
      auto p = std::make_unique<TPuntVol>();
      p->position = truth[static_cast<std::size_t>(s)];
      p->position.lat += noise(random) / kMetresPerDegree;
      p->position.lon += noise(random) / kMetresPerDegree;
      p->time = TPuntTiempo::fromRecord(DateTimeRecord::fromValue(start + s / kSecondsPerDay));
      p->stateFlags = TPuntVol::kValidData;
      p->segmentStart = s == 0 ? 1 : 0;
      p->satellites = 9;
      p->hdop = 0.9f;
      trip.track->appendPoint(std::move(p));
    }
    auto truthAt = [&](double s) {
      const std::size_t i = static_cast<std::size_t>(std::floor(s));
      const double f = s - std::floor(s);
      const TCoord& a = truth[i];
      const TCoord& b = truth[std::min(i + 1, truth.size() - 1)];
      return TCoord{a.lon + f * (b.lon - a.lon), a.lat + f * (b.lat - a.lat), 650.0f};
    };
    auto addPhoto = [&](double approxS, bool reference) {
      // The camera writes whole seconds: pick its second, then find the true moment it stands for.
      const DateTimeValue shown = std::round(cameraAt(start + approxS / kSecondsPerDay) * kSecondsPerDay) / kSecondsPerDay;
      DateTimeValue trueUtc = start + approxS / kSecondsPerDay;
      for (int k = 0; k < 3; ++k) trueUtc += shown - cameraAt(trueUtc);
      const double s = (trueUtc - start) * kSecondsPerDay;
      TripPhoto photo;
      char name[32];
      std::snprintf(name, sizeof name, "d%d-%05.0f%s.jpg", day + 1, s, reference ? "-ref" : "");
      photo.name = name;
      photo.camera = DateTimeRecord::fromValue(shown);
      photo.trueUtc = trueUtc;
      photo.truePosition = truthAt(s);
      photo.reference = reference;
      trip.photos.push_back(photo);
    };
    int cycleStart = 0;
    for (const Cycle& c : cycles) {
      const double reference = cycleStart + 100 + unit(random) * (c.walkS - 200);
      const double standing = cycleStart + c.walkS + kStopMarginS + unit(random) * (c.stopS - 2 * kStopMarginS);
      if (o.references) addPhoto(reference, true);
      addPhoto(standing, false);
      cycleStart += c.walkS + c.stopS;
    }
  }
  std::string ignored;
  trip.track->Recalculate(TrackSettings{}, ignored);
  return trip;
}

void writeTripGpx(const Trip& trip, const std::filesystem::path& file) {
  std::ofstream out(file, std::ios::binary);
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<gpx version=\"1.1\" creator=\"test\" xmlns=\"http://www.topografix.com/GPX/1/1\">\n<trk><trkseg>\n";
  for (const TPuntVol& p : trip.track->points) {
    if (p.segmentStart && &p != &trip.track->point(0)) out << "</trkseg><trkseg>\n";
    const DateTimeRecord t = p.time.toRecord();
    char line[200];
    std::snprintf(line, sizeof line,
                  "<trkpt lat=\"%.8f\" lon=\"%.8f\"><ele>650</ele><time>%04d-%02d-%02dT%02d:%02d:%02.0fZ</time></trkpt>\n",
                  p.position.lat, p.position.lon, t.year, t.month, t.day, t.hour, t.minute, t.seconds);
    out << line;
  }
  out << "</trkseg></trk>\n</gpx>\n";
}

void writeTripPhotos(const Trip& trip, const std::filesystem::path& folder, const std::filesystem::path& baseJpeg) {
  std::filesystem::create_directories(folder);
  for (const TripPhoto& photo : trip.photos) {
    TJpegExif exif;
    std::string message;
    exif.Read(baseJpeg, message);
    const DateTimeRecord& c = photo.camera;
    char text[24];
    std::snprintf(text, sizeof text, "%04d:%02d:%02d %02d:%02d:%02.0f", c.year, c.month, c.day, c.hour, c.minute,
                  c.seconds);
    exif.SetTag(kExifIfd, kKeyDateTimeOriginal, kTypeAscii, 20, std::string_view(text, 20));
    if (photo.reference) exif.SetGpsWgs84(photo.truePosition);
    exif.Write(folder / photo.name, true, message);
  }
}

}  // namespace pixtrail::test
