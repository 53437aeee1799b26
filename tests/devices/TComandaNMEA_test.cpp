#include "devices/TComandaNMEA.hpp"

#include <gtest/gtest.h>

#include "tracks/nmea_checksum.hpp"

namespace pixtrail {
namespace {

// The textbook sentences of the NMEA 0183 literature, with their published checksums.
const std::string kGga = "GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,";  // *47

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

TEST(NmeaDialects, WaypointsAndRoutes) {
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

  NmeaRouteMessage route;
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
  const auto gga = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaTrackPoint p; return s.ParseGGATrackPoint(p, e); };
  const auto rte = [](const TComandaNMEA_Rx& s, TErrorNMEA& e) { NmeaRouteMessage r; return s.ParseRTE(r, e); };
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
