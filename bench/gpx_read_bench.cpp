// Reading GPX tracks. With "--read-once FILE" it reads FILE once and prints the point count, so
// that scripts/bench-gpx-read.sh can time it and its peers (cat, grep, gpsbabel) in one run.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "tracks/track_file_dispatch.hpp"
#include "tracks/track_format_gpx.hpp"

namespace {

std::string generatedGpx(int points) {
  std::string text =
      "<?xml version=\"1.0\"?>\n<gpx version=\"1.1\" xmlns=\"http://www.topografix.com/GPX/1/1\">"
      "<trk><trkseg>\n";
  char line[200];
  for (int i = 0; i < points; ++i) {
    std::snprintf(line, sizeof line,
                  "<trkpt lat=\"%.7f\" lon=\"%.7f\"><ele>%.1f</ele>"
                  "<time>2020-03-01T%02d:%02d:%02dZ</time></trkpt>\n",
                  45 + i * 1e-6, 7 + i * 1e-6, 100 + (i % 500) * 0.1, i / 3600 % 24, i / 60 % 60,
                  i % 60);
    text += line;
  }
  return text + "</trkseg></trk></gpx>\n";
}

void BM_ReadGpx(benchmark::State& state) {
  const std::string text = generatedGpx(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    pixtrail::TVolGPS track;
    std::string message;
    if (!pixtrail::readGpxTrackText(text, track, message)) state.SkipWithError(message.c_str());
    benchmark::DoNotOptimize(track.pointCount());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_ReadGpx)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--read-once") == 0) {
    pixtrail::TVolGPS track;
    std::string message;
    if (!pixtrail::readGpxTrack(argv[2], track, {}, message)) {
      std::fprintf(stderr, "%s\n", message.c_str());
      return 1;
    }
    std::printf("%zu\n", track.pointCount());
    return 0;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
