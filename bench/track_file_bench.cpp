// Reading and writing a native track file of 1,000,000 points. The file is made once in the folder
// named by PIXTRAIL_BENCH_DIR (default: the system's temporary folder) and kept for the shell
// script that times cat, wc -l and cp on the same bytes (bench/track_file_bench.sh).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/SafeFile.hpp"
#include "tracks/track_file_native.hpp"

namespace {
using namespace pixtrail;
constexpr std::size_t kPoints = 1000000;

// What saving a native track does: the text, then a temporary file renamed over the target.
bool writeNative(const TVolGPS& track, const std::filesystem::path& file, std::string& message) {
  std::string text;
  return formatNativeTrack(track, {}, text, message) && writeFileSafely(file, text, {}, message);
}

std::filesystem::path benchDir() {
  const char* dir = std::getenv("PIXTRAIL_BENCH_DIR");
  return dir && *dir ? std::filesystem::path(dir) : std::filesystem::temp_directory_path();
}

// A walk with a fix every second, realistic attributes and a new segment every 10,000 points.
TVolGPS makeTrack() {
  TVolGPS t;
  t.headerText('P') = "Benchmark";
  t.points.reserve(kPoints);
  for (std::size_t i = 0; i < kPoints; ++i) {
    auto p = std::make_unique<TPuntVol>();
    const double k = static_cast<double>(i);
    p->position = {-3.7 + k * 1.1e-6, 40.4 + k * 0.7e-6, 0};
    const std::size_t s = i % 86400;
    p->time = {0, 1 + static_cast<int>(i / 86400) % 28, 6, 2024, static_cast<int>(s / 3600),
               static_cast<int>(s / 60 % 60), static_cast<float>(s % 60)};
    p->setAltitude(650.0f + static_cast<float>(i % 500) * 0.5f);
    p->segmentStart = i % 10000 == 0;
    p->speedMs = 1.25f;
    p->heartRate = static_cast<std::int16_t>(100 + i % 60);
    t.appendPoint(std::move(p));
  }
  return t;
}

const std::filesystem::path& benchFile() {
  static const std::filesystem::path file = [] {
    const std::filesystem::path f = benchDir() / "pixtrail-bench-1M.TRK";
    if (!std::filesystem::exists(f)) {
      std::string message;
      writeNative(makeTrack(), f, message);
    }
    return f;
  }();
  return file;
}

void BM_ReadNativeTrack(benchmark::State& state) {
  const std::filesystem::path& file = benchFile();
  for (auto _ : state) {
    TVolGPS t;
    FileCoordinates coordinates;
    std::string message;
    std::FILE* in = openRegularFile(file, message);
    if (in == nullptr) state.SkipWithError(message.c_str());
    readNativeTrackStream(in, file.string(), t, coordinates, message);
    std::fclose(in);
    if (t.pointCount() != kPoints) state.SkipWithError("points lost");
    benchmark::DoNotOptimize(t.pointCount());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPoints));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * std::filesystem::file_size(file)));
}

void BM_WriteNativeTrack(benchmark::State& state) {
  const TVolGPS track = makeTrack();
  const std::filesystem::path target = benchDir() / "pixtrail-bench-write.TRK";
  for (auto _ : state) {
    std::string message;
    if (!writeNative(track, target, message)) state.SkipWithError(message.c_str());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPoints));
  std::filesystem::remove(target);
}

BENCHMARK(BM_ReadNativeTrack)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(5);
BENCHMARK(BM_WriteNativeTrack)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(5);
}  // namespace

int main(int argc, char** argv) {
  benchmark::AddCustomContext("point_record_bytes", std::to_string(sizeof(pixtrail::TPuntVol)));
  benchmark::AddCustomContext("bench_file", benchFile().string());
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
