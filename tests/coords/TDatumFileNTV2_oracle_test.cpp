// Forward NTv2 shifts against PROJ's cs2cs applying the same grid file.

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "coords/TDatumFileNTV2.hpp"
#include "core/text.hpp"
#include "tests/support/grid_builder.hpp"
#include "tests/support/oracle_output.hpp"

namespace pixtrail {
namespace {

struct Shifted {
  TCoord from, to;
};

// cs2cs prints "lon<TAB>lat alt" per input line, "*\t* inf" when the point is off the grid.
std::vector<std::optional<TCoord>> cs2csForward(const std::filesystem::path& grid, const std::vector<TCoord>& in) {
  std::ostringstream input;
  input.precision(17);
  for (const TCoord& p : in) input << p.lon << ' ' << p.lat << '\n';
  const auto out = test::oracleOutputFor("cs2cs", "ntv2_cs2cs.txt", "forward " + grid.filename().string(),
                                         "cs2cs -f %.12f +proj=longlat +ellps=GRS80 +nadgrids=" +
                                             test::shellQuote(grid.string()) + " +to +proj=longlat +datum=WGS84",
                                         input.str());
  EXPECT_EQ(out.status, 0) << out.err;
  std::vector<std::optional<TCoord>> result;
  std::istringstream lines(out.out);
  for (std::string line; std::getline(lines, line);) {
    const auto f = splitOnBlanks(line);
    const auto lon = f.size() >= 2 ? parseDouble(f[0]) : std::nullopt;
    const auto lat = f.size() >= 2 ? parseDouble(f[1]) : std::nullopt;
    result.push_back(lon && lat ? std::optional<TCoord>(TCoord{*lon, *lat, 0.0f}) : std::nullopt);
  }
  return result;
}

// Points spread over every sub-grid, kept only where a single sub-grid covers them: there PROJ
// (which prefers the most nested sub-grid) and the first-in-file rule must pick the same one.
std::vector<TCoord> pointsWithOneSubGrid(const TDatumFileNTV2& grid, int perAxis) {
  std::vector<TCoord> points;
  for (const TDatumSubRejilla& s : grid.subGrids()) {
    for (int i = 0; i < perAxis; ++i)
      for (int j = 0; j < perAxis; ++j) {
        const double lat = s.sLat + (s.nLat - s.sLat) * (i + 0.37) / perAxis;
        const double lonW = s.eLong + (s.wLong - s.eLong) * (j + 0.61) / perAxis;
        int covering = 0;
        for (const TDatumSubRejilla& other : grid.subGrids()) covering += other.containsSeconds(lat, lonW);
        if (covering == 1) points.push_back(TCoord{-lonW / 3600, lat / 3600, 0.0f});
      }
  }
  return points;
}

// roundTrip: the reverse must return the start point. Not for the synthetic test grids whose
// shifts (4 degrees) carry points off their own 3-degree grid.
// tolerance: 1e-8 degrees; PROJ keeps node shifts as float radians, which for the synthetic
// 4-degree shifts alone is off by up to half a float step, 2.1e-7 degrees.
void compareWithCs2cs(const std::filesystem::path& file, int perAxis, bool roundTrip,
                      double toleranceDeg = 1e-8) {
  TDatumFileNTV2 grid(file);
  std::string message;
  ASSERT_TRUE(grid.readHeader(message)) << message;
  const std::vector<TCoord> points = pointsWithOneSubGrid(grid, perAxis);
  ASSERT_GT(points.size(), 10u) << file;
  const auto theirs = cs2csForward(file, points);
  ASSERT_EQ(theirs.size(), points.size());
  int compared = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    TCoord ours = points[i];
    const bool inside = grid.applyForward(ours);
    // Both must agree on whether the point is on the grid at all.
    ASSERT_EQ(inside, theirs[i].has_value()) << file << " " << points[i].lat << "," << points[i].lon;
    if (!inside) continue;
    EXPECT_NEAR(ours.lat, theirs[i]->lat, toleranceDeg) << file << " " << points[i].lat << "," << points[i].lon;
    EXPECT_NEAR(ours.lon, theirs[i]->lon, toleranceDeg) << file << " " << points[i].lat << "," << points[i].lon;
    if (roundTrip) {
      TCoord back = ours;
      ASSERT_TRUE(grid.applyReverse(back)) << file << " " << points[i].lat << "," << points[i].lon;
      EXPECT_NEAR(back.lat, points[i].lat, 1e-9);
      EXPECT_NEAR(back.lon, points[i].lon, 1e-9);
    }
    ++compared;
  }
  EXPECT_GT(compared, 10) << file;
  std::printf("%s: %d points agree with cs2cs\n", file.filename().c_str(), compared);
}

TEST(Ntv2VersusCs2cs, RealGridsWithSeveralSubGridsAndBothByteOrders) {
  for (const char* name : {"ntv2_0_downsampled.gsb", "BETA2007.gsb", "ntf_r93.gsb"})
    compareWithCs2cs(test::testData(std::string("grids/") + name), 12, true);
  for (const char* name : {"test_hgrid_little_endian.gsb", "test_hgrid_big_endian.gsb"})
    compareWithCs2cs(test::testData(std::string("grids/") + name), 12, false, 2.2e-7);
}

TEST(Ntv2VersusCs2cs, GeneratedGridWithCurvedShiftsInBothByteOrders) {
  for (ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
    test::GridLayout layout;
    layout.order = order;
    test::SubGridLayout g;
    g.sLat = 40 * 3600, g.nLat = 42 * 3600, g.eLong = 3 * 3600, g.wLong = 6 * 3600;  // 3-6 W
    g.latInc = 450, g.longInc = 900;
    g.shift = [](double lat, double lonW, float& dLat, float& dLon) {
      dLat = static_cast<float>(2.0 * std::sin(lat / 5000.0) + 0.3 * std::cos(lonW / 3000.0));
      dLon = static_cast<float>(-1.5 * std::cos(lat / 4000.0) * std::sin(lonW / 7000.0));
    };
    layout.subGrids = {g};
    test::TempDir dir;
    const auto file = dir / (order == ByteOrder::little ? "generated_le.gsb" : "generated_be.gsb");
    test::writeFileBytes(file, test::buildNtv2Grid(layout));
    compareWithCs2cs(file, 15, true);
  }
}

}  // namespace
}  // namespace pixtrail
