#include "devices/TComandaNMEA.hpp"

#include <gtest/gtest.h>

#include "devices/nmea_checksum.hpp"

namespace pixtrail {
namespace {

// The textbook sentences of the NMEA 0183 literature, with their published checksums.
const std::string kGga = "GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,";  // *47
const std::string kRmc = "GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W";  // *6A

TEST(NmeaChecksum, MatchesPublishedSentences) {
  EXPECT_EQ(nmeaChecksum(std::string_view(kGga)), 0x47);
  EXPECT_EQ(nmeaChecksum(std::string_view(kRmc)), 0x6A);
  const auto text = nmeaChecksumText(0x6A);
  EXPECT_EQ(std::string(text.data(), 2), "6A");
  // Without a length the body ends at its terminating zero.
  const char withZero[] = "GPGGA\0,junk";
  EXPECT_EQ(nmeaChecksum(withZero), nmeaChecksum(std::string_view("GPGGA")));
}

TEST(NmeaLine, AcceptsWhatReceiversSendAndRefusesWhatTheyMangle) {
  const struct {
    std::string line;
    bool ok;
    bool checksumOk;
    std::string_view type;
    std::string_view message;
    const char* why;
  } rows[] = {
      {"$" + kGga + "*47", true, true, "GGA", "", "published example"},
      {"blah7.0$" + kGga + "*47\r\n", true, true, "GGA", "", "noise before $ and CR LF are normal"},
      {"$" + kGga + "*47\n", true, true, "GGA", "", "LF alone"},
      {"$" + kRmc + "*6a", true, true, "RMC", "", "lower-case hexadecimal"},
      {"$" + kRmc + "*6A trailing", true, true, "RMC", "", "text after the two digits is not read"},
      {"$" + kGga + "*48", true, false, "GGA", "", "a wrong checksum is a flag, not a failure"},
      {"$" + kGga + "*4G", true, false, "GGA", "", "a non-hex digit cannot match"},
      {"$" + kGga, true, false, "GGA", "", "no checksum at all is accepted, unchecked"},
      {"$" + kGga + "*4", false, false, "", "Error in NMEA message in checksum section", "one digit only"},
      {"$" + kGga + "*\r\n", false, false, "", "Error in NMEA message in checksum section", "CR right after *"},
      {"$*47", false, false, "", "Error in NMEA message in checksum section", "nothing before *"},
      {kGga + "*47", false, false, "", "Wrong NMEA message. ($ symbol not found)", "no $"},
      {"", false, false, "", "Wrong NMEA message. ($ symbol not found)", "empty line"},
      {"$GNGGA,1", true, false, "GGA", "", "multi-constellation talker"},
      {"$PMGNWPL,1", true, false, "MGNWPL", "", "proprietary: the talker is the P alone"},
      {"$D,+12,95012", true, false, "D", "", "identifiers under four characters are their own type"},
      {"$d,950.12,-0.8", true, false, "d", "", "case matters"},
      {"$GPGGA\r*47", true, false, "GGA", "", "cut at CR before looking for *"},
  };
  for (const auto& r : rows) {
    TComandaNMEA_Rx s;
    TErrorNMEA error;
    EXPECT_EQ(s.Parse(r.line, error), r.ok) << r.why;
    EXPECT_EQ(error.message, r.message) << r.why;
    if (!r.ok) continue;
    EXPECT_EQ(s.checksumCorrect(), r.checksumOk) << r.why;
    EXPECT_EQ(s.type(), r.type) << r.why;
    EXPECT_EQ(error.code, TErrorNMEA::kNone) << r.why;
  }
}

TEST(NmeaLine, KeepsEmptyFieldsAndLeavesTheSentenceAloneOnFailure) {
  TComandaNMEA_Rx s;
  TErrorNMEA error;
  ASSERT_TRUE(s.Parse("$" + kGga + "*47", error));
  EXPECT_EQ(s.fieldCount(), 15u);  // identifier + 14 data fields, the last two empty
  EXPECT_EQ(s.field(0), "GPGGA");
  EXPECT_EQ(s.talker(), "GP");
  EXPECT_EQ(s.field(9), "545.4");
  EXPECT_EQ(s.field(13), "");
  EXPECT_EQ(s.field(99), "");
  EXPECT_EQ(s.body(), kGga);
  EXPECT_EQ(s.checksumText(), "47");
  EXPECT_EQ(s.computedChecksum(), 0x47);

  EXPECT_FALSE(s.Parse("no sentence here", error));
  EXPECT_EQ(error.code, TErrorNMEA::kNoDollar);
  EXPECT_EQ(error.detail, "no sentence here");
  EXPECT_EQ(s.type(), "GGA");  // still the last good sentence
  // A copy owns its text.
  TComandaNMEA_Rx copy = s;
  ASSERT_TRUE(s.Parse("$GPVTG,1,T", error));
  EXPECT_EQ(copy.field(2), "4807.038");
}

TEST(NmeaFields, PositionsNumbersAndTheirRefusals) {
  TComandaNMEA_Rx s;
  TErrorNMEA error;
  ASSERT_TRUE(s.Parse("$X,4807.038,N,01131.000,E,3345.5,S,07000.0,W,9000.0,N,18000.0,E,4560.0,N,00000,E,"
                      "12.5,inf,nan,+3,,abc,4807.038,n,0001.0,E",
                      error));
  TCoord p;
  ASSERT_TRUE(s.position(1, p));
  EXPECT_NEAR(p.lat, 48.0 + 7.038 / 60.0, 1e-12);
  EXPECT_NEAR(p.lon, 11.0 + 31.0 / 60.0, 1e-12);
  ASSERT_TRUE(s.position(5, p));
  EXPECT_NEAR(p.lat, -(33.0 + 45.5 / 60.0), 1e-12);
  EXPECT_NEAR(p.lon, -70.0, 1e-12);
  ASSERT_TRUE(s.position(9, p));  // the poles and the antimeridian are real places
  EXPECT_EQ(p.lat, 90.0);
  EXPECT_EQ(p.lon, 180.0);
  const TCoord before = p;
  EXPECT_FALSE(s.position(13, p));  // 60 minutes
  EXPECT_FALSE(s.position(23, p));  // lower-case hemisphere
  EXPECT_EQ(p, before);
  EXPECT_FALSE(s.position(13, NmeaDialect::kTalvio, p, error));
  EXPECT_EQ(error.message, "NMEA-Talvio: Position syntax Error");

  double v = 0.0;
  EXPECT_TRUE(s.number(17, v));
  EXPECT_EQ(v, 12.5);
  EXPECT_FALSE(s.number(18, v));  // inf
  EXPECT_FALSE(s.number(19, v));  // nan
  EXPECT_TRUE(s.number(20, v));
  EXPECT_EQ(v, 3.0);
  EXPECT_FALSE(s.number(21, v));  // empty is unknown, not zero
  EXPECT_FALSE(s.number(22, v));
}

TEST(NmeaTime, ReadsReceiverTimesAndDates) {
  DateTimeRecord t;
  ASSERT_TRUE(readNmeaTime("032908.379", t));
  EXPECT_EQ(t.hour, 3);
  EXPECT_EQ(t.minute, 29);
  EXPECT_NEAR(t.seconds, 8.379, 1e-9);
  ASSERT_TRUE(readNmeaTime("235959", t));
  EXPECT_EQ(t.seconds, 59.0);
  for (const char* bad : {"", "2400", "240000", "126000", "12345", "1234567", "12:34:56", "1234a6"})
    EXPECT_FALSE(readNmeaTime(bad, t)) << bad;
  ASSERT_TRUE(readNmeaDate("230394", t));
  EXPECT_EQ(t.year, 1994);
  EXPECT_EQ(t.month, 3);
  EXPECT_EQ(t.day, 23);
  ASSERT_TRUE(readNmeaDate("070804", t));
  EXPECT_EQ(t.year, 2004);
  for (const char* bad : {"", "001304", "320104", "0708041", "07a804"}) EXPECT_FALSE(readNmeaDate(bad, t)) << bad;
}

TEST(NmeaBuilder, ReproducesThePublishedSentence) {
  TComandaNMEA_Tx tx;
  const char* fields[] = {"GPGGA", "123519", "4807.038", "N", "01131.000", "E", "1", "08", "0.9", "545.4", "M",
                          "46.9", "M", "", ""};
  for (std::size_t i = 0; i < std::size(fields); ++i) tx.setField(i, fields[i]);
  EXPECT_EQ(tx.Build(), "$" + kGga + "*47\r\n");
  EXPECT_EQ(tx.type(), "GGA");
  // Fields before the first index to send are left out; the list grows past 20 entries.
  tx.clearFields();
  tx.setField(0, "unused");
  tx.setField(1, "GPRMC");
  tx.setField(24, "x");
  tx.setFirstField(1);
  const std::string built = tx.Build();
  EXPECT_EQ(built.substr(0, 7), "$GPRMC,");
  EXPECT_EQ(std::count(built.begin(), built.end(), ','), 23);
}

TEST(NmeaBuilder, GgaPositionReport) {
  const DateTimeRecord time{23, 3, 1994, 12, 35, 19.0};
  // 48.1173 N = 48 deg 7.038 min; 11.5166667 E = 11 deg 31.0000 min (hand calculation).
  const TCoord p{11.0 + 31.0 / 60.0, 48.0 + 7.038 / 60.0, 545.4f};
  TComandaNMEA_Tx tx;
  const std::string body = "GPGGA,123519,4807.0380,N,01131.0000,E,1,5,0,545.4,M,0,M,,";
  char check[3];
  std::snprintf(check, sizeof check, "%02X", nmeaChecksum(std::string_view(body)));
  EXPECT_EQ(tx.BuildGGA(time, p), "$" + body + "*" + check + "\r\n");
  EXPECT_NE(tx.BuildGGA(time, p, true).find(",123519.00,"), std::string::npos);

  TComandaNMEA_Tx_Galileo galileo;
  EXPECT_EQ(galileo.BuildGGA(time, p).substr(0, 7), "$GAGGA,");

  // Southern and western hemisphere, and minutes that round up into the next degree.
  const TCoord south{-(70.0 + 0.5 / 60.0), -(40.0 + 59.999999 / 60.0), kUnknownAltitude};
  const std::string s = tx.BuildGGA(time, south);
  EXPECT_NE(s.find(",4100.0000,S,07000.5000,W,1,5,0,,M,"), std::string::npos) << s;

  // What we send reads back as the same fix.
  TComandaNMEA_Rx rx;
  TErrorNMEA error;
  ASSERT_TRUE(rx.Parse(tx.BuildRMC(time, p), error));
  EXPECT_TRUE(rx.checksumCorrect());
  EXPECT_EQ(rx.field(2), "A");
  EXPECT_EQ(rx.field(9), "230394");
}

TEST(NmeaDialects, WaypointsRoutesAndTrackPoints) {
  TComandaNMEA_Rx s;
  TErrorNMEA error;
  NmeaWaypoint w;
  ASSERT_TRUE(s.Parse("$PMGNWPL,3339.889,N,11736.283,W,0000155,M,WPT001,this is comment,a", error));
  ASSERT_TRUE(s.ParsePMGNWPL(w, error));
  EXPECT_EQ(w.name, "WPT001");
  EXPECT_EQ(w.comment, "this is comment");
  EXPECT_EQ(w.icon, "a");
  EXPECT_NEAR(w.position.lat, 33.0 + 39.889 / 60.0, 1e-12);
  EXPECT_NEAR(w.position.lon, -(117.0 + 36.283 / 60.0), 1e-12);
  EXPECT_FLOAT_EQ(w.position.alt, 155.0f);

  NmeaTrackPoint p;
  ASSERT_TRUE(s.Parse("$PMGNTRK,4322.817,N,00551.286,E,00089,M,170547.71,A,,020602", error));
  ASSERT_TRUE(s.ParsePMGNTRK(p, error));
  EXPECT_TRUE(p.valid);
  EXPECT_EQ(p.time.year, 2002);
  EXPECT_EQ(p.time.hour, 17);
  EXPECT_NEAR(p.time.seconds, 47.71, 1e-9);
  EXPECT_FLOAT_EQ(p.position.alt, 89.0f);

  NmeaRouteMessage route;
  ASSERT_TRUE(s.Parse("$PMGNRTE,2,1,c,1,FOO,a,BAR,b", error));
  ASSERT_TRUE(s.ParsePMGNRTE(route, error));
  EXPECT_EQ(route.messageCount, 2);
  EXPECT_EQ(route.waypointNames, (std::vector<std::string>{"FOO", "BAR"}));
  EXPECT_EQ(route.icons, (std::vector<std::string>{"a", "b"}));

  ASSERT_TRUE(s.Parse("$GPRTE,2,1,c,0,W3IWI,DRIVWY,32CEDR", error));
  ASSERT_TRUE(s.ParseRTE(route, error));
  EXPECT_EQ(route.routeName, "0");
  EXPECT_EQ(route.waypointNames, (std::vector<std::string>{"W3IWI", "DRIVWY", "32CEDR"}));

  std::vector<NmeaWaypoint> resolved;
  const std::vector<NmeaWaypoint> known{{"W3IWI", {}, "", ""}, {"DRIVWY", {}, "", ""}};
  EXPECT_FALSE(resolveRouteWaypoints(route, known, NmeaDialect::kMlr, resolved, error));
  EXPECT_EQ(error.message, "NMEA-MLR: Baliza de ruta no encontrada");
  EXPECT_TRUE(resolved.empty());
}

TEST(NmeaDialects, EachFailureCarriesItsFamilysMessage) {
  using Parse = bool (*)(const TComandaNMEA_Rx&, TErrorNMEA&);
  const auto wpl = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaWaypoint w; return s.ParseWPL(w, e); };
  const auto pmgnwpl = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaWaypoint w; return s.ParsePMGNWPL(w, e); };
  const auto trk = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaTrackPoint p; return s.ParsePMGNTRK(p, e); };
  const auto gga = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaTrackPoint p; return s.ParseGGATrackPoint(p, e); };
  const auto rte = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaRouteMessage r; return s.ParseRTE(r, e); };
  const auto pmgnrte = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaRouteMessage r; return s.ParsePMGNRTE(r, e); };
  const auto pmlr = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaWaypoint w; return s.ParsePMLR(w, e); };
  const auto wpr = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaWaypoint w; return s.ParseWPR(w, e); };
  const struct {
    const char* line;
    Parse parse;
    std::string_view message;
  } rows[] = {
      {"$GPWPL,3558.322,N,08708.082,W,GCEBB", wpl, ""},
      {"$GPWPL,3558.322,N,08708.082,W", wpl, "NMEA-MLR: Error en el mensaje WPL"},
      {"$WPWPL,3558.322,N,08708.082", wpl, "NMEA-MLR: Error en el mensaje NMEA WPWPL"},
      {"$GPWPL,3558.322,N,08708.082,W,", wpl, "NMEA-MLR: Error en el mensaje WPL: ultima palabra corta"},
      {"$GPWPL,3558.322,X,08708.082,W,GCEBB", wpl, "NMEA-MLR: Position syntax Error"},
      {"$GPRTE,1,1,c", rte, "NMEA-MLR: Error en el mensaje GPRTE"},
      {"$GPRTE,1,2,c,0,A", rte, "NMEA-MLR: Error en el mensaje GPRTE"},
      {"$PMLR,3558.322,N,08708.0x2,W,HOME,12", pmlr, "NMEA-MLR:Position syntax Error"},
      {"$PMGNWPL,3339.889,N,11736.283,W,0000155,M", pmgnwpl, "NMEA-Mag: Error en el mensaje WPL"},
      {"$PMGNWPL,3339.889,N,11736.283,E,0000155,M,,c,a", pmgnwpl, "NMEA-Mag: Error en el mensaje WPL"},
      {"$PMGNWPL,3339.889,N,,W,0000155,M,W1,c,a", pmgnwpl, "NMEA-Mag: Position syntax Error"},
      {"$PMGNTRK,4322.817,N,00551.286,E,00089,M", trk, "NMEA-Mag: Error en el mensaje NMEA PMGNTRK"},
      {"$PMGNTRK,4322.817,N,00551.286,E,00089,M,170547.71,A,,021302", trk,
       "NMEA-Mag: Error en el mensaje NMEA PMGNTRK"},
      {"$PMGNRTE,1,1,c", pmgnrte, "NMEA-Mag: Baliza de ruta no encontrada"},
      {"$GPGGA,12x519,4807.038,N,01131.000,E,1,08", gga, "NMEA-Mag: Error en el mensaje NMEA GGA"},
      {"$GPGGA,123519,4807.038,N,01131.000,Q,1,08", gga, "NMEA-Mag: Position syntax Error"},
      {"$GPWPR,3558.322,N,08708.082,W", wpr, "NMEA-Talvio: Error in message WPR"},
      {"$GPWPR,3558.322,N,08708.082,W,X", wpr, ""},
  };
  for (const auto& r : rows) {
    TComandaNMEA_Rx s;
    TErrorNMEA error;
    ASSERT_TRUE(s.Parse(r.line, error)) << r.line;
    EXPECT_EQ(r.parse(s, error), r.message.empty()) << r.line;
    EXPECT_EQ(error.message, r.message) << r.line;
  }
}

}  // namespace
}  // namespace pixtrail
