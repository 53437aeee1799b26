// The positioning error written with --write-error as exiftool reads it, and the commonest
// geotagging fault side by side with the peers: a camera an hour off, no offset given. exiftool and
// gpscorrelate tag the photos anyway; we find the offset from the phone photos and tag them right.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "photos/TJpegExif.hpp"
#include "tests/support/generated_trip.hpp"
#include "tests/support/test_support.hpp"
#include "tests/support/walk_track.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

TEST(GeotagConfidence, ErrorWrittenAsExiftoolReadsItAndJumpsRefused) {
  test::TempDir dir;
  test::writeWalkTrack(dir / "walk.trk");
  const std::string base = "geotag --track " + shellQuote((dir / "walk.trk").string()) + " --json --out " +
                           shellQuote((dir / "out").string()) + " " +
                           shellQuote(test::testData("photos/Canon.jpg").string());
  auto r = test::runPixtrail(base + " --max-jump 100");
  ASSERT_EQ(r.status, 0) << r.err;
  nlohmann::json row = nlohmann::json::parse(r.out)[0];
  EXPECT_EQ(row["status"], "not-covered");
  EXPECT_EQ(row["message"], "The track jumps 111 m between the points around this time");
  EXPECT_FALSE(std::filesystem::exists(dir / "out/Canon.jpg"));

  r = test::runPixtrail(base + " --max-jump 120 --write-error");
  ASSERT_EQ(r.status, 0) << r.err;
  row = nlohmann::json::parse(r.out)[0];
  ASSERT_EQ(row["status"], "tagged");
  EXPECT_NEAR(row["jump_m"].get<double>(), 111.0, 0.5);  // 0.001 degree of latitude near 40 N
  EXPECT_EQ(row["gap_s"], 60.0);
  EXPECT_EQ(row["nearest_s"], 8.0);                       // 06:46:52 against the 06:47:00 fix
  EXPECT_TRUE(row["hdop"].is_null());
  EXPECT_FALSE(row["at_end"].get<bool>());
  const auto tool = test::oracleOutput("exiftool", "exiftool -n -s3 -GPSHPositioningError -GPSLatitude " +
                                       shellQuote((dir / "out/Canon.jpg").string()), "write-error.exiftool.txt");
  ASSERT_EQ(tool.status, 0) << tool.err;
  EXPECT_NEAR(std::strtod(tool.out.c_str(), nullptr), row["error_m"].get<double>(), 0.005) << tool.out;
  const std::size_t second = tool.out.find('\n');
  EXPECT_NEAR(std::strtod(tool.out.c_str() + second + 1, nullptr), row["lat"].get<double>(), 1e-6) << tool.out;
}

struct Landing {
  std::size_t tagged = 0;
  double medianM = 0.0, maxM = 0.0;
};

// Where the photos say they were (exiftool's -json of a folder), against where they were taken.
Landing landing(const std::string& json, const test::Trip& trip) {
  std::map<std::string, TCoord> truth;
  for (const test::TripPhoto& p : trip.photos) truth[p.name] = p.truePosition;
  std::vector<double> metres;
  for (const auto& row : nlohmann::json::parse(json.empty() ? "[]" : json)) {
    if (!row.contains("GPSLatitude") || !row.contains("GPSLongitude")) continue;
    const TCoord& t = truth.at(std::filesystem::path(row["SourceFile"].get<std::string>()).filename().string());
    metres.push_back(test::metresBetween(row["GPSLatitude"].get<double>(), row["GPSLongitude"].get<double>(), t.lat, t.lon));
  }
  Landing l;
  l.tagged = metres.size();
  if (metres.empty()) return l;
  std::sort(metres.begin(), metres.end());
  l.medianM = metres[metres.size() / 2];
  l.maxM = metres.back();
  return l;
}

// Our own photos as exiftool lists them; read with our reader when exiftool is not at hand.
std::string ourPositionsJson(const std::filesystem::path& dir) {
  const std::string read = "exiftool -q -n -json -GPSLatitude -GPSLongitude pixtrail";
  if (test::oracleLive("exiftool")) return test::runCommand("cd " + shellQuote(dir.string()) + " && " + read).out;
  nlohmann::json rows = nlohmann::json::array();
  for (const auto& entry : std::filesystem::directory_iterator(dir / "pixtrail")) {
    TJpegExif exif;
    ExifGpsPosition gps;
    std::string message;
    if (!exif.Read(entry.path(), message) || !exif.ReadGps(gps, message)) continue;
    rows.push_back({{"SourceFile", "pixtrail/" + entry.path().filename().string()},
                    {"GPSLatitude", gps.lat}, {"GPSLongitude", gps.lon}});
  }
  return rows.dump();
}

TEST(ClockPeers, AnHourOffWithoutAnOffset) {
  test::TempDir dir;
  test::TripOptions o;
  o.days = 1;
  o.cameraFollowsMadrid = false;
  o.cameraUtcOffsetS = 3600;  // set to winter time, used in summer, read as UTC
  const test::Trip trip = test::makeTrip(o);
  test::writeTripGpx(trip, dir / "trip.gpx");
  test::writeTripPhotos(trip, dir / "photos", test::testData("photos/Canon.jpg"));

  // Everyone reads the photo times as UTC, as the track is. Paths stay relative to the folder, so
  // that the stored answers do not depend on where the test ran.
  const std::string in = "cd " + shellQuote(dir.path().string()) + " && ";
  // A peer that leaves photos untagged says so in its exit status: only the reading counts.
  const std::string read = "; exiftool -q -n -json -GPSLatitude -GPSLongitude ";
  const auto exiftool = test::oracleOutput(
      "exiftool", in + "TZ=UTC exiftool -q -geotag trip.gpx -o exiftool/ photos" + read + "exiftool",
      "clock-peers.exiftool.json");
  const auto gpscorrelate = test::oracleOutput(
      "exiftool gpscorrelate",
      in + "cp -r photos gpscorrelate && cd gpscorrelate && TZ=UTC gpscorrelate -R -g ../trip.gpx *.jpg >/dev/null; cd .." +
          read + "gpscorrelate",
      "clock-peers.gpscorrelate.json");
  ASSERT_EQ(exiftool.status, 0) << exiftool.err;
  ASSERT_EQ(gpscorrelate.status, 0) << gpscorrelate.err;
  const auto r = test::runPixtrail("geotag --auto-offset --out " + shellQuote((dir / "pixtrail").string()) + " --track " +
                                   shellQuote((dir / "trip.gpx").string()) + " " + shellQuote((dir / "photos").string()));
  ASSERT_EQ(r.status, 0) << r.err;

  const Landing theirs = landing(exiftool.out, trip), gpsc = landing(gpscorrelate.out, trip);
  const Landing ours = landing(ourPositionsJson(dir.path()), trip);
  std::printf("%zu photos, camera 1 h off, no offset given; distance from the truth, median / max:\n"
              "  exiftool      %2zu tagged  %8.1f m / %8.1f m\n"
              "  gpscorrelate  %2zu tagged  %8.1f m / %8.1f m\n"
              "  pixtrail --auto-offset %2zu tagged  %8.2f m / %8.2f m\n",
              trip.photos.size(), theirs.tagged, theirs.medianM, theirs.maxM, gpsc.tagged, gpsc.medianM, gpsc.maxM,
              ours.tagged, ours.medianM, ours.maxM);
  EXPECT_EQ(ours.tagged, trip.photos.size());
  EXPECT_LT(ours.maxM, 2.0);
  // The peers' wrong tags are the point of the comparison: an hour of walking is kilometres.
  EXPECT_GT(theirs.tagged, 0u);
  EXPECT_GT(theirs.medianM, 1000.0);
  EXPECT_GT(gpsc.tagged, 0u);
  EXPECT_GT(gpsc.medianM, 1000.0);
}

}  // namespace
}  // namespace pixtrail
