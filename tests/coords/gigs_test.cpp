// The IOGP GIGS conversion tables (series 5100 projections, 5201 geocentric) in their gie text
// form, run through our projections with the tables' own tolerances. One small runner; the table
// below says which of our projections carries each test and on which ellipsoid. Tests of methods
// the program does not have (oblique stereographic 5104, oblique Mercator 5105/5106, Cassini 5108,
// south-oriented TM 5113, prime meridian rotation 5208) are not listed.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <vector>

#include "coords/TListaDatums.hpp"
#include "coords/TListaProyecciones.hpp"
#include "coords/ellipsoid_functions.hpp"
#include "core/angles.hpp"
#include "core/text.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

constexpr double kMetresPerDegree = 111320.0;
constexpr double kGradToDeg = 0.9;
constexpr double kParisGrads = 2.5969213;  // EPSG 8903, the Paris meridian

enum class Angles { kDegrees, kParisGrads };

struct Parameter {
  const char* key;
  double value;
};

struct GigsFile {
  const char* file;
  const char* projection;
  std::vector<Parameter> parameters;
  double a, inverseFlattening;  // the ellipsoid of the test's geographic CRS
  const char* geographicStep;   // how the gie's forward pipeline starts
  Angles angles;
  // Transverse Mercator only: the series holds to 1 mm within 3.5 degrees of the central
  // meridian; rows farther out (GIGS goes to 5 degrees) are counted, not run.
  double seriesCentralMeridian;
  bool roundTripsExact;  // false: the series pair is not an exact inverse, drift is measured
};

double latTrueScaleFor(double k0, double rf) {
  // Mercator variant A's k0 is variant B's m(latitude of true scale); bisection on m.
  const double f = 1 / rf, e = std::sqrt(2 * f - f * f);
  double low = 0, high = kPi / 2;
  for (int i = 0; i < 200; ++i) {
    const double mid = (low + high) / 2;
    (parallelRadiusOverA(mid, e) > k0 ? low : high) = mid;
  }
  return low * kDegPerRad;
}

const std::vector<GigsFile>& gigsFiles() {
  static const std::vector<GigsFile> files = {
      {"5101.1-jhs.gie", "Transversal Mercator",
       {{"lat0", 49}, {"lon0", -2}, {"k0", 0.9996012717}, {"fe", 400000}, {"fn", -100000}},
       6378137, 298.257223563, "epsg:4326", Angles::kDegrees, -2, false},
      {"5101.2-jhs.gie", "Transversal Mercator",
       {{"lon0", 3}, {"k0", 0.9996}, {"fe", 500000}, {"fn", 0}},
       6378137, 298.257223563, "epsg:4326", Angles::kDegrees, 3, false},
      {"5101.3-jhs.gie", "Transversal Mercator",
       {{"lon0", 141}, {"k0", 0.9996}, {"fe", 500000}, {"fn", 10000000}},
       6378137, 298.257222101, "epsg:4283", Angles::kDegrees, 141, false},
      {"5102.1.gie", "Lambert 1SP",
       {{"lat0", 46.8}, {"lon0", 2.337229166666667}, {"k0", 0.99987742}, {"fe", 600000}, {"fn", 2200000}},
       6378388, 297, "epsg:4230", Angles::kDegrees, NAN, true},
      {"5102.2.gie", "France Lambert II etendu", {}, 6378249.2, 293.4660212936269, "unitconvert",
       Angles::kParisGrads, NAN, true},
      {"5103.1.gie", "Lambert 2SP",
       {{"lat1", 51.1666672333333}, {"lat2", 49.8333339}, {"lat0", 90}, {"lon0", 4.36748666666667},
        {"fe", 150000.013}, {"fn", 5400088.438}},
       6378388, 297, "epsg:4313", Angles::kDegrees, NAN, true},
      {"5107.gie", "Polyconic", {{"lat0", 0}, {"lon0", -54}, {"fe", 5000000}, {"fn", 10000000}},
       6378137, 298.257222101, "epsg:4674", Angles::kDegrees, NAN, true},
      {"5109.gie", "Albers",
       {{"lat1", -18}, {"lat2", -36}, {"lat0", 0}, {"lon0", 132}, {"fe", 0}, {"fn", 0}},
       6378137, 298.257222101, "epsg:4283", Angles::kDegrees, NAN, true},
      {"5111.1.gie", "Mercator",
       {{"lon0", 110}, {"lat1", latTrueScaleFor(0.997, 299.1528128)}, {"fe", 3900000}, {"fn", 900000}},
       6377397.155, 299.1528128, "epsg:4211", Angles::kDegrees, NAN, true},
      {"5112.gie", "Mercator", {{"lon0", 51}, {"lat1", 42}, {"fe", 0}, {"fn", 0}},
       6378245, 298.3, "epsg:4284", Angles::kDegrees, NAN, true},
      {"5201.gie", "ECEF", {}, 6378137, 298.257223563, "epsg:4326", Angles::kDegrees, NAN, true},
  };
  return files;
}

struct Block {
  bool forward = true;
  std::vector<std::string> records;
};

std::vector<Block> readBlocks(const std::string& text, const std::string& geographicStep) {
  std::vector<Block> blocks;
  std::istringstream in(text);
  std::string line;
  bool inOperation = false;
  std::string operation;
  while (std::getline(in, line)) {
    const std::string_view t = trim(line);
    if (t.starts_with("operation")) {
      inOperation = true;
      operation = std::string(t);
      continue;
    }
    if (inOperation) {
      if (t.starts_with("---") || t.empty() || t.starts_with("tolerance") || t.starts_with("accept")) {
        inOperation = false;
        // Forward when the pipeline's first step is the geographic side.
        const std::size_t first = operation.find("step");
        const std::size_t second = operation.find("step", first + 4);
        const std::string firstStep = operation.substr(first, second - first);
        blocks.push_back({firstStep.find(geographicStep) != std::string::npos, {}});
        if (!t.empty() && !t.starts_with("---")) blocks.back().records.emplace_back(t);
      } else {
        operation += " " + std::string(t);
      }
      continue;
    }
    if (!blocks.empty() && !t.empty() && t[0] != '#' && t[0] != '<' && !t.starts_with("---"))
      blocks.back().records.emplace_back(t);
  }
  return blocks;
}

std::vector<double> numbersAfter(const std::string& record) {
  std::vector<double> values;
  const auto fields = splitOnBlanks(record);
  for (std::size_t i = 1; i < fields.size(); ++i)
    if (const auto v = parseDouble(fields[i])) values.push_back(*v);
  return values;
}

double toleranceMetres(const std::string& record) {
  const auto fields = splitOnBlanks(record);
  const double value = parseDouble(fields.at(1)).value();
  return fields.size() > 2 && fields[2] == "mm" ? value / 1000 : value;
}

double groundDistanceM(const TCoord& a, const TCoord& b) {
  return kMetresPerDegree *
         std::hypot(a.lat - b.lat, std::remainder(a.lon - b.lon, kFullTurnDeg) * std::cos(a.lat * kRadPerDeg));
}

TCoord geographicIn(const std::vector<double>& v, Angles angles) {
  TCoord p{v.at(0), v.at(1), v.size() > 2 ? static_cast<float>(v[2]) : 0.0f};
  if (angles == Angles::kParisGrads) {
    p.lon = (p.lon + kParisGrads) * kGradToDeg;
    p.lat *= kGradToDeg;
  }
  return p;
}

TEST(Gigs, ConversionTablesWithTheirTolerances) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  TListaProyecciones list;
  for (const GigsFile& g : gigsFiles()) {
    SCOPED_TRACE(g.file);
    TDatum row;
    row.name = std::string("GIGS ") + g.file;
    row.a = g.a;
    row.inverseFlattening = g.inverseFlattening;
    std::string message;
    std::unique_ptr<TProyeccion> projection = list.create(g.projection, message);
    ASSERT_TRUE(projection) << message;
    // A projection with its own datum runs there; the others on a row with the test's ellipsoid.
    const int datum = projection->fixedDatum() >= 0 ? projection->fixedDatum() : datumTable().appendDatum(row);
    ASSERT_NEAR(datumTable().datum(datum).a, g.a, 1e-6);
    for (const Parameter& p : g.parameters) ASSERT_TRUE(projection->setParameter(p.key, p.value, message)) << message;

    const std::string text = test::readFileBytes(test::testData(std::string("gigs/") + g.file));
    int run = 0, skipped = 0, skippedHeights = 0;
    double worstRoundTrip = 0;
    double tolerance = 0;  // holds until the next tolerance line, as in gie
    for (const Block& block : readBlocks(text, g.geographicStep)) {
      std::vector<double> accept;
      for (const std::string& record : block.records) {
        if (record.starts_with("tolerance")) tolerance = toleranceMetres(record);
        if (record.starts_with("accept")) accept = numbersAfter(record);
        const bool isExpect = record.starts_with("expect"), isRoundTrip = record.starts_with("roundtrip");
        if (!isExpect && !isRoundTrip) continue;
        const TCoord geo = block.forward ? geographicIn(accept, g.angles) : TCoord{};
        const std::vector<double> expect = isExpect ? numbersAfter(record) : std::vector<double>{};
        const TCoord geoSide = block.forward ? geo : isExpect ? geographicIn(expect, g.angles) : TCoord{};
        if (!std::isnan(g.seriesCentralMeridian) && std::fabs(geoSide.lon - g.seriesCentralMeridian) > 3.5) {
          ++skipped;
          continue;
        }
        // A height at or below -999 m means "no altitude" to the position type.
        if (g.angles == Angles::kDegrees && std::string(g.projection) == "ECEF" &&
            (block.forward || isExpect) && !hasAltitude(geoSide.alt)) {
          ++skippedHeights;
          continue;
        }
        ++run;
        std::string why;
        if (isRoundTrip && !block.forward) {
          GridCoord start{accept.at(0), accept.at(1)};
          if (accept.size() > 2) start.z = accept[2];
          GridCoord grid = start;
          TCoord p;
          const int count = static_cast<int>(numbersAfter(record).at(0));
          for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(projection->unproject(grid, datum, p, why)) << why;
            if (!hasAltitude(p.alt)) break;  // ECEF: below -999 m is "no height"
            ASSERT_TRUE(projection->project(p, datum, grid, why)) << why;
          }
          if (!hasAltitude(p.alt)) {
            ++skippedHeights;
            continue;
          }
          const double drift = std::hypot(std::hypot(grid.x - start.x, grid.y - start.y), grid.z - start.z);
          worstRoundTrip = std::max(worstRoundTrip, drift);
          if (g.roundTripsExact) {
            EXPECT_LE(drift, tolerance) << record << " from " << accept[0] << " " << accept[1];
          }
        } else if (isRoundTrip) {
          TCoord p = geo;
          GridCoord grid;
          const int count = static_cast<int>(numbersAfter(record).at(0));
          for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(projection->project(p, datum, grid, why)) << why;
            ASSERT_TRUE(projection->unproject(grid, datum, p, why)) << why;
          }
          const double drift = groundDistanceM(p, geo);
          worstRoundTrip = std::max(worstRoundTrip, drift);
          if (g.roundTripsExact) {
            EXPECT_LE(drift, tolerance) << record << " from " << accept[0] << " " << accept[1];
          }
        } else if (block.forward) {
          GridCoord grid;
          ASSERT_TRUE(projection->project(geo, datum, grid, why)) << why << " " << accept[0] << " " << accept[1];
          const double error = std::hypot(std::hypot(grid.x - expect.at(0), grid.y - expect.at(1)),
                                          expect.size() > 2 ? grid.z - expect[2] : 0.0);
          EXPECT_LE(error, tolerance) << "forward " << accept[0] << " " << accept[1];
        } else {
          GridCoord grid{accept.at(0), accept.at(1)};
          if (accept.size() > 2) grid.z = accept[2];
          TCoord p;
          ASSERT_TRUE(projection->unproject(grid, datum, p, why)) << why;
          const TCoord expected = geographicIn(expect, g.angles);
          EXPECT_LE(groundDistanceM(p, expected), tolerance) << "inverse " << accept[0] << " " << accept[1];
          if (expect.size() > 2) {
            EXPECT_NEAR(p.alt, expected.alt, 0.01);
          }
        }
      }
    }
    EXPECT_GT(run, 10);
    std::printf("%-16s %3d rows run, %3d outside the series' range, %d with heights below -999 m, "
                "worst round-trip drift %.3g m\n", g.file, run, skipped, skippedHeights, worstRoundTrip);
  }
}

}  // namespace
}  // namespace pixtrail
