#include "coords/TDatumFileNTV2.hpp"

#include <gtest/gtest.h>

#include "tests/support/grid_builder.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::GridSpec;
using test::SubGridSpec;

// A field that bilinear interpolation reproduces exactly: node values are multiples of 1/16 s
// (exact in float), so the expected shift anywhere is this formula itself.
constexpr double kS = 36000, kE = 7200, kStep = 600;  // 10 N, 2 W (positive west), 10' cells
double fieldLat(double lat, double lonW) {
  const double u = (lat - kS) / kStep, v = (lonW - kE) / kStep;
  return 1.5 + 0.25 * u + 0.125 * v + 0.0625 * u * v;
}
double fieldLon(double lat, double lonW) {
  const double u = (lat - kS) / kStep, v = (lonW - kE) / kStep;
  return -2.0 + 0.5 * u - 0.1875 * v + 0.03125 * u * v;
}
SubGridSpec linearSubGrid() {
  SubGridSpec g;
  g.sLat = kS, g.nLat = kS + 6 * kStep, g.eLong = kE, g.wLong = kE + 6 * kStep;
  g.latInc = g.longInc = kStep;
  g.shift = [](double lat, double lonW, float& dLat, float& dLon) {
    dLat = static_cast<float>(fieldLat(lat, lonW));
    dLon = static_cast<float>(fieldLon(lat, lonW));
  };
  return g;
}
std::unique_ptr<TDatumFileNTV2> gridFrom(const GridSpec& spec) {
  auto grid = TDatumFileNTV2::fromBytes(test::buildNtv2Grid(spec));
  std::string message;
  EXPECT_TRUE(grid->readHeader(message)) << message;
  return grid;
}

TEST(Ntv2Grid, ForwardInterpolatesBilinearlyInBothByteOrders) {
  for (ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
    GridSpec spec;
    spec.order = order;
    spec.subGrids = {linearSubGrid()};
    const auto grid = gridFrom(spec);
    EXPECT_EQ(grid->sourceName(), "SOURCE");
    EXPECT_EQ(grid->targetName(), "WGS84");
    EXPECT_EQ(grid->state(), TDatumFileNTV2::State::headerRead);  // sub-grids wait for first use
    // lat, lon in degrees: a node, mid-cell, a cell's south-east corner region, near the edges.
    const TCoord points[] = {{-2.0, 10.0}, {-2.05, 10.05}, {-2.9999, 10.9}, {-2.123456, 10.654321},
                             {-2.99, 10.99}};
    for (const TCoord& p : points) {
      TCoord q = p;
      ASSERT_TRUE(grid->applyForward(q)) << p.lat << "," << p.lon;
      const double lat = p.lat * 3600, lonW = -p.lon * 3600;
      EXPECT_NEAR(q.lat, (lat + fieldLat(lat, lonW)) / 3600, 1e-12);
      EXPECT_NEAR(q.lon, -(lonW + fieldLon(lat, lonW)) / 3600, 1e-12);
      EXPECT_EQ(q.alt, p.alt);
    }
    EXPECT_EQ(grid->state(), TDatumFileNTV2::State::subGridsLoaded);
  }
}

TEST(Ntv2Grid, ReverseUndoesForwardToWithinTheTolerance) {
  GridSpec spec;
  spec.subGrids = {linearSubGrid()};
  const auto grid = gridFrom(spec);
  for (double lat = 10.01; lat < 10.99; lat += 0.097)
    for (double lon = -2.98; lon < -2.01; lon += 0.089) {
      TCoord p{lon, lat, 0.0f};
      ASSERT_TRUE(grid->applyForward(p));
      ASSERT_TRUE(grid->applyReverse(p));
      EXPECT_NEAR(p.lat, lat, 1e-9);
      EXPECT_NEAR(p.lon, lon, 1e-9);
    }
}

TEST(Ntv2Grid, PointsWithoutACellAroundThemAreOutside) {
  GridSpec spec;
  spec.subGrids = {linearSubGrid()};
  const auto grid = gridFrom(spec);
  const TCoord outside[] = {
      {-2.5, 9.999},   // south of the grid
      {-2.5, 11.0},    // exactly on the north edge: no row above it
      {-1.999, 10.5},  // east of the grid
      {-3.0, 10.5},    // exactly on the west edge: no column beyond it
      {-2.5, 89.0}};
  for (const TCoord& p : outside) {
    TCoord q = p;
    EXPECT_FALSE(grid->applyForward(q)) << p.lat << "," << p.lon;
    EXPECT_EQ(q, p);
  }
}

TEST(Ntv2Grid, FirstSubGridInFileOrderWins) {
  SubGridSpec parent = linearSubGrid();
  SubGridSpec child = linearSubGrid();
  child.name = "CHILD";
  child.parent = "SUBGRID";
  child.sLat = kS + kStep, child.nLat = kS + 3 * kStep, child.eLong = kE + kStep, child.wLong = kE + 3 * kStep;
  child.latInc = child.longInc = kStep / 2;
  child.shift = [](double, double, float& dLat, float& dLon) { dLat = 100, dLon = 100; };
  GridSpec spec;
  spec.subGrids = {parent, child};
  const auto grid = gridFrom(spec);
  ASSERT_EQ(grid->subGrids().size(), 2u);
  TCoord p{-2.25, 10.25, 0.0f};  // inside both
  ASSERT_TRUE(grid->applyForward(p));
  EXPECT_NEAR(p.lat, 10.25 + fieldLat(10.25 * 3600, 2.25 * 3600) / 3600, 1e-12);

  spec.subGrids = {child, parent};
  const auto reversed = gridFrom(spec);
  TCoord q{-2.25, 10.25, 0.0f};
  ASSERT_TRUE(reversed->applyForward(q));
  EXPECT_NEAR(q.lat, 10.25 + 100.0 / 3600, 1e-12);
}

TEST(Ntv2Grid, DamagedFilesBecomeUnusableAndStaySo) {
  GridSpec spec;
  spec.subGrids = {linearSubGrid()};
  const std::string good = test::buildNtv2Grid(spec);
  std::string message;

  const struct {
    std::string bytes;
    bool headerOk;
    const char* why;
  } rows[] = {
      {good.substr(0, good.size() - 100), true, "nodes cut short: found on first use"},
      {good.substr(0, 16 * 11 + 40), true, "sub-grid header cut short"},
      {"NUM_OREX" + good.substr(8), false, "first record is not NUM_OREC"},
      {good.substr(0, 40), false, "overview header cut short"},
      {std::string(), false, "empty file"},
  };
  for (const auto& r : rows) {
    auto grid = TDatumFileNTV2::fromBytes(r.bytes);
    EXPECT_EQ(grid->readHeader(message), r.headerOk) << r.why;
    TCoord p{-2.5, 10.5, 0.0f};
    EXPECT_FALSE(grid->applyForward(p)) << r.why;
    EXPECT_FALSE(grid->applyReverse(p)) << r.why;
    EXPECT_EQ(grid->state(), TDatumFileNTV2::State::unusable) << r.why;
    EXPECT_TRUE(grid->subGrids().empty()) << r.why;
  }

  GridSpec none;  // NUM_FILE 0
  auto empty = TDatumFileNTV2::fromBytes(test::buildNtv2Grid(none));
  EXPECT_FALSE(empty->readHeader(message));
  EXPECT_FALSE(empty->usable());
  EXPECT_TRUE(message.empty()) << "an unusable grid is silent: " << message;
}

TEST(Ntv2Grid, MissingFileReportsItsName) {
  test::TempDir dir;
  TDatumFileNTV2 grid(dir / "absent.gsb");
  std::string message;
  EXPECT_FALSE(grid.readHeader(message));
  EXPECT_EQ(message, "Error opening " + (dir / "absent.gsb").string());
  EXPECT_FALSE(grid.usable());
}

TEST(Ntv2Grid, RealTestGridsAgreeAcrossByteOrders) {
  TDatumFileNTV2 little(test::testData("grids/test_hgrid_little_endian.gsb"));
  TDatumFileNTV2 big(test::testData("grids/test_hgrid_big_endian.gsb"));
  std::string message;
  ASSERT_TRUE(little.readHeader(message)) << message;
  ASSERT_TRUE(big.readHeader(message)) << message;
  ASSERT_EQ(little.subGrids().size(), 1u);
  ASSERT_EQ(big.subGrids().size(), 1u);
  EXPECT_EQ(little.subGrids()[0].rows, 4);
  EXPECT_EQ(little.subGrids()[0].columns, 4);
  EXPECT_EQ(little.subGrids()[0].nodes, big.subGrids()[0].nodes);
  TCoord a{5.5, 53.5, 0.0f}, b = a;
  ASSERT_TRUE(little.applyForward(a));
  ASSERT_TRUE(big.applyForward(b));
  EXPECT_EQ(a, b);
}

}  // namespace
}  // namespace pixtrail
