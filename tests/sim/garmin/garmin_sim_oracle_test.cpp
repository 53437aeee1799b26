// The simulated unit proved against an independent client: gpsbabel downloads every kind of record
// from each profile over the serial line (and over USB through the stand-in library) and finds what
// the unit holds; what gpsbabel uploads arrives in the unit. Then our own host downloads the same
// profiles and must agree with gpsbabel point for point. Without gpsbabel, the downloads compare
// with what it gave when its answers were stored; the uploads need it.
#include <gtest/gtest.h>

#include <cmath>

#include "devices/TGarminIcons.hpp"
#include "devices/TProtocoloGarmin.hpp"
#include "tests/sim/garmin/sim_fixture.hpp"
#include "tests/sim/gpsbabel_gpx.hpp"

namespace pixtrail::sim {
namespace {

// Same place to the semicircle, the antimeridian's two names taken as one.
bool samePlace(double a, double b) {
  const double d = std::fabs(a - b);
  return d < 1.1 * kDegreesPerSemicircle || std::fabs(d - 360.0) < 1.1 * kDegreesPerSemicircle;
}

std::string isoTime(std::uint32_t garminTime) { return formatIsoDateTime(recordFromGarminTime(garminTime)) + "Z"; }

// Route points in gpsbabel's GPX carry name and position only; `full` compares the rest too.
void expectWaypoints(const std::vector<GarminWaypoint>& held, const std::vector<GpxPoint>& got, int type,
                     const std::string& who, bool full = true) {
  ASSERT_EQ(got.size(), held.size()) << who;
  const bool altitudes = full && type >= 108;
  for (std::size_t i = 0; i < held.size(); ++i) {
    EXPECT_EQ(got[i].name, held[i].ident) << who;
    EXPECT_TRUE(samePlace(got[i].lat, held[i].lat)) << who << " " << held[i].ident << " " << got[i].lat;
    EXPECT_TRUE(samePlace(got[i].lon, held[i].lon)) << who << " " << held[i].ident << " " << got[i].lon;
    if (altitudes) {
      EXPECT_TRUE(got[i].hasEle) << who << " " << held[i].ident;
      EXPECT_NEAR(got[i].ele, held[i].altM, 0.01) << who << " " << held[i].ident;
    }
    if (full && type != 100) {
      EXPECT_EQ(TGarminIcons::numberForSymbol(got[i].symbol), held[i].symbol) << who << " " << got[i].symbol;
    }
  }
}

void expectTrackPoints(const std::vector<SimTrack>& held, const std::vector<GpxPoint>& got, int type, const std::string& who) {
  std::size_t k = 0;
  for (const auto& t : held) {
    for (const auto& g : t.points) {
      ASSERT_LT(k, got.size()) << who;
      EXPECT_TRUE(samePlace(got[k].lat, g.lat)) << who << " point " << k;
      EXPECT_TRUE(samePlace(got[k].lon, g.lon)) << who << " point " << k << " " << got[k].lon << " " << g.lon;
      EXPECT_EQ(got[k].time, isoTime(g.time)) << who << " point " << k;
      if (type != 300) { EXPECT_NEAR(got[k].ele, g.altM, 0.01) << who << " point " << k; }
      ++k;
    }
  }
  EXPECT_EQ(k, got.size()) << who;
}

// Whether `places` (lat, lon) appear among the records in this order, to the semicircle.
template <typename Records>
bool inOrder(const Records& records, std::initializer_list<std::pair<double, double>> places) {
  auto place = places.begin();
  for (const auto& r : records) {
    if (place == places.end()) break;
    if (degreesToSemicircles(r.lat) == degreesToSemicircles(place->first) &&
        degreesToSemicircles(r.lon) == degreesToSemicircles(place->second))
      ++place;
  }
  return place == places.end();
}

class GarminSimOracle : public ::testing::TestWithParam<const char*> {
 protected:
  std::string golden(const char* kinds) const { return std::string("garmin-") + GetParam() + "-" + kinds; }
};

TEST_P(GarminSimOracle, GpsbabelDownloadsEveryKindOverSerial) {
  SimOnPty sim(GetParam());
  sim.start();
  const auto& caps = sim.unit.profile().caps;

  auto run = gpsbabelGpx("-w -i garmin -f " + sim.path(), golden("w"));
  ASSERT_EQ(run.status, 0) << run.err;
  expectWaypoints(sim.unit.waypoints, gpxPoints(run.out, "//wpt"), caps.D1XX, "waypoints");

  run = gpsbabelGpx("-r -i garmin -f " + sim.path(), golden("r"));
  ASSERT_EQ(run.status, 0) << run.err;
  std::vector<GarminWaypoint> routePoints;
  for (const auto& r : sim.unit.routes) routePoints.insert(routePoints.end(), r.waypoints.begin(), r.waypoints.end());
  expectWaypoints(routePoints, gpxPoints(run.out, "//rtept"), caps.D1XX, "route points", false);
  if (caps.D20X != 200) {
    const auto names = gpxPoints(run.out, "//rte");
    ASSERT_EQ(names.size(), sim.unit.routes.size());
    for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(names[i].name, sim.unit.routes[i].header.ident);
  }

  run = gpsbabelGpx("-t -i garmin -f " + sim.path(), golden("t"));
  ASSERT_EQ(run.status, 0) << run.err;
  expectTrackPoints(sim.unit.tracks, gpxPoints(run.out, "//trkpt"), caps.D30X, "track points");
}

TEST_P(GarminSimOracle, GpsbabelUploadsArriveInTheUnit) {
  if (!test::oracleLive("gpsbabel")) GTEST_SKIP() << "an upload needs gpsbabel itself";
  SimOnPty sim(GetParam());
  sim.start();
  test::TempDir dir;
  const auto in = dir / "in.gpx";
  test::writeFileBytes(in, R"(<?xml version="1.0"?>
<gpx version="1.1" creator="test" xmlns="http://www.topografix.com/GPX/1/1">
<wpt lat="43.25" lon="-2.9375"><ele>12.5</ele><name>UPONE</name><cmt>FIRST</cmt><sym>Summit</sym></wpt>
<wpt lat="-45.5" lon="170.25"><ele>800</ele><name>UPTWO</name><cmt>SECOND</cmt><sym>Campground</sym></wpt>
<rte><name>UPROUTE</name>
<rtept lat="43.25" lon="-2.9375"><name>UPONE</name></rtept><rtept lat="-45.5" lon="170.25"><name>UPTWO</name></rtept>
</rte>
<trk><name>UPTRACK</name><trkseg>
<trkpt lat="43.0" lon="-3.0"><ele>100</ele><time>2024-06-01T10:00:00Z</time></trkpt>
<trkpt lat="43.001" lon="-3.001"><ele>101</ele><time>2024-06-01T10:00:05Z</time></trkpt>
<trkpt lat="43.002" lon="-3.002"><ele>102</ele><time>2024-06-01T10:00:10Z</time></trkpt>
</trkseg></trk></gpx>
)");
  const std::size_t before = sim.unit.waypoints.size();
  auto run = gpsbabelUpload("-w -i gpx -f " + in.string() + " -o garmin -F " + sim.path());
  ASSERT_EQ(run.status, 0) << run.err;
  ASSERT_EQ(sim.unit.waypoints.size(), before + 2);
  const GarminWaypoint& one = sim.unit.waypoints[before];
  EXPECT_EQ(one.ident, "UPONE");
  EXPECT_EQ(degreesToSemicircles(one.lat), degreesToSemicircles(43.25));
  EXPECT_EQ(degreesToSemicircles(one.lon), degreesToSemicircles(-2.9375));

  // gpsbabel adds points of its own to what it sends (a blank route point between two, a
  // start marker before a track on the oldest units): ours must arrive, in order, among them.
  run = gpsbabelUpload("-r -i gpx -f " + in.string() + " -o garmin -F " + sim.path());
  ASSERT_EQ(run.status, 0) << run.err;
  ASSERT_EQ(sim.unit.routes.size(), 1u);
  EXPECT_TRUE(inOrder(sim.unit.routes[0].waypoints, {{43.25, -2.9375}, {-45.5, 170.25}}));

  if (sim.unit.profile().caps.hasA1006) return;  // gpsbabel sends tracks to these as courses
  run = gpsbabelUpload("-t -i gpx -f " + in.string() + " -o garmin -F " + sim.path());
  ASSERT_EQ(run.status, 0) << run.err;
  const SimTrack& uploaded = sim.unit.tracks.back();
  EXPECT_TRUE(inOrder(uploaded.points, {{43.0, -3.0}, {43.001, -3.001}, {43.002, -3.002}}));
  EXPECT_EQ(uploaded.points.back().time, garminTimeFromRecord({1, 6, 2024, 10, 0, 10.0}));
}

TEST_P(GarminSimOracle, OurHostAgreesWithGpsbabel) {
  SimOnPty sim(GetParam());
  sim.start();
  const auto run = gpsbabelGpx("-w -t -i garmin -f " + sim.path(), golden("wt"));
  ASSERT_EQ(run.status, 0) << run.err;

  auto port = openHostLine(sim.path());
  TProtocoloGarmin garmin(*port);
  TBalizas waypoints;
  garmin.receiveWaypoints(waypoints);
  std::vector<TVolGPS> tracks;
  garmin.receiveTracks(tracks);

  const auto theirWaypoints = gpxPoints(run.out, "//wpt");
  ASSERT_EQ(theirWaypoints.size(), waypoints.waypoints.size());
  for (std::size_t i = 0; i < theirWaypoints.size(); ++i) {
    const TBaliza& w = waypoints.waypoints[i];
    EXPECT_EQ(w.name, theirWaypoints[i].name);
    EXPECT_TRUE(samePlace(w.position.lat, theirWaypoints[i].lat));
    EXPECT_TRUE(samePlace(w.position.lon, theirWaypoints[i].lon));
    if (theirWaypoints[i].hasEle) { EXPECT_NEAR(w.position.alt, theirWaypoints[i].ele, 0.01); }
  }
  const auto theirPoints = gpxPoints(run.out, "//trkpt");
  std::size_t k = 0;
  for (const auto& t : tracks) {
    for (std::size_t i = 0; i < t.points.size(); ++i, ++k) {
      ASSERT_LT(k, theirPoints.size());
      const TPuntVol& p = t.points[i];
      EXPECT_TRUE(samePlace(p.position.lat, theirPoints[k].lat)) << k;
      EXPECT_TRUE(samePlace(p.position.lon, theirPoints[k].lon)) << k;
      EXPECT_EQ(formatIsoDateTime(p.time.toRecord()) + "Z", theirPoints[k].time) << k;
      if (hasAltitude(p.position.alt)) { EXPECT_NEAR(p.position.alt, theirPoints[k].ele, 0.01) << k; }
    }
  }
  EXPECT_EQ(k, theirPoints.size());
}

INSTANTIATE_TEST_SUITE_P(Profiles, GarminSimOracle, ::testing::Values("old", "serial", "usb"));

TEST(GarminSimOracleUsb, GpsbabelDownloadsAndUploadsThroughTheUsbStandIn) {
  SimOnPty sim("usb");
  test::TempDir dir;
  const std::string environment = sim.startUsb(dir.path());
  auto run = gpsbabelGpx("-w -r -t -i garmin -f usb:", "garmin-usb-stand-in-wrt", environment);
  ASSERT_EQ(run.status, 0) << run.err;
  expectWaypoints(sim.unit.waypoints, gpxPoints(run.out, "//wpt"), 110, "USB waypoints");
  expectTrackPoints(sim.unit.tracks, gpxPoints(run.out, "//trkpt"), 304, "USB track points");
  std::vector<GarminWaypoint> routePoints;
  for (const auto& r : sim.unit.routes) routePoints.insert(routePoints.end(), r.waypoints.begin(), r.waypoints.end());
  expectWaypoints(routePoints, gpxPoints(run.out, "//rtept"), 110, "USB route points", false);
  if (!test::oracleLive("gpsbabel")) return;  // the upload needs gpsbabel itself

  const auto in = dir / "up.gpx";
  test::writeFileBytes(in, R"(<?xml version="1.0"?>
<gpx version="1.1" creator="test" xmlns="http://www.topografix.com/GPX/1/1">
<wpt lat="-33.875" lon="151.25"><ele>20</ele><name>HARBOUR</name><sym>Summit</sym></wpt>
</gpx>
)");
  run = gpsbabelUpload("-w -i gpx -f " + in.string() + " -o garmin -F usb:", environment);
  ASSERT_EQ(run.status, 0) << run.err;
  const GarminWaypoint& up = sim.unit.waypoints.back();
  EXPECT_EQ(up.ident, "HARBOUR");
  EXPECT_EQ(degreesToSemicircles(up.lon), degreesToSemicircles(151.25));
  EXPECT_EQ(up.altM, 20.0f);
  EXPECT_EQ(up.symbol, 8246) << "Summit";
}

}  // namespace
}  // namespace pixtrail::sim
