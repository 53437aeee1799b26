// UTM forward and inverse per point, single thread, on the same million points (all in zone 31,
// WGS 84): our projection, a bare inline evaluation of the same series (the floor), GeographicLib's
// TransverseMercator::UTM() and PROJ's proj_trans_generic over a +proj=utm operation.
// Times are CPU time (the machine is shared). Run:
//   build/bench/projection_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
#include <GeographicLib/TransverseMercator.hpp>
#include <benchmark/benchmark.h>
#include <proj.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "coords/TListaDatums.hpp"
#include "coords/TProyeccionUTM.hpp"
#include "core/angles.hpp"

namespace {

using namespace pixtrail;

constexpr std::size_t kPoints = 1'000'000;

struct Sample {
  std::vector<double> lon, lat;   // degrees
  std::vector<double> x, y;       // our UTM of them, for the inverse benchmarks
};

const Sample& sample() {
  static const Sample s = [] {
    std::string message;
    if (!datumTable().load(PIXTRAIL_BUILD_DATA_DIR, message)) {
      std::fprintf(stderr, "%s\n", message.c_str());
      std::exit(1);
    }
    Sample out;
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> lon(0.0001, 5.9999), lat(0.5, 83.5);
    for (std::size_t i = 0; i < kPoints; ++i) {
      out.lon.push_back(lon(random));
      out.lat.push_back(lat(random));
      GridCoord g;
      geographicToUtm({out.lon.back(), out.lat.back()}, 0, 0, g, message);
      out.x.push_back(g.x);
      out.y.push_back(g.y);
    }
    return out;
  }();
  return s;
}

void perPoint(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPoints));
  state.counters["ns_per_point"] = benchmark::Counter(
      static_cast<double>(state.iterations() * kPoints), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void OursForward(benchmark::State& state) {
  const Sample& s = sample();
  std::string message;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      GridCoord g;
      geographicToUtm({s.lon[i], s.lat[i]}, 0, 0, g, message);
      benchmark::DoNotOptimize(g);
    }
  }
  perPoint(state);
}

void OursInverse(benchmark::State& state) {
  const Sample& s = sample();
  std::string message;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      TCoord p;
      utmToGeographic({s.x[i], s.y[i], 0, 31, 'T'}, 0, 0, p, message);
      benchmark::DoNotOptimize(p);
    }
  }
  perPoint(state);
}

// The same series as ours with every constant folded by hand: what the projection objects, the
// zone rules and the datum handling are measured against.
void BareSeriesForward(benchmark::State& state) {
  const Sample& s = sample();
  const double a = 6378137.0, f = 1 / 298.257223563, e2 = 2 * f - f * f, ep2 = e2 / (1 - e2);
  const double e4 = e2 * e2, e6 = e4 * e2;
  const double m0 = a * (1 - e2 / 4 - 3 * e4 / 64 - 5 * e6 / 256), m2 = a * (3 * e2 / 8 + 3 * e4 / 32 + 45 * e6 / 1024);
  const double m4 = a * (15 * e4 / 256 + 45 * e6 / 1024), m6 = a * (35 * e6 / 3072), k0 = 0.9996;
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      const double phi = s.lat[i] * kRadPerDeg, dlam = (s.lon[i] - 3) * kRadPerDeg;
      const double sn = std::sin(phi), cs = std::cos(phi), tn = sn / cs;
      const double n = a / std::sqrt(1 - e2 * sn * sn);
      const double A = dlam * cs, T = tn * tn, C = ep2 * cs * cs;
      const double A2 = A * A, A3 = A2 * A, A4 = A2 * A2, A5 = A4 * A, A6 = A4 * A2;
      const double sin2 = 2 * sn * cs, cos2 = cs * cs - sn * sn;  // the same identities as ours
      const double sin4 = 2 * sin2 * cos2, cos4 = cos2 * cos2 - sin2 * sin2, sin6 = sin4 * cos2 + cos4 * sin2;
      const double m = m0 * phi - m2 * sin2 + m4 * sin4 - m6 * sin6;
      const double x = k0 * n * (A + (1 - T + C) * A3 / 6 + (5 - 18 * T + T * T + 72 * C - 58 * ep2) * A5 / 120) + 500000;
      const double y = k0 * (m + n * tn * (A2 / 2 + (5 - T + 9 * C + 4 * C * C) * A4 / 24 +
                                           (61 - 58 * T + T * T + 600 * C - 330 * ep2) * A6 / 720));
      benchmark::DoNotOptimize(x);
      benchmark::DoNotOptimize(y);
    }
  }
  perPoint(state);
}

void GeographicLibForward(benchmark::State& state) {
  const Sample& s = sample();
  const GeographicLib::TransverseMercator& utm = GeographicLib::TransverseMercator::UTM();
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      const int zone = static_cast<int>(std::floor(s.lon[i] / 6)) + 31;
      double x = 0, y = 0;
      utm.Forward(zone * 6 - 183, s.lat[i], s.lon[i], x, y);
      benchmark::DoNotOptimize(x += 500000);
      benchmark::DoNotOptimize(y);
    }
  }
  perPoint(state);
}

void GeographicLibInverse(benchmark::State& state) {
  const Sample& s = sample();
  const GeographicLib::TransverseMercator& utm = GeographicLib::TransverseMercator::UTM();
  for (auto _ : state) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      double lat = 0, lon = 0;
      utm.Reverse(3, s.x[i] - 500000, s.y[i], lat, lon);
      benchmark::DoNotOptimize(lat);
      benchmark::DoNotOptimize(lon);
    }
  }
  perPoint(state);
}

void Proj(benchmark::State& state, PJ_DIRECTION direction) {
  const Sample& s = sample();
  PJ* pj = proj_create(PJ_DEFAULT_CTX, "+proj=utm +zone=31 +ellps=WGS84");
  if (pj == nullptr) {
    state.SkipWithError("proj_create failed");
    return;
  }
  std::vector<double> u(kPoints), v(kPoints);
  for (auto _ : state) {
    state.PauseTiming();
    for (std::size_t i = 0; i < kPoints; ++i) {
      u[i] = direction == PJ_FWD ? s.lon[i] * kRadPerDeg : s.x[i];  // PROJ takes radians
      v[i] = direction == PJ_FWD ? s.lat[i] * kRadPerDeg : s.y[i];
    }
    state.ResumeTiming();
    proj_trans_generic(pj, direction, u.data(), sizeof(double), kPoints, v.data(), sizeof(double), kPoints,
                       nullptr, 0, 0, nullptr, 0, 0);
    benchmark::DoNotOptimize(u.data());
  }
  proj_destroy(pj);
  perPoint(state);
}

void ProjForward(benchmark::State& state) { Proj(state, PJ_FWD); }
void ProjInverse(benchmark::State& state) { Proj(state, PJ_INV); }

BENCHMARK(OursForward)->Unit(benchmark::kMillisecond);
BENCHMARK(BareSeriesForward)->Unit(benchmark::kMillisecond);
BENCHMARK(GeographicLibForward)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjForward)->Unit(benchmark::kMillisecond);
BENCHMARK(OursInverse)->Unit(benchmark::kMillisecond);
BENCHMARK(GeographicLibInverse)->Unit(benchmark::kMillisecond);
BENCHMARK(ProjInverse)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
