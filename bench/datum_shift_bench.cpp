// Datum shifts per point, single thread: the table's Molodensky shift and an NTv2 grid shift,
// each beside PROJ doing the equivalent operation through its C API on the same points.
// PROJ gets its fastest path: whole arrays through proj_trans_generic, inputs already in radians.

#include <benchmark/benchmark.h>
#include <proj.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "coords/TDatumFileNTV2.hpp"
#include "coords/TListaDatums.hpp"
#include "core/angles.hpp"

namespace {

using namespace pixtrail;

constexpr std::size_t kPoints = 4096;

std::vector<TCoord> randomPoints(double latMin, double latMax, double lonMin, double lonMax) {
  std::mt19937 rng(42);
  std::uniform_real_distribution<double> lat(latMin, latMax), lon(lonMin, lonMax);
  std::vector<TCoord> points(kPoints);
  for (TCoord& p : points) p = TCoord{lon(rng), lat(rng), 0.0f};
  return points;
}

const std::vector<TCoord>& europe() {
  static const std::vector<TCoord> points = randomPoints(36.0, 60.0, -9.0, 25.0);
  return points;
}
const std::vector<TCoord>& france() {
  static const std::vector<TCoord> points = randomPoints(42.5, 50.5, -4.5, 8.0);
  return points;
}

// European 1950 -> WGS 84 with the numbers of the shipped table.
constexpr double kEd50A = 6378388.0, kEd50Rf = 297.0, kDx = -87, kDy = -98, kDz = -121;

const TListaDatums& table() {
  static const TListaDatums t = [] {
    TListaDatums l;
    l.appendDatum(TDatum());
    TDatum ed50;
    ed50.name = "European 1950";
    ed50.a = kEd50A, ed50.inverseFlattening = kEd50Rf, ed50.dX = kDx, ed50.dY = kDy, ed50.dZ = kDz;
    l.appendDatum(ed50);
    return l;
  }();
  return t;
}

void ours(benchmark::State& state, const std::vector<TCoord>& points, const auto& shift) {
  std::vector<TCoord> work(points.size());
  for (auto _ : state) {
    std::copy(points.begin(), points.end(), work.begin());
    for (TCoord& p : work) shift(p);
    benchmark::DoNotOptimize(work.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * points.size()));
}

void theirs(benchmark::State& state, const std::vector<TCoord>& points, const std::string& definition) {
  PJ_CONTEXT* ctx = proj_context_create();
  PJ* op = proj_create(ctx, definition.c_str());
  if (op == nullptr) {
    state.SkipWithError(("PROJ refused: " + definition).c_str());
    proj_context_destroy(ctx);
    return;
  }
  std::vector<double> lam(points.size()), phi(points.size());
  for (auto _ : state) {
    for (std::size_t i = 0; i < points.size(); ++i) lam[i] = points[i].lon * kRadPerDeg, phi[i] = points[i].lat * kRadPerDeg;
    proj_trans_generic(op, PJ_FWD, lam.data(), sizeof(double), lam.size(), phi.data(), sizeof(double), phi.size(),
                       nullptr, 0, 0, nullptr, 0, 0);
    benchmark::DoNotOptimize(lam.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * points.size()));
  proj_destroy(op);
  proj_context_destroy(ctx);
}

void BM_Molodensky_Pixtrail(benchmark::State& state) {
  const TListaDatums& t = table();
  std::string message;
  ours(state, europe(), [&](TCoord& p) { t.Transforma_Grados_Datum(p, 1, 0, message); });
}
BENCHMARK(BM_Molodensky_Pixtrail);

// A whole array at once, as a track changes datum.
void BM_MolodenskyMany_Pixtrail(benchmark::State& state) {
  const TListaDatums& t = table();
  const std::vector<TCoord>& points = europe();
  std::vector<TCoord> work(points.size());
  std::string message;
  for (auto _ : state) {
    std::copy(points.begin(), points.end(), work.begin());
    t.Transforma_Grados_Datum(std::span<TCoord>(work), 1, 0, message);
    benchmark::DoNotOptimize(work.data());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * points.size()));
}
BENCHMARK(BM_MolodenskyMany_Pixtrail);

void BM_Molodensky_Proj(benchmark::State& state) {
  const double da = 6378137.0 - kEd50A, df = 1 / 298.257223563 - 1 / kEd50Rf;
  theirs(state, europe(),
         "+proj=molodensky +a=6378388 +rf=297 +da=" + std::to_string(da) + " +df=" + std::to_string(df) +
             " +dx=-87 +dy=-98 +dz=-121");
}
BENCHMARK(BM_Molodensky_Proj);

void BM_Helmert3_Proj(benchmark::State& state) {
  theirs(state, europe(),
         "+proj=pipeline +step +proj=cart +a=6378388 +rf=297 +step +proj=helmert +x=-87 +y=-98 +z=-121 "
         "+step +inv +proj=cart +ellps=WGS84");
}
BENCHMARK(BM_Helmert3_Proj);

const TDatumFileNTV2& grid() {
  static const auto g = [] {
    auto file = std::make_unique<TDatumFileNTV2>(PIXTRAIL_BENCH_GRID);
    std::string message;
    file->readHeader(message);
    TCoord warm{2.35, 48.85, 0.0f};
    file->applyForward(warm);  // loads the sub-grids outside the timing
    return file;
  }();
  return *g;
}

void BM_Ntv2_Pixtrail(benchmark::State& state) {
  const TDatumFileNTV2& g = grid();
  if (!g.usable()) return state.SkipWithError("grid file unusable");
  ours(state, france(), [&](TCoord& p) { g.applyForward(p); });
}
BENCHMARK(BM_Ntv2_Pixtrail);

void BM_Ntv2Reverse_Pixtrail(benchmark::State& state) {
  const TDatumFileNTV2& g = grid();
  if (!g.usable()) return state.SkipWithError("grid file unusable");
  ours(state, france(), [&](TCoord& p) { g.applyReverse(p); });
}
BENCHMARK(BM_Ntv2Reverse_Pixtrail);

void BM_Ntv2_Proj(benchmark::State& state) {
  theirs(state, france(), std::string("+proj=hgridshift +grids=") + PIXTRAIL_BENCH_GRID);
}
BENCHMARK(BM_Ntv2_Proj);

}  // namespace

BENCHMARK_MAIN();
