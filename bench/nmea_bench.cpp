// Sentences per second through the NMEA protocol object on a day-long mixed log (bench/nmea_log.hpp).
// `nmea_bench --write-log FILE` writes that log instead, for timing the command line against peers.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "bench/nmea_log.hpp"
#include "devices/TProtocoloNMEA.hpp"

namespace {

using namespace pixtrail;

const std::string& log() {
  static const std::string text = bench::NmeaLogGenerator().generate();
  return text;
}

std::vector<std::string_view> lines() {
  std::vector<std::string_view> out;
  std::string_view rest = log();
  while (!rest.empty()) {
    const std::size_t lf = rest.find('\n');
    out.push_back(rest.substr(0, lf + 1));
    rest.remove_prefix(lf + 1);
  }
  return out;
}

void BM_ProtocolWholeLog(benchmark::State& state) {
  const auto all = lines();
  std::int64_t changed = 0;
  for (auto _ : state) {
    TProtocoloNMEA protocol;
    TDatosGPSActual fix;
    int count = 0;
    std::string previous;
    for (const std::string_view line : all) changed += protocol.processLine(line, fix, count, previous);
    benchmark::DoNotOptimize(fix);
  }
  benchmark::DoNotOptimize(changed);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(all.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(log().size()));
}
BENCHMARK(BM_ProtocolWholeLog)->Unit(benchmark::kMillisecond);

void BM_LineParserOnly(benchmark::State& state) {
  const auto all = lines();
  TComandaNMEA_Rx sentence;
  TErrorNMEA error;
  std::int64_t good = 0;
  for (auto _ : state)
    for (const std::string_view line : all) good += sentence.Parse(line, error) && sentence.checksumCorrect();
  benchmark::DoNotOptimize(good);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(all.size()));
}
BENCHMARK(BM_LineParserOnly)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--write-log") == 0) {
    std::FILE* out = std::fopen(argv[2], "wb");
    if (out == nullptr) {
      std::fprintf(stderr, "Error opening %s\n", argv[2]);
      return 2;
    }
    const bool ok = std::fwrite(log().data(), 1, log().size(), out) == log().size();
    return std::fclose(out) == 0 && ok ? 0 : 2;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
