#include "coords/TListaDatums.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "core/angles.hpp"
#include "core/byte_order.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/grid_builder.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

class ShippedDatums : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums()); }
  TListaDatums& table = datumTable();
  int index(const char* name) {
    const int i = table.findByName(name);
    EXPECT_GE(i, 0) << name;
    return i;
  }
};

TEST_F(ShippedDatums, ManyPositionsAtOnceEndAsOneAtATime) {
  std::vector<TCoord> points;
  for (int i = 0; i < 103; ++i)  // not a multiple of four: the tail takes the one-at-a-time path
    points.push_back({-179.0 + 3.47 * i, -89.0 + 1.73 * i, static_cast<float>(i)});
  points[5].lat = 89.95;          // shifted by the table, left alone by the point-level change
  points[9].lat = 89.99995;       // above every limit
  points[40].lon = std::nan("");  // fails, and only it
  for (const auto& [from, to] : {std::pair{index("European 1950"), 0}, std::pair{0, index("Tokyo")}}) {
    std::vector<TCoord> many = points;
    std::string message;
    EXPECT_EQ(table.Transforma_Grados_Datum(std::span<TCoord>(many), from, to, message), 1);
    EXPECT_EQ(message, "Transforma_Grados_Datum: error en carro_inf, Transforma_Grados_Datum");
    std::vector<TCoord> pointLevel = points;
    table.changePointsDatum(pointLevel, from, to);
    for (std::size_t i = 0; i < points.size(); ++i) {
      TCoord one = points[i], onePoint = points[i];
      std::string ignored;
      table.Transforma_Grados_Datum(one, from, to, ignored);
      table.changePointDatum(onePoint, from, to);
      if (i == 40 || i == 9) {
        EXPECT_EQ(std::memcmp(&many[i], &points[i], sizeof(TCoord)), 0) << i;
        continue;
      }
      EXPECT_NEAR(many[i].lat, one.lat, 1e-12) << i;
      EXPECT_NEAR(many[i].lon, one.lon, 1e-12) << i;
      EXPECT_NEAR(pointLevel[i].lat, onePoint.lat, 1e-12) << i;
      EXPECT_NEAR(pointLevel[i].lon, onePoint.lon, 1e-12) << i;
      EXPECT_EQ(many[i].alt, points[i].alt);
    }
    EXPECT_EQ(pointLevel[5].lat, 89.95);
    EXPECT_NE(many[5].lat, 89.95);
  }
}

TEST_F(ShippedDatums, RowZeroIsWgs84AndCommonSpellingsFindIt) {
  const TDatum& wgs = table.datum(0);
  EXPECT_EQ(wgs.name, "WGS 84");
  EXPECT_EQ(wgs.a, 6378137.0);
  EXPECT_EQ(wgs.inverseFlattening, 298.257223563);
  EXPECT_EQ(wgs.dX, 0.0);
  EXPECT_GE(table.size(), 120);
  for (const char* name : {"wgs_84", "  WGS-84  ", "World Geodetic System 1984", "WGS84", "NAD83", "ETRS89", "RGF93"})
    EXPECT_EQ(table.findByName(name), 0) << name;
  // The datums the fixed-datum projections name must be in the shipped table.
  for (const char* name : {"RT 90", "Rijksdriehoeksmeting", "Ord Srvy Grt Britn", "Ireland 1965", "CH-1903",
                           "Europeo 1979"})
    EXPECT_GT(table.findByName(name), 0) << name;
}

TEST_F(ShippedDatums, NothingChangesForTheSameDatumOrNearThePoles) {
  const int ed50 = index("European 1950");
  table.setWorkingDatum(ed50);
  const struct {
    TCoord p;
    int from, to;
    const char* why;
  } rows[] = {
      {{-3.7, 40.4, 650.0f}, ed50, ed50, "same index"},
      {{-3.7, 40.4, 650.0f}, -1, ed50, "working datum is the same row"},
      {{12.3, 89.99995, 0.0f}, ed50, 0, "above 89.9999"},
      {{12.3, -89.99995, 0.0f}, 0, ed50, "below -89.9999"},
  };
  for (const auto& r : rows) {
    TCoord q = r.p;
    std::string message;
    EXPECT_TRUE(table.Transforma_Grados_Datum(q, r.from, r.to, message)) << r.why;
    EXPECT_EQ(std::memcmp(&q, &r.p, sizeof q), 0) << r.why;
    EXPECT_TRUE(message.empty());
  }
  // The point-level change stops already at 89.9 but shifts just below it.
  TCoord nearPole{12.3, 89.95, 0.0f}, copy = nearPole;
  table.changePointDatum(nearPole, ed50, 0);
  EXPECT_EQ(std::memcmp(&nearPole, &copy, sizeof copy), 0);
  TCoord below{12.3, 89.85, 0.0f};
  table.changePointDatum(below, ed50, 0);
  EXPECT_NE(below.lat, 89.85);
  table.setWorkingDatum(0);
}

TEST_F(ShippedDatums, ANumberThatIsNotANumberFailsAndLeavesThePointAlone) {
  const TCoord bad[] = {{1.0, std::nan(""), 0.0f}, {std::nan(""), 45.0, 0.0f}, {INFINITY, 45.0, 0.0f}};
  for (const TCoord& p : bad) {
    TCoord q = p;
    std::string message;
    EXPECT_FALSE(table.Transforma_Grados_Datum(q, index("European 1950"), 0, message));
    EXPECT_EQ(message, "Transforma_Grados_Datum: error en carro_inf, Transforma_Grados_Datum");
    EXPECT_EQ(std::memcmp(&q, &p, sizeof q), 0);
  }
}

TEST_F(ShippedDatums, AtTheEquatorWIsOneAndAt45DegreesTheShiftIsNotTheTextbookOne) {
  // Hand calculation at phi = 0: w = 1, N = a, M = a(1-e2); the shift reduces to
  // dphi = (dz + df*(M/(1-f) + N(1-f))*0)/M = dz/M and dlam = (-dx sin lam + dy cos lam)/N.
  const int tokyo = index("Tokyo");
  const TDatum& t = table.datum(tokyo);
  TCoord p{0.0, 0.0, 0.0f};
  std::string message;
  ASSERT_TRUE(table.Transforma_Grados_Datum(p, tokyo, 0, message));
  const double f = 1 / t.inverseFlattening, e2 = 2 * f - f * f;
  EXPECT_NEAR(p.lat, t.dZ / (t.a * (1 - e2)) * kDegPerRad, 1e-12);
  EXPECT_NEAR(p.lon, t.dY / t.a * kDegPerRad, 1e-12);

  // At 45 degrees sin(phi*phi) = sin(0.6169) = 0.578 while sin^2(phi) = 0.5: the two differ by
  // far more than rounding (a textbook Molodensky would land about 0.1 m away here).
  TCoord ours{10.0, 45.0, 0.0f}, textbook = ours;
  ASSERT_TRUE(table.Transforma_Grados_Datum(ours, tokyo, 0, message));
  const double phi = kPi / 4, lam = 10 * kRadPerDeg;
  const double w = 1 - e2 * std::sin(phi) * std::sin(phi);
  const double N = t.a / std::sqrt(w), M = t.a * (1 - e2) / std::pow(w, 1.5);
  const double df = 1 / 298.257223563 - f, da = 6378137.0 - t.a;
  textbook.lat += (-t.dX * std::sin(phi) * std::cos(lam) - t.dY * std::sin(phi) * std::sin(lam) +
                   t.dZ * std::cos(phi) + da * N * e2 * std::sin(phi) * std::cos(phi) / t.a +
                   df * (M / (1 - f) + N * (1 - f)) * std::sin(phi) * std::cos(phi)) / M * kDegPerRad;
  EXPECT_GT(std::fabs(ours.lat - textbook.lat), 1e-7);
}

TEST(DatumDeathTest, IndexesOutsideTheTableStopTheProgram) {
  TListaDatums empty;
  EXPECT_EXIT(empty.datum(0), ::testing::ExitedWithCode(kFatalExitStatus), "Datum index outside the table");
  EXPECT_EXIT(empty.datum(-1), ::testing::ExitedWithCode(kFatalExitStatus), "Datum index outside the table");
}

// --- files -------------------------------------------------------------------------------------

struct Row {
  std::string name;
  std::int32_t device = 0;
  double invf = 298.257223563, a = 6378137.0, dx = 0, dy = 0, dz = 0;
  std::string alt, ecw;
};

void addText(std::string& out, const std::string& s) {
  appendU16(out, static_cast<std::uint16_t>(s.size()), ByteOrder::little);
  out += s;
}

// A datum file image written field by field from the layout, independent of the library's writer.
std::string datumFile(std::int32_t version, const std::vector<Row>& rows, std::int32_t count = -2) {
  std::string out;
  appendI32(out, version, ByteOrder::little);
  appendI32(out, count == -2 ? static_cast<std::int32_t>(rows.size()) : count, ByteOrder::little);
  for (const Row& r : rows) {
    addText(out, r.name);
    appendI32(out, r.device, ByteOrder::little);
    for (double v : {r.invf, r.a, r.dx, r.dy, r.dz}) appendF64(out, v, ByteOrder::little);
    addText(out, r.alt);
    if (version >= 2) addText(out, r.ecw);
  }
  return out;
}

const std::vector<Row> kSystemRows = {
    {"WGS 84", 100, 298.257223563, 6378137.0, 0, 0, 0, "NAD83", "WGS84"},
    {"European 1950", 7, 297.0, 6378388.0, -87, -98, -121, "ED50;European Datum 1950", "ED50"},
    {"Lookalike", 7, 297.0, 6378388.0, 1, 2, 3, "", "ED 50 ALT"},
    {"Tokyo Datum Long Name", 9, 299.1528128, 6377397.155, -148, 507, 685, "ED 50 ALT", ""},
};

class DatumFolder : public ::testing::Test {
 protected:
  test::TempDir dir;
  TListaDatums table;
  std::string message;
  void write(const char* name, const std::string& bytes) { test::writeFileBytes(dir / name, bytes); }
  bool load() { return table.load(dir.path(), message); }
};

TEST_F(DatumFolder, VersionsZeroToTwoLoadAndOnlyVersionTwoCarriesEcwNames) {
  for (std::int32_t version : {0, 1, 2}) {
    write("datumsb.dat", datumFile(version, kSystemRows));
    ASSERT_TRUE(load()) << version << ": " << message;
    ASSERT_EQ(table.size(), 4);
    const TDatum& ed50 = table.datum(1);
    EXPECT_EQ(ed50.name, "European 1950");
    EXPECT_EQ(ed50.deviceDatumNumber, 7);
    EXPECT_EQ(ed50.a, 6378388.0);
    EXPECT_EQ(ed50.inverseFlattening, 297.0);
    EXPECT_EQ(ed50.dZ, -121.0);
    EXPECT_EQ(ed50.alternativeNameList, (std::vector<std::string>{"ED50", "European Datum 1950"}));
    EXPECT_EQ(ed50.ecwName, version >= 2 ? "ED50" : "");
    EXPECT_GT(ed50.b, 0.0);  // derived values are computed on load
  }
}

TEST_F(DatumFolder, DamagedFilesGiveTheSystemsMessages) {
  const std::string good = datumFile(2, kSystemRows);
  const struct {
    std::string bytes;
    std::string message;
  } rows[] = {
      {datumFile(3, kSystemRows), "Version error in datumsb.dat"},
      {datumFile(2, {}, 1001), "n error in datumsb.dat"},
      {datumFile(2, {}, -1), "n error in datumsb.dat"},
      {good.substr(0, good.size() - 3), "Error reading file DATUMSB.DAT "},
      {datumFile(2, kSystemRows, 5), "Error reading file DATUMSB.DAT "},
      {good.substr(0, 6), "Error reading file DATUMSB.DAT "},
      {datumFile(2, {{"Flat", 0, -1.0, 6378137.0, 0, 0, 0, "", ""}}), "Error de sqrt en TDatum::Calcula()"},
      {datumFile(2, {{"Flat", 0, 0.0, 6378137.0, 0, 0, 0, "", ""}}), "Error de sqrt en TDatum::Calcula()"},
      {datumFile(2, {{"Flat", 0, 298.0, -1.0, 0, 0, 0, "", ""}}), "Error reading file DATUMSB.DAT "},
  };
  for (const auto& r : rows) {
    write("datumsb.dat", r.bytes);
    message.clear();
    EXPECT_FALSE(load());
    EXPECT_EQ(message, r.message);
  }
  // A count of exactly 1000 is allowed.
  write("datumsb.dat", datumFile(2, std::vector<Row>(1000, Row{"X", 0, 297.0, 6378388.0, 0, 0, 0, "", ""})));
  message.clear();
  EXPECT_TRUE(load()) << message;
  EXPECT_EQ(table.size(), 1000);

  std::filesystem::remove(dir / "datumsb.dat");
  message.clear();
  EXPECT_FALSE(load());
  EXPECT_EQ(message, "Error opening " + (dir / "datumsb.dat").string());
}

TEST_F(DatumFolder, UserRowsFollowTheSystemRowsAndOnlyTheyAreSavedByAUser) {
  write("datumsb.dat", datumFile(2, kSystemRows));
  ASSERT_TRUE(load()) << message;  // no datumsbp.dat: no error
  EXPECT_TRUE(message.empty()) << message;
  EXPECT_EQ(table.systemRowCount(), 4);

  write("datumsbp.dat", datumFile(1, {{"Mine", 0, 297.0, 6378388.0, 5, 6, 7, "My Own", ""}}));
  ASSERT_TRUE(load()) << message;
  ASSERT_EQ(table.size(), 5);
  EXPECT_EQ(table.datum(4).name, "Mine");
  EXPECT_EQ(table.systemRowCount(), 4);

  const int added = table.addDatum();
  EXPECT_EQ(added, 5);
  EXPECT_EQ(table.datum(added).a, table.datum(0).a);
  EXPECT_EQ(table.datum(added).alternativeNames, "NAD83");
  ASSERT_TRUE(table.save(message)) << message;
  EXPECT_EQ(test::readFileBytes(dir / "datumsbp.dat"),
            datumFile(2, {{"Mine", 0, 297.0, 6378388.0, 5, 6, 7, "My Own", ""}, {"New Datum", 100, 298.257223563, 6378137.0, 0, 0, 0, "NAD83", "WGS84"}}));
  EXPECT_EQ(test::readFileBytes(dir / "datumsb.dat"), datumFile(2, kSystemRows));

  table.setMaintenanceMode(true);
  ASSERT_TRUE(table.deleteDatum(2, message));
  ASSERT_TRUE(table.save(message)) << message;
  EXPECT_TRUE(load()) << message;
  EXPECT_EQ(table.size(), 7);  // five rows in datumsb.dat, the same two user rows appended again
  EXPECT_EQ(table.datum(2).name, "Tokyo Datum Long Name");
  EXPECT_EQ(table.systemRowCount(), 5);
  EXPECT_TRUE(std::filesystem::exists(dir / "datumsb.bak"));  // the old table is kept
  EXPECT_FALSE(table.deleteDatum(0, message));
}

TEST_F(DatumFolder, ADamagedUserFileCostsOnlyTheUserRowsAndIsNeverSavedOver) {
  write("datumsb.dat", datumFile(2, kSystemRows));
  const std::string damaged = datumFile(3, {{"Mine", 0, 297.0, 6378388.0, 5, 6, 7, "My Own", ""}});
  write("datumsbp.dat", damaged);
  ASSERT_TRUE(load()) << message;
  EXPECT_EQ(table.size(), 4) << "the system table loads";
  EXPECT_EQ(message, "Error reading " + (dir / "datumsbp.dat").string() +
                         ": the datums added there are not loaded (Version error in datumsb.dat)");
  message.clear();
  table.addDatum();
  EXPECT_FALSE(table.save(message));
  EXPECT_NE(message.find("datumsbp.dat could not be read; it is not written over"), std::string::npos) << message;
  EXPECT_EQ(test::readFileBytes(dir / "datumsbp.dat"), damaged);

  // A half-read file adds none of its rows.
  const std::string two = datumFile(2, {{"A", 0, 297.0, 6378388.0, 0, 0, 0, "", ""}, {"B", 0, 297.0, 6378388.0, 0, 0, 0, "", ""}});
  write("datumsbp.dat", two.substr(0, two.size() - 4));
  message.clear();
  ASSERT_TRUE(load());
  EXPECT_EQ(table.size(), 4);
  EXPECT_EQ(table.findByName("A"), -1);
}

TEST_F(DatumFolder, LookupFollowsTheNameAlternativeEcwOrder) {
  write("datumsb.dat", datumFile(2, kSystemRows));
  ASSERT_TRUE(load()) << message;
  table.setWorkingDatum(3);
  const struct {
    std::string_view name;
    int want;
    const char* why;
  } rows[] = {
      {"european 1950", 1, "names compare without case"},
      {" European_1950 ", 1, "blanks trimmed, _ as blank"},
      {"ED 50 ALT", 3, "an alternative name beats an earlier row's ECW name"},
      {"ED50", 1, "alternative name"},
      {"WGS84", 0, "alias, and also row 0's ECW name"},
      {"Europeo 1979", -1, "alias to a name this table lacks"},
      {"world geodetic system 1984", 0, "aliases compare without case too"},
      {" wgs-84 ", 0, "aliases compare without case too"},
      {"Auto Shift", 3, "the working datum"},
      {"Auto Shift (anything)", 3, "only the first 10 characters count"},
      {"Auto", -1, "too short for Auto Shift"},
      {"", -1, "empty"},
      {"Nowhere", -1, "no such datum"},
  };
  for (const auto& r : rows) EXPECT_EQ(table.findByName(r.name), r.want) << r.why;

  EXPECT_EQ(table.findByWktName("GCS_European_1950"), 1);
  EXPECT_EQ(table.findByWktName("Datum_European_1950"), 1);
  EXPECT_EQ(table.findByWktName("GCS_Datum_ED50"), 1);
  EXPECT_EQ(table.findByDeviceNumber(7), 1);  // the first of two rows with 7
  EXPECT_EQ(table.findByDeviceNumber(42), -1);
  EXPECT_EQ(table.shortName(3), "Tokyo Datum Lon");  // cut to 15 characters
  EXPECT_EQ(table.shortName(1), "ED50");              // the ECW name wins
  EXPECT_EQ(&table.datum(-1), &table.datum(3));
}

TEST_F(DatumFolder, GridsAttachByTheirSystemNamesAndFallBackOutside) {
  write("datumsb.dat", datumFile(2, kSystemRows));
  std::filesystem::create_directory(dir / "datumgrids");
  test::GridLayout layout;
  layout.systemF = "ED50";
  layout.systemT = "NAD83";  // an alternative name of row 0
  test::SubGridLayout g;
  g.sLat = 40 * 3600, g.nLat = 41 * 3600, g.eLong = 3 * 3600, g.wLong = 4 * 3600, g.latInc = g.longInc = 900;
  g.shift = [](double, double, float& dLat, float& dLon) { dLat = 3.5f, dLon = -7.25f; };
  layout.subGrids = {g};
  test::writeFileBytes(dir / "datumgrids" / "ed50.gsb", test::buildNtv2Grid(layout));
  layout.systemF = "Lookalike", layout.systemT = "Tokyo Datum Long Name";  // not to WGS 84: dropped
  test::writeFileBytes(dir / "datumgrids" / "other.GSB", test::buildNtv2Grid(layout));
#ifdef _WIN32
  // Links need special rights there; a folder of that name cannot be opened either.
  std::filesystem::create_directory(dir / "datumgrids" / "broken.gsb");
#else
  std::filesystem::create_symlink(dir / "nowhere.gsb", dir / "datumgrids" / "broken.gsb");
#endif

  ASSERT_TRUE(load()) << message;
  EXPECT_EQ(message, "Error opening " + (dir / "datumgrids" / "broken.gsb").string());
  ASSERT_NE(table.datum(1).grid, nullptr);
  EXPECT_EQ(table.datum(2).grid, nullptr);

  TCoord p{-3.5, 40.5, 0.0f};  // inside: the grid's constant shift, 3.5" N and 7.25" E
  ASSERT_TRUE(table.Transforma_Grados_Datum(p, 1, 0, message));
  EXPECT_NEAR(p.lat, 40.5 + 3.5 / 3600, 1e-12);
  EXPECT_NEAR(p.lon, -3.5 + 7.25 / 3600, 1e-12);
  ASSERT_TRUE(table.Transforma_Grados_Datum(p, 0, 1, message));  // reverse
  EXPECT_NEAR(p.lat, 40.5, 1e-9);
  EXPECT_NEAR(p.lon, -3.5, 1e-9);

  TCoord outside{-5.0, 40.5, 0.0f}, molodensky = outside;  // just west of the grid
  message.clear();
  ASSERT_TRUE(table.Transforma_Grados_Datum(outside, 1, 0, message));
  EXPECT_TRUE(message.empty());
  TListaDatums noGrids;
  std::filesystem::remove_all(dir / "datumgrids");
  ASSERT_TRUE(noGrids.load(dir.path(), message));
  ASSERT_TRUE(noGrids.Transforma_Grados_Datum(molodensky, 1, 0, message));
  EXPECT_EQ(outside, molodensky);
  EXPECT_NE(outside.lat, 40.5);
}

// A grid whose shifts are not numbers (or absurd) is reported when the table loads, stays listed as
// unusable, and never puts NaN into a position: the datum shifts as it would without it.
TEST_F(DatumFolder, ADamagedGridIsReportedOnLoadAndNeverApplied) {
  write("datumsb.dat", datumFile(2, kSystemRows));
  std::filesystem::create_directory(dir / "datumgrids");
  test::GridLayout layout;
  layout.systemF = "ED50";
  layout.systemT = "NAD83";
  test::SubGridLayout g;
  g.sLat = 40 * 3600, g.nLat = 41 * 3600, g.eLong = 3 * 3600, g.wLong = 4 * 3600, g.latInc = g.longInc = 900;
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1.0e6f}) {
    g.shift = [bad](double lat, double, float& dLat, float& dLon) {
      dLat = lat > 40.5 * 3600 ? bad : 1.0f;  // damage in one corner only
      dLon = 1.0f;
    };
    layout.subGrids = {g};
    test::writeFileBytes(dir / "datumgrids" / "ed50.gsb", test::buildNtv2Grid(layout));
    TListaDatums fresh;
    message.clear();
    ASSERT_TRUE(fresh.load(dir.path(), message)) << message;
    EXPECT_EQ(message, "Grid file ed50.gsb is damaged and is not used") << bad;
    ASSERT_NE(fresh.datum(1).grid, nullptr) << "listed, so that the user sees it";
    EXPECT_FALSE(fresh.datum(1).grid->usable());
    TCoord p{-3.5, 40.25, 0.0f};
    message.clear();
    ASSERT_TRUE(fresh.Transforma_Grados_Datum(p, 1, 0, message)) << message;
    EXPECT_TRUE(std::isfinite(p.lat) && std::isfinite(p.lon)) << bad;
    EXPECT_GT(std::fabs(p.lat - (40.25 + 1.0 / 3600)), 1e-9) << "the damaged grid's own shift is not used";
  }
}

}  // namespace
}  // namespace pixtrail
