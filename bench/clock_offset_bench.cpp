// The camera clock estimators on generated trips (tests/support/generated_trip): a fix every 5 s,
// two photos per walk-and-stop cycle, half of them phone references. The floor beside them is one
// plain placement pass over the same photos (what geotag does once the offset is known).
#include <benchmark/benchmark.h>

#include "app/clock_offset.hpp"
#include "tests/support/generated_trip.hpp"

namespace {
using namespace pixtrail;

struct TripData {
  explicit TripData(int days) {
    test::TripOptions o;
    o.days = days;
    o.clockErrorS = 47;
    o.driftSPerHour = 2;
    test::Trip trip = test::makeTrip(o);
    std::string message;
    zone.set("Europe/Madrid", message);
    for (const test::TripPhoto& p : trip.photos) {
      DateTimeValue camera = 0;
      p.camera.toValue(camera);
      samples.push_back({p.name, zone.toUtc(camera), p.reference, p.truePosition});
      alone.push_back({p.name, zone.toUtc(camera), false, {}});
    }
    tracks.add(std::move(trip.track));
  }
  VectorP<TVolGPS> tracks;
  TimeZone zone;
  std::vector<ClockSample> samples, alone;
};

// The timeline is made once the track is there.
struct Setup : TripData {
  explicit Setup(int days) : TripData(days) {}
  TrackTimeline timeline{tracks, {TrackTimeScale::Utc}, zone, TrackSettings{}};
};

Setup& setup(int days) {
  static Setup two(2), seven(7);  // built once, outside the timings
  return days == 2 ? two : seven;
}

void placementPass(benchmark::State& state) {
  Setup& s = setup(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(scoreOffset(s.samples, s.timeline, {-47, -2, 0}));
  state.counters["photos"] = static_cast<double>(s.samples.size());
  state.counters["points"] = static_cast<double>(s.tracks[0].pointCount());
}
void fromReferences(benchmark::State& state) {
  Setup& s = setup(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(estimateFromReferences(s.samples, s.timeline));
}
void fromPhotosAlone(benchmark::State& state) {
  Setup& s = setup(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(estimateFromPhotos(s.alone, s.timeline));
}
void checkWithoutReferences(benchmark::State& state) {
  Setup& s = setup(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(checkOffset(s.alone, s.timeline, {0, 0, 0}));
}

BENCHMARK(placementPass)->Arg(2)->Arg(7)->Unit(benchmark::kMillisecond);
BENCHMARK(fromReferences)->Arg(2)->Arg(7)->Unit(benchmark::kMillisecond);
BENCHMARK(fromPhotosAlone)->Arg(2)->Arg(7)->Unit(benchmark::kMillisecond);
BENCHMARK(checkWithoutReferences)->Arg(2)->Arg(7)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
