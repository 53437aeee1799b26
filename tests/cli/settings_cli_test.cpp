// The user's gps.ini reaches every command that has settings, and a command's own options go on
// top of it.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

// A flight past the capture time of the Canon sample photo (2003-12-04 06:46:52), one fix a
// minute, pressure altitude 500 m and GPS altitude 600 m.
std::string flight() {
  std::string text = "AXXXTEST\r\nHFDTE041203\r\n";
  for (int m = 40; m <= 55; ++m) {
    char line[64];
    std::snprintf(line, sizeof line, "B06%02d00%02d%05dN00342000WA0050000600\r\n", m, 40, 2000 + m);
    text += line;
  }
  return text;
}

class SettingsCli : public ::testing::Test {
 protected:
  void SetUp() override {
    test::writeFileBytes(dir / "flight.igc", flight());
    std::filesystem::create_directory(dir / "photos");
    test::writeFileBytes(dir / "photos/canon.jpg", test::readFileBytes(test::testData("photos/Canon.jpg")));
  }
  // Runs with gps.ini holding `ini` (CR LF line ends, as the program writes it).
  test::CommandOutput run(const std::string& ini, const std::string& arguments) {
    test::writeFileBytes(dir / "gps.ini", ini);
    return test::runPixtrailWith(dir / "gps.ini", arguments);
  }
  std::string file(const std::string& name) const { return shellQuote((dir / name).string()); }
  nlohmann::json geotag(const std::string& ini, const std::string& options) {
    const auto r = run(ini, "geotag --json --dry-run --in-place --track " + file("flight.igc") + " " + options +
                                " " + file("photos/canon.jpg"));
    EXPECT_EQ(r.status, 0) << r.err;
    const nlohmann::json rows = nlohmann::json::parse(r.out, nullptr, false);
    return rows.is_array() && rows.size() == 1 ? rows[0] : nlohmann::json();
  }
  test::TempDir dir;
};

constexpr const char* kPreferPressure = "[Tracks]\r\nAltitud_GPS_Preferida=0\r\n";
constexpr const char* kShortGap = "[Tracks]\r\nMax_Hueco_Segundos=30\r\n";

TEST_F(SettingsCli, GeotagTakesTheAltitudeRuleAndTheGapFromGpsIni) {
  EXPECT_NEAR(geotag("", "")["alt"].get<double>(), 600.0, 0.01) << "GPS altitude by default";
  EXPECT_NEAR(geotag(kPreferPressure, "")["alt"].get<double>(), 500.0, 0.01);
  EXPECT_EQ(geotag(kShortGap, "")["status"], "not-covered") << "fixes a minute apart, gap 30 s";
  EXPECT_EQ(geotag(kShortGap, "--max-gap 90")["status"], "tagged") << "the option goes on top";
}

TEST_F(SettingsCli, MarkedTrackIsWrittenInTheConfiguredFileCoordinates) {
  const auto r = run("[Coordenadas]\r\nModo_Coordenadas_Ficheros=1\r\nDatum_Ficheros=European 1950\r\n",
                     "geotag --out " + file("out") + " --mark-track " + file("marked.trk") + " --track " +
                         file("flight.igc") + " " + file("photos/canon.jpg"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(test::readFileBytes(dir / "marked.trk").starts_with("G  European 1950\r\nU  1\r\n"))
      << "the G and U lines follow the user's file settings";
}

TEST_F(SettingsCli, InfoAndKmlFollowTheAltitudeRule) {
  auto r = run(kPreferPressure, "info --json " + file("flight.igc"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)["altitude_max_m"], 500.0);
  r = run("", "info --json " + file("flight.igc"));
  EXPECT_EQ(nlohmann::json::parse(r.out)["altitude_max_m"], 600.0);

  r = run(kPreferPressure, "kml -o " + file("f.kml") + " " + file("flight.igc"));
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string kml = test::readFileBytes(dir / "f.kml");
  EXPECT_NE(kml.find(" 500.00<"), std::string::npos) << kml.substr(0, 2000);
  EXPECT_EQ(kml.find(" 600.00<"), std::string::npos);
}

TEST_F(SettingsCli, PositionTakesTheGapAndConvertTheFileCoordinates) {
  const std::string at = " 2003-12-04T06:46:30";
  auto r = run(kShortGap, "position --json --track " + file("flight.igc") + at);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)[0]["status"], "not-covered");
  r = run(kShortGap, "position --json --max-gap 90 --track " + file("flight.igc") + at);
  EXPECT_EQ(nlohmann::json::parse(r.out)[0]["status"], "interpolated");

  const std::string ini = "[Coordenadas]\r\nModo_Coordenadas_Ficheros=5\r\n";
  r = run(ini, "convert " + file("flight.igc") + " " + file("a.trk"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(test::readFileBytes(dir / "a.trk").starts_with("G  WGS 84\r\nU  5\r\n"));
  r = run(ini, "convert --coords 2 " + file("flight.igc") + " " + file("b.trk"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(test::readFileBytes(dir / "b.trk").starts_with("G  WGS 84\r\nU  2\r\n"));
}

// Two GGA fixes a minute apart: times of day, no date anywhere in the log.
std::string ggaLog() {
  return test::nmeaSentence("GPGGA,235930,4024.600,N,00345.000,W,1,08,0.9,650.0,M,51.0,M,,") +
         test::nmeaSentence("GPGGA,000030,4024.700,N,00345.000,W,1,08,0.9,655.0,M,51.0,M,,");
}

TEST_F(SettingsCli, DateOptionDatesLogsOfTimesOfDay) {
  test::writeFileBytes(dir / "gga.nmea", ggaLog());
  auto r = run("", "info --json --date 2024-05-12 " + file("gga.nmea"));
  ASSERT_EQ(r.status, 0) << r.err;
  auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["start"], "2024-05-12T23:59:30");
  EXPECT_EQ(j["end"], "2024-05-13T00:00:30") << "midnight passed between the fixes";
  r = run("", "position --json --date 2024-05-12 --track " + file("gga.nmea") + " 2024-05-13T00:00:00");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)[0]["status"], "interpolated");
  r = run("", "convert --date 2024-05-12 " + file("gga.nmea") + " " + file("gga.gpx"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(test::readFileBytes(dir / "gga.gpx").find("<time>2024-05-13T00:00:30Z</time>"), std::string::npos);

  r = run("", "info --json " + file("gga.nmea"));
  EXPECT_NE(r.err.find("no date in this NMEA log"), std::string::npos) << r.err;
  EXPECT_EQ(run("", "info --date 12/05/2024 " + file("gga.nmea")).status, 2);
  EXPECT_EQ(run("", "geotag --in-place --date 2024-02-30 --track " + file("gga.nmea") + " " +
                        file("photos/canon.jpg")).status, 2);
}

TEST_F(SettingsCli, WaypointDisplayDefaultsComeFromGpsIni) {
  // The second waypoint is shown as a symbol alone (display type 2).
  test::writeFileBytes(dir / "in.wpt",
                       "G  WGS 84\r\nU  0\r\n"
                       "W  Plain_ - 40.4250000\xBAN 3.5000000\xBAW 27-MAR-62 00:00:00 10.000000 x\r\n"
                       "W  Symbol - 40.4260000\xBAN 3.5000000\xBAW 27-MAR-62 00:00:00 10.000000 y\r\n"
                       "w Flag,2,0,0,0,0,0,,0\r\n");
  auto r = run("", "convert " + file("in.wpt") + " " + file("a.wpt"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(test::readFileBytes(dir / "a.wpt"), test::readFileBytes(dir / "in.wpt"));
  // A user whose new waypoints are symbols alone: the second waypoint is one of the usual kind
  // and loses its w line; the first, read as the user's usual kind, still has none.
  const std::string ini = "[Balizas]\r\nTipo_Visualizacion=2\r\n";
  r = run(ini, "convert " + file("in.wpt") + " " + file("b.wpt"));
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string b = test::readFileBytes(dir / "b.wpt");
  EXPECT_EQ(b.find("\r\nw "), std::string::npos) << b;
}

TEST_F(SettingsCli, OneBadWaypointLineLosesOnlyThatWaypoint) {
  test::writeFileBytes(dir / "bad.wpt",
                       "G  WGS 84\r\nU  0\r\n"
                       "W  First_ - 40.4250000\xBAN 3.5000000\xBAW 27-MAR-62 00:00:00 10 x\r\n"
                       "W  Short_ - 40.4250000\xBAN 3.5000000\xBAW 27-MAR-62\r\n"
                       "W  Last__ - 40.4260000\xBAN 3.5000000\xBAW 27-MAR-62 00:00:00 10 y\r\n");
  auto r = run("", "info --json " + file("bad.wpt"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nlohmann::json::parse(r.out)["waypoints"].size(), 2u);
  EXPECT_NE(r.err.find("Error in WPT file"), std::string::npos) << r.err;
  r = run("", "convert " + file("bad.wpt") + " " + file("good.wpt"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(test::readFileBytes(dir / "good.wpt").find("W  Last"), std::string::npos);
}

TEST_F(SettingsCli, CoordinateTextsTakeTheConfiguredFormat) {
  const std::string ini = "[Coordenadas]\r\nFormato_Coordenadas=0\r\n";
  auto r = run(ini, "coord format 40.5 -3.25");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "40.5000000\xC2\xBA N\t3.2500000\xC2\xBA W\n");
  r = run(ini, "coord format --format 1 40.5 -3.25");
  EXPECT_EQ(r.out, "40\xC2\xBA" "30.000' N\t003\xC2\xBA" "15.000' W\n") << "the option goes on top";
  r = run("[Coordenadas]\r\nFormato_Coordenadas=3\r\nLetra_Paris_Por_Longitud=1\r\n", "coord format 0 1");
  EXPECT_EQ(r.out, "0.0000000gr N\t1.4858102gr E\n") << "the compatibility letter";
  r = run("[Coordenadas]\r\nFormato_Coordenadas=3\r\n", "coord parse '50gr N'");
  EXPECT_EQ(r.out, "45.000000000 lat\n") << r.err;
}

}  // namespace
}  // namespace pixtrail
