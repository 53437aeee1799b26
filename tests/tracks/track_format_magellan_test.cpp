// The Magellan waypoint and route text forms, alone and through the waypoint and route files.

#include "tracks/track_format_magellan.hpp"

#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"

namespace pixtrail {
namespace {

std::string framed(const std::string& body) { return magellanSentence({body}); }

TEST(MagellanText, ReadsWaypointsWithOrWithoutTheLayoutLineAndReportsDamagedOnes) {
  const std::string text = std::string(magellan_text::kWaypointLayout) + "\r\n" +
                           framed("PMGNWPL,4025.122,N,00342.234,W,0000650,M,MADRID,Puerta del Sol,a") +
                           "$PMGNWPL,4123.106,N,00210.404,E,0000012,M,BCN,Barceloneta,b*00\r\n" +  // damaged
                           framed("PMGNWPL,3351.408,S,15112.918,E,,M,SYDNEY,,") + "$PMGNCMD,END*3D\r\n";
  TBalizas w;
  std::string message;
  EXPECT_FALSE(parseMagellanWaypointText(text, w, message));
  EXPECT_NE(message.find("Error in NMEA message in checksum section"), std::string::npos) << message;
  ASSERT_EQ(w.waypoints.size(), 2u) << "the damaged sentence is left out, the rest read";
  EXPECT_EQ(w.waypoints[0].description, "Puerta del Sol");
  EXPECT_EQ(w.waypoints[0].symbol, "a");
  EXPECT_NEAR(w.waypoints[0].position.lat, 40 + 25.122 / 60, 1e-12);
  EXPECT_NEAR(w.waypoints[0].position.lon, -(3 + 42.234 / 60), 1e-12);
  EXPECT_EQ(w.waypoints[0].position.alt, 650.0f);
  EXPECT_FALSE(hasAltitude(w.waypoints[1].position.alt)) << "an empty altitude is none, not zero";
  EXPECT_NEAR(w.waypoints[1].position.lat, -(33 + 51.408 / 60), 1e-12);
}

TEST(MagellanText, RoutesResolveTheirWaypointsAndKeepTheirNames) {
  TRutas routes;
  for (const char* name : {"OUT", "BACK"}) {
    TRuta& r = routes.routes.emplace();
    r.name = name;
    for (int i = 0; i < 3; ++i) {
      TBaliza& b = r.waypoints.emplace();
      b.name = std::string("P") + std::to_string(name[0] == 'O' ? i : 2 - i);  // the same places, reversed
      b.position = {i * 0.5, 40.0 + i, 100.0f * static_cast<float>(i)};
      if (name[0] == 'B') b.position = {(2 - i) * 0.5, 42.0 - i, 100.0f * static_cast<float>(2 - i)};
    }
  }
  const std::string text = magellanRouteText(routes);
  TRutas back;
  std::string message;
  ASSERT_TRUE(parseMagellanRouteText(text, back, message)) << message;
  ASSERT_EQ(back.routes.size(), 2u);
  EXPECT_EQ(back.routes[1].name, "BACK");
  ASSERT_EQ(back.routes[1].waypoints.size(), 3u);
  EXPECT_EQ(back.routes[1].waypoints[0].name, "P2");
  EXPECT_NEAR(back.routes[1].waypoints[0].position.lat, 42.0, 2e-6);
  // Each waypoint is written once even though both routes name it.
  std::size_t wpl = 0;
  for (std::size_t at = text.find("$PMGNWPL"); at != std::string::npos; at = text.find("$PMGNWPL", at + 1)) ++wpl;
  EXPECT_EQ(wpl, 3u);
}

TEST(MagellanText, ARouteNamingAnUnknownWaypointIsRefusedWhole) {
  const std::string text = framed("PMGNWPL,4025.122,N,00342.234,W,0000650,M,A,,a") +
                           framed("PMGNRTE,1,1,c,1,GOOD,A,a") + framed("PMGNRTE,1,1,c,2,BAD,A,a,GHOST,a");
  TRutas routes;
  std::string message;
  EXPECT_FALSE(parseMagellanRouteText(text, routes, message));
  EXPECT_EQ(message, "NMEA-Mag: Baliza de ruta no encontrada (route 2)");
  EXPECT_TRUE(routes.routes.empty()) << "nothing half-read reaches the caller";
}

}  // namespace
}  // namespace pixtrail
