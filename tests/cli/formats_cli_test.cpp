#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

test::CommandOutput run(const std::string& arguments) {
  const test::TempDir config;
  return test::runPixtrail("--config " + shellQuote((config / "gps.ini").string()) + " " + arguments);
}

std::string sample(const std::string& name) { return shellQuote(test::testData("formats/" + name).string()); }

TEST(FormatsCli, ConvertReachesEveryForeignReaderAndWriter) {
  test::TempDir dir;
  // Input, output name, expected status: every foreign reader into GPX, and GPX into each writer.
  const struct { std::string in, out; int status; } rows[] = {
      {sample("igc2.igc"), "a.gpx", 0},
      {sample("track_20070813_short.plt"), "b.gpx", 0},
      {shellQuote(test::testData("nmea/track.nmea").string()), "c.gpx", 0},
      {sample("track_magellandate.log"), "d.gpx", 0},
      {sample("garmin_txt.txt"), "e.gpx", 0},
      {sample("track_gpx_garmin_extensions.gpx"), "f.plt", 0},
      {sample("track_gpx_garmin_extensions.gpx"), "g.IGC", 0},
      {sample("track_gpx_garmin_extensions.gpx"), "h.log", 0},
      {sample("track_gpx_garmin_extensions.gpx"), "i.fpt", 2},  // undocumented own format
      {sample("track_gpx_garmin_extensions.gpx"), "j.csv", 2},  // CSV opens but never saves
  };
  for (const auto& r : rows) {
    const std::string out = (dir / r.out).string();
    const auto result = run("convert " + r.in + " " + shellQuote(out));
    EXPECT_EQ(result.status, r.status) << r.in << " -> " << r.out << ": " << result.err;
    if (r.status == 0) {
      EXPECT_TRUE(std::filesystem::exists(out)) << out;
    }
  }
}

TEST(FormatsCli, KmlOfTracksAndPins) {
  test::TempDir dir;
  const std::string out = (dir / "trip.kml").string();
  auto r = run("kml -o " + shellQuote(out) + " " + sample("igc2.igc") + " " +
               sample("track_20070813_short.plt") + " --waypoints " + sample("ozi.wpt"));
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string kml = test::readFileBytes(out);
  std::size_t tracks = 0, pins = 0;
  for (std::size_t at = 0; (at = kml.find("<gx:MultiTrack>", at)) != std::string::npos; ++at) ++tracks;
  for (std::size_t at = 0; (at = kml.find("<Point>", at)) != std::string::npos; ++at) ++pins;
  EXPECT_EQ(tracks, 2u);
  EXPECT_GT(pins, 5u);
  EXPECT_EQ(run("kml -o " + shellQuote(out) + " " + sample("igc2.igc")).status, 1) << "existing file kept";
  EXPECT_EQ(run("kml -o " + shellQuote((dir / "x.kml").string()) + " /nonexistent.gpx").status, 2);
}

}  // namespace
}  // namespace pixtrail
