// The coordinate subcommands as scripts use them: one input per argument set or per stdin line.
#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

class CoordCommands : public testing::Test {
 protected:
  test::TempDir dir;
  test::CommandOutput run(const std::string& arguments, const std::string& input = "") {
    return test::runPixtrail("--config " + test::shellQuote((dir / "gps.ini").string()) + " coord " + arguments,
                             input);
  }
};

TEST_F(CoordCommands, ProjectAndUnproject) {
  // GeoConvert -u -p 4 gives 31n 500000.0000 4538757.0621 for 41N 3E.
  auto r = run("project --proj UTM 41 3");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "500000.0000 4538757.0621 31 T\n");
  r = run("unproject --proj UTM 500000 4538757.0621 31 T");
  EXPECT_EQ(r.status, 0) << r.err;
  double lat = 0, lon = 0;
  std::istringstream(r.out) >> lat >> lon;
  EXPECT_NEAR(lat, 41, 1e-8);
  EXPECT_NEAR(lon, 3, 1e-8);
  // cs2cs +proj=lcc +lat_1=33 +lat_2=45 +lat_0=23 +lon_0=-96 +datum=WGS84: 509260.0233 1913936.9609
  r = run("project --proj 'Lambert 2SP' --param lat1=33 --param lat2=45 --param lat0=23 --param lon0=-96 40 -90");
  EXPECT_EQ(r.out, "509260.0233 1913936.9609\n") << r.err;
  r = run("unproject --proj UTM 500000 9886785 31 T");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("utm.y superior a 9886785"), std::string::npos);
}

TEST_F(CoordCommands, UsageErrorsExitTwo) {
  EXPECT_EQ(run("project --proj Nope 1 2").status, 2);
  EXPECT_EQ(run("project --proj UTM --param zone=99 1 2").status, 2);
  EXPECT_EQ(run("project --proj UTM --datum 'No Such Datum' 1 2").status, 2);
  EXPECT_EQ(run("project --proj UTM 1").status, 2);
  EXPECT_EQ(run("grid --proj UTM 52 1").status, 2) << "UTM has no letter references";
}

TEST_F(CoordCommands, BatchKeepsLinesAligned) {
  const auto r = run("project --proj UTM --batch", "41 3\nnot numbers\n0 3\n\n-33.5 -70.3\n");
  EXPECT_EQ(r.status, 1);
  std::istringstream lines(r.out);
  std::string line;
  std::vector<std::string> out;
  while (std::getline(lines, line)) out.push_back(line);
  ASSERT_EQ(out.size(), 5u);
  EXPECT_EQ(out[0], "500000.0000 4538757.0621 31 T");
  EXPECT_EQ(out[1].rfind("error: ", 0), 0u);
  EXPECT_EQ(out[2], "500000.0000 10000000.0000 31 M") << "the equator is southern";
  EXPECT_EQ(out[3].rfind("error: ", 0), 0u);
  double east = 0, north = 0;
  std::string zone, band;
  std::istringstream(out[4]) >> east >> north >> zone >> band;
  EXPECT_NEAR(east, 379244.931, 0.001);  // GeoConvert -u -p 3: 19s 379244.931 6292524.590
  EXPECT_NEAR(north, 6292524.590, 0.001);
  EXPECT_EQ(zone + band, "19H");
}

TEST_F(CoordCommands, FormatThenParseGivesTheValueBack) {
  for (int format = 0; format <= 3; ++format) {
    const auto formatted = run("format --format " + std::to_string(format) + " -- -33.8571234 151.2153");
    ASSERT_EQ(formatted.status, 0) << formatted.err;
    const std::size_t tab = formatted.out.find('\t');
    ASSERT_NE(tab, std::string::npos);
    const std::string latText = formatted.out.substr(0, tab);
    const std::string lonText = formatted.out.substr(tab + 1, formatted.out.size() - tab - 2);
    const std::string option = format == 3 ? "--format 3 " : "";
    const auto parsed = run("parse " + option + test::shellQuote(latText) + " " + test::shellQuote(lonText));
    ASSERT_EQ(parsed.status, 0) << latText << " | " << lonText << " " << parsed.err;
    double lat = 0, lon = 0;
    std::string latAxis, lonAxis;
    std::istringstream(parsed.out) >> lat >> latAxis >> lon >> lonAxis;
    const double resolution = format == 1 ? 1e-5 : format == 2 ? 1.5e-5 : 1e-7;
    EXPECT_NEAR(lat, -33.8571234, resolution) << latText;
    EXPECT_NEAR(lon, 151.2153, resolution) << lonText;
    EXPECT_EQ(latAxis, "lat");
    EXPECT_EQ(lonAxis, "lon");
  }
  const auto refused = run("parse 40.5");
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("NO quadrant leter found: (N,S,E,W)"), std::string::npos);
  const auto utf8 = run("parse '40\xC2\xBA" "25.5'\"'\"' N'");
  EXPECT_EQ(utf8.out, "40.425000000 lat\n") << "UTF-8 degree sign from the terminal";
}

TEST_F(CoordCommands, LetterGridReferences) {
  // OS example: TG 51409 13177 is easting 651409, northing 313177 (52.657568 N, 1.717908 E on OSGB36).
  auto r = run("grid --proj 'BGN (British National Grid)' --datum 'Ord Srvy Grt Britn' --digits 6 52.657568 1.717908");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.substr(0, 2), "TG");
  r = run("grid --proj 'Irish Grid' --batch", "53.35 -6.26\n10 10\n");
  EXPECT_EQ(r.status, 1) << "a position far outside the Irish letters";
  EXPECT_EQ(r.out.substr(0, 2), "O ");
}

}  // namespace
}  // namespace pixtrail
