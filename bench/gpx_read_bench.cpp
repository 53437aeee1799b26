// Reading GPX tracks. "--write-gpx N FILE" writes a GPX of N points (about 100 bytes each);
// "--read-once FILE" reads FILE once and prints the point count, so that bench/gpx_bench.sh can
// time it and its peers (cat, grep, gpsbabel) in one run.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tracks/track_file_dispatch.hpp"
#include "core/SafeFile.hpp"
#include "tracks/track_format_gpx.hpp"

namespace {

// One point per second from 2020-03-01, a new segment every 100,000 points.
template <typename Sink>
void generateGpx(int points, Sink&& sink) {
  sink("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<gpx version=\"1.1\" creator=\"bench\" "
       "xmlns=\"http://www.topografix.com/GPX/1/1\">\n<trk><name>bench</name><trkseg>\n");
  char line[200];
  for (int i = 0; i < points; ++i) {
    if (i > 0 && i % 100000 == 0) sink("</trkseg><trkseg>\n");
    std::snprintf(line, sizeof line,
                  "  <trkpt lat=\"%.7f\" lon=\"%.7f\"><ele>%.1f</ele>"
                  "<time>2020-03-%02dT%02d:%02d:%02dZ</time></trkpt>\n",
                  45 + (i % 100000) * 1e-5, 7 + (i / 100000) * 1e-3, 100 + (i % 500) * 0.1,
                  1 + i / 86400 % 28, i / 3600 % 24, i / 60 % 60, i % 60);
    sink(line);
  }
  sink("</trkseg></trk></gpx>\n");
}

std::string generatedGpx(int points) {
  std::string text;
  generateGpx(points, [&](const char* s) { text += s; });
  return text;
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
  if (argc == 4 && std::strcmp(argv[1], "--write-gpx") == 0) {
    std::FILE* f = std::fopen(argv[3], "wb");
    if (!f) return 1;
    generateGpx(std::atoi(argv[2]), [&](const char* s) { std::fputs(s, f); });
    return std::fclose(f) == 0 ? 0 : 1;
  }
  if (argc == 3 && std::strcmp(argv[1], "--read-once") == 0) {
    pixtrail::TVolGPS track;
    std::string message;
    std::FILE* in = pixtrail::openRegularFile(argv[2], message);
    const bool ok = in != nullptr && pixtrail::readGpxTrackStream(in, argv[2], track, message);
    if (in != nullptr) std::fclose(in);
    if (!ok) {
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
