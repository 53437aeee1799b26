// info, convert, position and kml as a user runs them, over our own and the foreign formats.
#include <gtest/gtest.h>

#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

const auto run = [](const std::string& arguments) { return test::runPixtrailAlone(arguments); };

std::string walk() { return test::testData("tracks/walk.TRK").string(); }
std::string sample(const std::string& name) { return shellQuote(test::testData(name).string()); }

TEST(TracksCli, InfoReportsTheRecalculatedTrack) {
  const auto r = run("info --json " + shellQuote(walk()));
  ASSERT_EQ(r.status, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["points"], 5);
  EXPECT_EQ(j["segments"], 2) << "the fourth point starts a segment";
  EXPECT_EQ(j["start"], "2024-05-12T09:00:00");
  EXPECT_EQ(j["end"], "2024-05-12T09:31:00");
  EXPECT_NEAR(j["bbox"][0].get<double>(), 40.41, 1e-9);        // 40 24.600' N
  EXPECT_NEAR(j["bbox"][1].get<double>(), -3.755, 1e-9);       // 003 45.300' W
  EXPECT_EQ(j["name"], "Casa de Campo loop");
  EXPECT_EQ(run("info " + shellQuote(walk()) + " /nonexistent/x.trk").status, 1);
}

TEST(TracksCli, ConvertGoesThroughTheDispatchersAndKeepsBytes) {
  test::TempDir dir;
  const std::string once = (dir / "once.trk").string();
  auto r = run("convert --coords 1 " + shellQuote(walk()) + " " + shellQuote(once));
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string written = once;  // the extension as typed
  EXPECT_EQ(r.out, written + "\n");
  r = run("convert --coords 1 " + shellQuote(written) + " " + shellQuote((dir / "twice.TRK").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(test::readFileBytes(written), test::readFileBytes(dir / "twice.TRK"));
  r = run("convert " + shellQuote(walk()) + " " + shellQuote(written));
  EXPECT_EQ(r.status, 1) << "an existing file is not overwritten unasked";
  r = run("convert " + shellQuote(walk()) + " " + shellQuote((dir / "x.csv").string()));
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("Unknown file format saving tracks: csv"), std::string::npos) << r.err;
}

TEST(TracksCli, OverwritingAnIgcLogKeepsTheOldOne) {
  test::TempDir dir;
  const std::string igc = (dir / "walk.igc").string();
  test::writeFileBytes(igc, "an older log");
  auto r = run("convert " + shellQuote(walk()) + " " + shellQuote(igc));
  EXPECT_EQ(r.status, 1) << "not replaced unasked";
  r = run("convert --overwrite " + shellQuote(walk()) + " " + shellQuote(igc));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, igc + "\n");
  EXPECT_EQ(test::readFileBytes(dir / "walk.bak"), "an older log");
  EXPECT_NE(test::readFileBytes(igc).find("\r\nB09"), std::string::npos);
}

TEST(TracksCli, PositionAtTimes) {
  const auto r = run("position --json --track " + shellQuote(walk()) +
                             " 2024-05-12T09:00:30 2024-05-12T07:00:00");
  ASSERT_EQ(r.status, 0) << r.err;
  const auto j = nlohmann::json::parse(r.out);
  ASSERT_EQ(j.size(), 2u);
  EXPECT_EQ(j[0]["status"], "interpolated");
  EXPECT_EQ(j[0]["index"], 1);
  // Half way between 40 24.600' and 40 24.700' N, on 003 45.000' W; altitudes 650 and 655.
  EXPECT_NEAR(j[0]["lat"].get<double>(), 40.0 + 24.65 / 60, 1e-9);
  EXPECT_NEAR(j[0]["lon"].get<double>(), -3.75, 1e-9);
  EXPECT_NEAR(j[0]["alt"].get<double>(), 652.5, 1e-4);
  EXPECT_EQ(j[1]["status"], "not-covered");
  EXPECT_TRUE(j[1]["lat"].is_null());
}

TEST(FormatsCli, ConvertReachesEveryForeignReaderAndWriter) {
  test::TempDir dir;
  // Input, output name, expected status: every foreign reader into GPX, and GPX into each writer.
  const struct { std::string in, out; int status; } rows[] = {
      {sample("formats/igc2.igc"), "a.gpx", 0},
      {sample("formats/track_20070813_short.plt"), "b.gpx", 0},
      {sample("nmea/track.nmea"), "c.gpx", 0},
      {sample("formats/track_magellandate.log"), "d.gpx", 0},
      {sample("formats/garmin_txt.txt"), "e.gpx", 0},
      {sample("formats/track_gpx_garmin_extensions.gpx"), "f.plt", 0},
      {sample("formats/track_gpx_garmin_extensions.gpx"), "g.IGC", 0},
      {sample("formats/track_gpx_garmin_extensions.gpx"), "h.log", 0},
      {sample("formats/track_gpx_garmin_extensions.gpx"), "i.fpt", 2},  // undocumented own format
      {sample("formats/track_gpx_garmin_extensions.gpx"), "j.csv", 2},  // CSV opens but never saves
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
  auto r = run("kml -o " + shellQuote(out) + " " + sample("formats/igc2.igc") + " " +
               sample("formats/track_20070813_short.plt") + " --waypoints " + sample("formats/ozi.wpt"));
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string kml = test::readFileBytes(out);
  std::size_t tracks = 0, pins = 0;
  for (std::size_t at = 0; (at = kml.find("<gx:MultiTrack>", at)) != std::string::npos; ++at) ++tracks;
  for (std::size_t at = 0; (at = kml.find("<Point>", at)) != std::string::npos; ++at) ++pins;
  EXPECT_EQ(tracks, 2u);
  EXPECT_GT(pins, 5u);
  EXPECT_EQ(run("kml -o " + shellQuote(out) + " " + sample("formats/igc2.igc")).status, 1) << "existing file kept";
  EXPECT_EQ(run("kml -o " + shellQuote((dir / "x.kml").string()) + " /nonexistent.gpx").status, 2);
}

}  // namespace
}  // namespace pixtrail
