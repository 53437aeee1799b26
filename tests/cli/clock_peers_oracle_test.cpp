// The commonest geotagging fault side by side: a camera an hour off, no offset given. exiftool and
// gpscorrelate tag the photos anyway; we find the offset from the phone photos and tag them right.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

#include "tests/support/generated_trip.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

struct Landing {
  std::size_t tagged = 0;
  double medianM = 0.0, maxM = 0.0;
};

// Where a folder's photos say they were, against where they were taken.
Landing landing(const std::filesystem::path& folder, const test::Trip& trip) {
  std::map<std::string, TCoord> truth;
  for (const test::TripPhoto& p : trip.photos) truth[p.name] = p.truePosition;
  const auto r = test::runCommand("exiftool -q -n -json -GPSLatitude -GPSLongitude " + shellQuote(folder.string()));
  std::vector<double> metres;
  for (const auto& row : nlohmann::json::parse(r.out.empty() ? "[]" : r.out)) {
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

TEST(ClockPeers, AnHourOffWithoutAnOffset) {
  if (!test::haveTool("exiftool") || !test::haveTool("gpscorrelate")) GTEST_SKIP() << "exiftool or gpscorrelate missing";
  test::TempDir dir;
  test::TripOptions o;
  o.days = 1;
  o.cameraFollowsMadrid = false;
  o.cameraUtcOffsetS = 3600;  // set to winter time, used in summer, read as UTC
  const test::Trip trip = test::makeTrip(o);
  test::writeTripGpx(trip, dir / "trip.gpx");
  test::writeTripPhotos(trip, dir / "photos", test::testData("photos/Canon.jpg"));
  const std::string gpx = shellQuote((dir / "trip.gpx").string());

  // Everyone reads the photo times as UTC, as the track is.
  auto r = test::runCommand("TZ=UTC exiftool -q -geotag " + gpx + " -o " +
                            shellQuote((dir / "exiftool").string() + "/") + " " + shellQuote((dir / "photos").string()));
  std::filesystem::copy(dir / "photos", dir / "gpscorrelate");
  r = test::runCommand("cd " + shellQuote((dir / "gpscorrelate").string()) + " && TZ=UTC gpscorrelate -R -g " + gpx + " *.jpg");
  r = test::runPixtrail("geotag --auto-offset --out " + shellQuote((dir / "pixtrail").string()) + " --track " + gpx + " " +
                        shellQuote((dir / "photos").string()));
  ASSERT_EQ(r.status, 0) << r.err;

  const Landing exiftool = landing(dir / "exiftool", trip);
  const Landing gpscorrelate = landing(dir / "gpscorrelate", trip);
  const Landing ours = landing(dir / "pixtrail", trip);
  std::printf("%zu photos, camera 1 h off, no offset given; distance from the truth, median / max:\n"
              "  exiftool      %2zu tagged  %8.1f m / %8.1f m\n"
              "  gpscorrelate  %2zu tagged  %8.1f m / %8.1f m\n"
              "  pixtrail --auto-offset %2zu tagged  %8.2f m / %8.2f m\n",
              trip.photos.size(), exiftool.tagged, exiftool.medianM, exiftool.maxM, gpscorrelate.tagged,
              gpscorrelate.medianM, gpscorrelate.maxM, ours.tagged, ours.medianM, ours.maxM);
  EXPECT_EQ(ours.tagged, trip.photos.size());
  EXPECT_LT(ours.maxM, 2.0);
  // The peers' wrong tags are the point of the comparison: an hour of walking is kilometres.
  EXPECT_GT(exiftool.tagged, 0u);
  EXPECT_GT(exiftool.medianM, 1000.0);
  EXPECT_GT(gpscorrelate.tagged, 0u);
  EXPECT_GT(gpscorrelate.medianM, 1000.0);
}

}  // namespace
}  // namespace pixtrail
