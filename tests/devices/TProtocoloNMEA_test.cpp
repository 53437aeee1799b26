#include "devices/TProtocoloNMEA.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <numbers>
#include <vector>

#include "tests/support/nmea_lines.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

std::string sentence(const std::string& body) { return test::nmeaLine(body); }

// The system's knot: 1853.32 m per hour.
constexpr double kKnot = 1853.32 / 3600.0;
constexpr double kDeg = std::numbers::pi / 180.0;

struct Link {
  explicit Link(NmeaSettings settings = {}) : protocol(std::move(settings)) {}
  bool feed(const std::string& line) { return protocol.processLine(line, fix, count, previous, state); }
  TProtocoloNMEA protocol;
  TDatosGPSActual fix;
  int count = 0;
  std::string previous;
  NmeaReceiveState state;
};

const std::string kGga = "GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,";

TEST(NmeaGga, QualityDecidesValidityAndDifferential) {
  const struct {
    std::string quality;
    std::string position;
    bool valid;
    bool differential;
    const char* why;
    std::string satellites = "08";
  } rows[] = {
      {"1", "4807.038,N,01131.000,E", true, false, "quality 1 decides, whatever the satellites", "00"},
      {"1", "4807.038,N,01131.000,E", true, false, "satellites unknown", ""},
      {"2", "4807.038,N,01131.000,E", true, true, "differential"},
      {"0", "4807.038,N,01131.000,E", false, false, "no fix"},
      {"", "4807.038,N,01131.000,E", false, false, "empty quality"},
      {"6", "4807.038,N,01131.000,E", true, false, "anything else counts as a fix"},
      {"1", ",,,", false, false, "a fix without a position is no fix"},
      {"1", "48O7.038,N,01131.000,E", false, false, "a garbled position is no fix"},
  };
  for (const auto& r : rows) {
    Link link;
    link.fix.fixValid = 1;
    link.fix.differential = 1;
    EXPECT_TRUE(link.feed(sentence("GPGGA,123519," + r.position + "," + r.quality + "," + r.satellites + ",0.9,545.4,M,46.9,M,,")))
        << r.why;
    EXPECT_EQ(link.fix.fixValid, r.valid) << r.why;
    EXPECT_EQ(link.fix.differential, r.differential) << r.why;
    EXPECT_EQ(link.fix.changed, 1) << r.why;
  }
}

TEST(NmeaGga, FillsTheFix) {
  Link link;
  ASSERT_TRUE(link.feed("junk" + sentence(kGga)));
  const TDatosGPSActual& f = link.fix;
  EXPECT_NEAR(f.position.lat, 48.1173, 1e-12);
  EXPECT_NEAR(f.position.lon, 11.0 + 31.0 / 60.0, 1e-12);
  EXPECT_FLOAT_EQ(f.position.alt, 545.4f);
  EXPECT_EQ(f.satellites, 8);
  EXPECT_DOUBLE_EQ(f.hdop, 0.9);
  EXPECT_EQ(f.time, "123519");
  EXPECT_DOUBLE_EQ(f.geoidSeparationM, 46.9);

  // -9999 and an empty altitude both mean none; fewer than 7 fields is ignored.
  ASSERT_TRUE(link.feed(sentence("GPGGA,123520,4807.038,N,01131.000,E,1,08,0.9,-9999,M,46.9,M,,")));
  EXPECT_EQ(link.fix.position.alt, kUnknownAltitude);
  EXPECT_FALSE(link.feed(sentence("GPGGA,123521,4807.038,S,01131.000,E")));
  EXPECT_GT(link.fix.position.lat, 0.0);
}

TEST(NmeaRmc, StatusSpeedCourseAndDate) {
  Link link;
  ASSERT_TRUE(link.feed(sentence("GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W")));
  EXPECT_EQ(link.fix.fixValid, 1);
  EXPECT_NEAR(link.fix.speedMs, 22.4 * kKnot, 1e-12);
  EXPECT_NEAR(link.fix.courseRad, 84.4 * kDeg, 1e-12);
  EXPECT_EQ(link.fix.date, "230394");
  ASSERT_TRUE(link.feed(sentence("GPRMC,123520,V,4807.038,N,01131.000,E,,,230394,003.1,W")));
  EXPECT_EQ(link.fix.fixValid, 0);
  EXPECT_EQ(link.fix.speedMs, -1.0);
  EXPECT_EQ(link.fix.courseRad, -1.0);
}

TEST(NmeaDispatch, ChecksumSettingDropsOrTakesBadSentences) {
  const std::string bad = "$" + kGga + "*48\r\n";
  const std::string none = "$" + kGga + "\r\n";
  Link checking;
  std::vector<std::string> log;
  checking.protocol.setLog([&](std::string_view l) { log.emplace_back(l); });
  EXPECT_FALSE(checking.feed(bad));
  EXPECT_FALSE(checking.feed(none));
  EXPECT_EQ(checking.fix.changed, 2);
  EXPECT_EQ(checking.fix.fixValid, 0);
  EXPECT_EQ(checking.protocol.counters().checksumDropped, 2u);
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log[0], "$" + kGga + "*48 ChecksumError!\r\n") << "the marker ends its own line";
  EXPECT_EQ(log[1], "$" + kGga + " ChecksumError!\r\n");

  Link lenient(NmeaSettings{false, ""});
  EXPECT_TRUE(lenient.feed(bad));
  EXPECT_EQ(lenient.fix.fixValid, 1);
}

TEST(NmeaDispatch, PreferredPositionSentence) {
  Link link(NmeaSettings{true, "rmc "});
  EXPECT_FALSE(link.feed(sentence(kGga)));
  EXPECT_EQ(link.fix.position.lat, 0.0);
  EXPECT_EQ(link.count, 1);  // an ignored GGA counts like any other sentence
  EXPECT_TRUE(link.feed(sentence("GPRMC,123519,A,3000.000,S,01131.000,E,,,230394,,")));
  EXPECT_EQ(link.fix.position.lat, -30.0);
  EXPECT_EQ(link.count, 0);
}

TEST(NmeaDispatch, GllOnlyWithoutGgaOrRmcInTheCycle) {
  const std::string gll = sentence("GPGLL,4025.1234,N,00342.5678,W,123519,A");
  Link link;
  ASSERT_TRUE(link.feed(sentence(kGga)));
  EXPECT_FALSE(link.feed(gll));  // same cycle: GGA's position stays
  EXPECT_NEAR(link.fix.position.lat, 48.1173, 1e-12);
  EXPECT_FALSE(link.feed(sentence("GPGLL,4025.1234,N,00342.5678,W,101530,A")));  // whatever its time
  EXPECT_NEAR(link.fix.position.lat, 48.1173, 1e-12);
  EXPECT_EQ(link.count, 2);
  // Once GGA has stopped coming for longer than a cycle, GLL supplies the position.
  for (int i = 0; i < 8; ++i) link.feed(sentence("GPGSA,A,3,01,02,12,14,,,,,,,,,1.8,1.0,1.5"));
  EXPECT_FALSE(link.feed(gll));  // ten sentences since the GGA
  EXPECT_TRUE(link.feed(sentence("GPGLL,4025.1234,N,00342.5678,W,123520,A")));
  EXPECT_NEAR(link.fix.position.lat, 40.0 + 25.1234 / 60.0, 1e-12);
  EXPECT_NEAR(link.fix.position.lon, -(3.0 + 42.5678 / 60.0), 1e-12);

  Link gllOnly;  // a receiver that sends nothing else
  EXPECT_TRUE(gllOnly.feed(gll));
  EXPECT_TRUE(gllOnly.feed(sentence("GPGLL,4025.1234,N,00342.5678,W,123519,V")));
  EXPECT_EQ(gllOnly.fix.fixValid, 0);
}

TEST(NmeaDispatch, SatelliteDataWithoutPositionMeansLostFix) {
  const std::string gsv = sentence("GPGSV,3,1,11,02,75,084,31,12,63,194,21,25,58,284,26,10,41,083,21");
  Link link;
  ASSERT_TRUE(link.feed(sentence(kGga)));
  for (int i = 0; i < 10; ++i) EXPECT_FALSE(link.feed(gsv)) << i;
  EXPECT_EQ(link.fix.fixValid, 1);
  EXPECT_TRUE(link.feed(gsv));  // the eleventh
  EXPECT_EQ(link.fix.fixValid, 0);
  EXPECT_EQ(link.count, 11);
  EXPECT_EQ(link.previous, "GSV");
}

TEST(NmeaDispatch, SatelliteTextsFollowTheCycle) {
  Link link;
  link.feed(sentence("GPGSV,2,1,08,01,40,083,46,02,17,308,41,12,07,344,39,14,22,228,45"));
  link.feed(sentence("GLGSV,2,2,08,65,64,050,40,1"));  // another constellation, NMEA 4.1 signal ID
  EXPECT_EQ(link.fix.gsvText,
            "$GPGSV,2,1,08,01,40,083,46,02,17,308,41,12,07,344,39,14,22,228,45$GLGSV,2,2,08,65,64,050,40,1");
  link.feed(sentence("GNGSA,A,3,01,02,12,14,,,,,,,,,1.8,1.0,1.5,1"));
  EXPECT_EQ(link.fix.gsaText, "$GNGSA,A,3,01,02,12,14,,,,,,,,,1.8,1.0,1.5,1");
  link.feed(sentence("GPGSV,1,1,01,01,40,083,46"));  // a new cycle starts the text again
  EXPECT_EQ(link.fix.gsvText, "$GPGSV,1,1,01,01,40,083,46");
}

TEST(NmeaDispatch, OtherConstellationsAndNewerFields) {
  const char* bodies[] = {
      "GNGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,",
      "BDGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,",
      "GNRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W,A,V",  // 4.1 nav status
  };
  for (const char* body : bodies) {
    Link link;
    EXPECT_TRUE(link.feed(sentence(body))) << body;
    EXPECT_EQ(link.fix.fixValid, 1) << body;
    EXPECT_NEAR(link.fix.position.lat, 48.1173, 1e-12) << body;
  }
}

TEST(NmeaDispatch, MarineValues) {
  Link link;
  link.protocol.setClock([] { return 45000.5; });
  link.feed(sentence("GPVTG,054.7,T,034.4,M,005.5,N,010.2,K"));
  EXPECT_NEAR(link.fix.courseRad, 54.7 * kDeg, 1e-12);
  EXPECT_NEAR(link.fix.speedMs, 5.5 * kKnot, 1e-12);
  link.feed(sentence("IIVWR,045.0,L,12.6,N,6.5,M,23.3,K"));
  EXPECT_TRUE(link.fix.relativeWindAngleDeg.present);
  EXPECT_EQ(link.fix.relativeWindAngleDeg.value, -45.0);
  EXPECT_EQ(link.fix.relativeWindSpeedMs.value, 6.5);
  link.feed(sentence("IIVWT,120.0,R,10.0,N,,,,"));
  EXPECT_EQ(link.fix.trueWindAngleDeg.value, 120.0);
  EXPECT_NEAR(link.fix.trueWindSpeedMs.value, 10.0 * kKnot, 1e-12);
  link.feed(sentence("IIVWT,120.0,X,10.0,N,,,,"));
  EXPECT_FALSE(link.fix.trueWindAngleDeg.present);
  link.feed(sentence("IIMTW,17.5,C"));
  EXPECT_EQ(link.fix.waterTemperatureC.value, 17.5);
  EXPECT_TRUE(link.fix.waterTemperatureC.present);
  link.feed(sentence("IIVHW,,T,,M,4.0,N,7.4,K"));
  EXPECT_NEAR(link.fix.waterSpeedMs.value, 4.0 * kKnot, 1e-12);
  link.feed(sentence("IIHDT,274.07,T"));
  EXPECT_EQ(link.fix.trueHeadingDeg, 274.07);

  // A depth waits for the next position and arrives with its receive time.
  link.feed(sentence("SDDBT,,f,12.3,M,,F"));
  EXPECT_TRUE(link.fix.depthM.present);
  EXPECT_EQ(link.fix.depthM.value, 0.0);
  link.feed(sentence(kGga));
  EXPECT_EQ(link.fix.depthM.value, 12.3);
  EXPECT_EQ(link.fix.depthTime, 45000.5);
  link.feed(sentence("SDDBT,10.0,f,,M,,F"));
  link.feed(sentence("GPRMC,123520,A,4807.038,N,01131.000,E,,,230394,,"));
  EXPECT_NEAR(link.fix.depthM.value, 3.048, 1e-12);
}

TEST(NmeaDispatch, WaypointsGoToAnActiveReceiverOnly) {
  struct Collect : NmeaWaypointReceiver {
    void receiveWaypoint(const TComandaNMEA_Rx& s) override {
      NmeaWaypoint w;
      TErrorNMEA error;
      if (s.ParseWPL(w, error)) waypoints.push_back(w);
    }
    std::vector<NmeaWaypoint> waypoints;
  } collect;
  Link link;
  EXPECT_FALSE(link.feed(sentence("GPWPL,3558.322,N,08708.082,W,GCEBB")));
  EXPECT_EQ(link.fix.changed, 2);
  link.state.waypointReceiver = &collect;
  std::ifstream in(test::testData("nmea/waypoints.nmea"));
  for (std::string line; std::getline(in, line);) EXPECT_TRUE(link.feed(line)) << line;
  ASSERT_EQ(collect.waypoints.size(), 9u);
  // $GPWPL,3558.322,N,08708.082,W,GCEBB*1D
  EXPECT_EQ(collect.waypoints[0].name, "GCEBB");
  EXPECT_NEAR(collect.waypoints[0].position.lat, 35.0 + 58.322 / 60.0, 1e-12);
  EXPECT_NEAR(collect.waypoints[0].position.lon, -(87.0 + 8.082 / 60.0), 1e-12);
  EXPECT_EQ(collect.waypoints[8].name, "GC317D");
  EXPECT_EQ(link.fix.changed, 1);
  EXPECT_EQ(link.fix.fixValid, 0);  // waypoints are not the receiver's position
}

TEST(NmeaExtended, GgamPositionAndOptionalFields) {
  Link link;
  const std::string head = "GPGGAM,101530,230394,7,1.2,,,,,";
  ASSERT_TRUE(link.feed(sentence(head + "4025.1234,N,00342.5678,W,,,10.0,90.0,LIMA,ECHO,650.5,TANGO")));
  EXPECT_EQ(link.fix.fixValid, 1);
  EXPECT_NEAR(link.fix.position.lat, 40.0 + 25.1234 / 60.0, 1e-12);
  EXPECT_NEAR(link.fix.speedMs, 10.0 * kKnot, 1e-12);
  EXPECT_NEAR(link.fix.courseRad, 90.0 * kDeg, 1e-12);
  EXPECT_EQ(link.fix.ggamText17, "LIMA");
  EXPECT_EQ(link.fix.ggamText20, "TANGO");
  EXPECT_FLOAT_EQ(link.fix.position.alt, 650.5f);
  EXPECT_EQ(link.fix.satellites, 7);
  ASSERT_TRUE(link.feed(sentence(head + "-9999,N,00342.5678,W,,,-1,-1,,,700.25")));
  EXPECT_EQ(link.fix.fixValid, 0);
  EXPECT_FLOAT_EQ(link.fix.position.alt, 700.25f) << "an altitude that is a number applies, position or not";
  EXPECT_EQ(link.fix.speedMs, -1.0);
  EXPECT_EQ(link.fix.courseRad, -1.0);
}

// Standard atmosphere: h = 44330.8 (1 - (p / 1013.25)^0.190263), an independent formula.
double isaAltitudeM(double hpa) { return 44330.8 * (1.0 - std::pow(hpa / 1013.25, 0.190263)); }

TEST(NmeaVario, PressureAltitudeFollowsTheStandardAtmosphere) {
  for (const double hpa : {1050.0, 1013.25, 950.0, 850.0, 700.0, 500.0, 400.0, 300.0})
    EXPECT_NEAR(pressureAltitudeM(hpa), isaAltitudeM(hpa), 2.0) << hpa;
  EXPECT_EQ(pressureAltitudeM(100.0), 9999.0);
  EXPECT_EQ(pressureAltitudeM(1200.0), -300.0);
  EXPECT_EQ(pressureAltitudeM(std::nan("")), 9999.0);
}

TEST(NmeaVario, ThreeVariometerSentences) {
  Link link;
  EXPECT_TRUE(link.feed(sentence("D,+12,95012")));
  EXPECT_DOUBLE_EQ(link.fix.varioMs.value, 1.2);
  EXPECT_DOUBLE_EQ(link.fix.pressureHpa.value, 950.12);
  EXPECT_NEAR(link.fix.pressureAltitudeM.value, isaAltitudeM(950.12), 2.0);
  EXPECT_TRUE(link.feed(sentence("d,850.0,-0.8")));
  EXPECT_DOUBLE_EQ(link.fix.varioMs.value, -0.8);
  EXPECT_NEAR(link.fix.pressureAltitudeM.value, isaAltitudeM(850.0), 2.0);
  EXPECT_TRUE(link.feed(sentence("PVABD,1234.5,2.5,65.0,")));
  EXPECT_DOUBLE_EQ(link.fix.pressureAltitudeM.value, 1234.5);
  EXPECT_DOUBLE_EQ(link.fix.airspeedKmh.value, 65.0);
  EXPECT_FALSE(link.feed(sentence("D,fast,95012")));
  EXPECT_FALSE(link.feed(sentence("PVABD,,2.5,65.0,")));
  EXPECT_EQ(link.protocol.counters().lines, 5u);
}

}  // namespace
}  // namespace pixtrail
