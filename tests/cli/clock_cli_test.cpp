// Camera clocks from the command line: a trip with known truth tagged with --auto-offset, the
// refusal of a wrong-looking offset, the photo's own UTC offset, the offset command, --max-jump.

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "photos/TJpegExif.hpp"
#include "tests/support/generated_trip.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::shellQuote;

class ClockCommands : public ::testing::Test {
 protected:
  void build(const test::TripOptions& options) {
    trip = test::makeTrip(options);
    test::writeTripGpx(trip, dir / "trip.gpx");
    test::writeTripPhotos(trip, dir / "photos", test::testData("photos/Canon.jpg"));
  }
  std::string inputs() const {
    return "--track " + shellQuote((dir / "trip.gpx").string()) + " " + shellQuote((dir / "photos").string());
  }
  // Every photo of the JSON table tagged within `metres` of where it was taken.
  void expectAllTaggedWithin(const std::string& json, double metres) const {
    std::map<std::string, const test::TripPhoto*> truth;
    for (const test::TripPhoto& p : trip.photos) truth[p.name] = &p;
    const nlohmann::json rows = nlohmann::json::parse(json);
    ASSERT_EQ(rows.size(), trip.photos.size());
    for (const auto& row : rows) {
      const std::string name = std::filesystem::path(row["file"].get<std::string>()).filename().string();
      ASSERT_EQ(row["status"], "tagged") << name;
      const TCoord& p = truth.at(name)->truePosition;
      EXPECT_LT(test::metresBetween(row["lat"].get<double>(), row["lon"].get<double>(), p.lat, p.lon), metres) << name;
      EXPECT_FALSE(row["at_end"].get<bool>()) << name;
      EXPECT_GT(row["error_m"].get<double>(), 0.0) << name;
    }
  }
  test::TempDir dir;
  test::Trip trip;
};

test::TripOptions drifting() {
  test::TripOptions o;
  o.clockErrorS = 47.0;
  o.driftSPerHour = 2.0;
  return o;
}

TEST_F(ClockCommands, AutoOffsetTagsADriftingCameraOverASummerTimeChange) {
  build(drifting());
  auto r = test::runPixtrail("offset --json --timezone Europe/Madrid " + inputs());
  ASSERT_EQ(r.status, 0) << r.err;
  const nlohmann::json estimate = nlohmann::json::parse(r.out);
  EXPECT_EQ(estimate["method"], "references");
  EXPECT_NEAR(estimate["offset_s"].get<double>(), -47.0, 1.0);
  EXPECT_NEAR(estimate["drift_s_per_h"].get<double>(), -2.0, 0.2);
  EXPECT_EQ(estimate["photos_used"], 48);
  EXPECT_TRUE(estimate["outliers"].empty());
  EXPECT_NE(estimate["options"].get<std::string>().find("--timezone Europe/Madrid"), std::string::npos);

  r = test::runPixtrail("geotag --dry-run --out " + shellQuote((dir / "out").string()) + " --json --timezone Europe/Madrid --auto-offset " + inputs());
  ASSERT_EQ(r.status, 0) << r.err;
  expectAllTaggedWithin(r.out, 2.0);

  // The options the offset command printed do the same by hand.
  r = test::runPixtrail("geotag --dry-run --out " + shellQuote((dir / "out").string()) + " --json " + estimate["options"].get<std::string>() + " " + inputs());
  ASSERT_EQ(r.status, 0) << r.err;
  expectAllTaggedWithin(r.out, 2.0);
}

TEST_F(ClockCommands, AnHourOutIsRefusedAndNothingWrittenUnlessForced) {
  test::TripOptions winter;  // the camera on UTC+1 through a summer day; no phone photos
  winter.days = 1;
  winter.cameraFollowsMadrid = false;
  winter.cameraUtcOffsetS = 3600;
  winter.references = false;
  build(winter);
  const std::string out = (dir / "out").string();
  const struct {
    std::string offset;
    int status;
    const char* why;
  } rows[] = {{"", 1, "no offset"}, {"--offset +01:00:00", 1, "wrong sign"}, {"--offset -01:00:00", 0, "right"}};
  for (const auto& row : rows) {
    std::filesystem::remove_all(out);
    const auto r = test::runPixtrail("geotag " + row.offset + " --out " + shellQuote(out) + " " + inputs());
    EXPECT_EQ(r.status, row.status) << row.why << "\n" << r.err;
    if (row.status == 0) {
      EXPECT_EQ(std::distance(std::filesystem::directory_iterator(out), {}), 24) << row.why;
      continue;
    }
    EXPECT_NE(r.err.find("an offset of -01:00:00 puts 24 of 24 photos"), std::string::npos) << row.why << "\n" << r.err;
    EXPECT_NE(r.err.find("likely offset --offset -0"), std::string::npos) << row.why << "\n" << r.err;
    EXPECT_NE(r.err.find("nothing written"), std::string::npos) << row.why;
    EXPECT_FALSE(std::filesystem::exists(out)) << row.why;
  }
  // --force writes what the offset given says, as the plain job does.
  std::filesystem::remove_all(out);
  const auto forced = test::runPixtrail("geotag --force --json --out " + shellQuote(out) + " " + inputs());
  EXPECT_EQ(forced.status, 0) << forced.err;
  const nlohmann::json rows2 = nlohmann::json::parse(forced.out);
  std::size_t tagged = 0;
  for (const auto& row : rows2) tagged += row["status"] == "tagged" ? 1 : 0;
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(out), {}), static_cast<long>(tagged));
  // The photos alone only suggest: --auto-offset does not act on a suggestion without --force.
  std::filesystem::remove_all(out);
  const auto suggested = test::runPixtrail("geotag --auto-offset --out " + shellQuote(out) + " " + inputs());
  EXPECT_EQ(suggested.status, 1) << suggested.err;
  EXPECT_NE(suggested.err.find("only suggest"), std::string::npos) << suggested.err;
  EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(ClockCommands, APhonesOwnUtcOffsetBeatsTheZone) {
  test::TripOptions o;
  o.days = 1;
  o.references = false;
  build(o);
  // A phone still on Tokyo time that says so: its clock reads true UTC + 9 h.
  const test::TripPhoto& p = trip.photos[5];
  TJpegExif exif;
  std::string message;
  ASSERT_TRUE(exif.Read(dir / "photos" / p.name, message)) << message;
  const DateTimeRecord tokyo = DateTimeRecord::fromValue(p.trueUtc + 9.0 / 24);
  char text[24];
  std::snprintf(text, sizeof text, "%04d:%02d:%02d %02d:%02d:%02.0f", tokyo.year, tokyo.month, tokyo.day, tokyo.hour,
                tokyo.minute, std::round(tokyo.seconds));
  exif.SetTag(kExifIfd, kKeyDateTimeOriginal, kTypeAscii, 20, std::string_view(text, 20));
  exif.SetTag(kExifIfd, 0x1190, kTypeAscii, 7, std::string_view("+09:00", 7));  // OffsetTimeOriginal
  ASSERT_TRUE(exif.Write(dir / "photos" / p.name, false, message)) << message;

  auto r = test::runPixtrail("geotag --dry-run --out " + shellQuote((dir / "out").string()) + " --json --timezone Europe/Madrid " + inputs());
  ASSERT_EQ(r.status, 0) << r.err;
  expectAllTaggedWithin(r.out, 2.0);
  r = test::runPixtrail("geotag --dry-run --out " + shellQuote((dir / "out").string()) + " --timezone Europe/Madrid " + inputs());
  EXPECT_NE(r.out.find("1 photos carry their own UTC offset, used instead of Europe/Madrid"), std::string::npos)
      << r.out;
  // Without a zone the described behaviour stands: times as they are, the phone photo far off.
  r = test::runPixtrail("geotag --dry-run --out " + shellQuote((dir / "out").string()) + " --json --force --offset -02:00:00 " + inputs());
  bool seen = false;
  for (const auto& row : nlohmann::json::parse(r.out)) {
    if (!row["file"].get<std::string>().ends_with(p.name)) continue;
    seen = true;
    const bool farOff = row["status"] != "tagged" ||
                        test::metresBetween(row["lat"].get<double>(), row["lon"].get<double>(), p.truePosition.lat,
                                            p.truePosition.lon) > 1000.0;
    EXPECT_TRUE(farOff) << row.dump();
  }
  EXPECT_TRUE(seen);
}

TEST_F(ClockCommands, UsageErrorsAndNothingToGoOn) {
  build([] {
    test::TripOptions o;
    o.days = 1;
    o.cyclesPerDay = 3;
    o.references = false;
    return o;
  }());
  EXPECT_EQ(test::runPixtrail("geotag --dry-run --out " + shellQuote((dir / "out").string()) + " --timezone Mars/Base " + inputs()).status, 2);
  EXPECT_EQ(test::runPixtrail("geotag --dry-run --out " + shellQuote((dir / "out").string()) + " --auto-offset --offset +00:00:01 " + inputs()).status, 2);
  EXPECT_EQ(test::runPixtrail("offset --clock-photo nothing " + inputs()).status, 2);
  const std::string photo = (dir / "photos" / trip.photos[0].name).string();
  EXPECT_EQ(test::runPixtrail("offset --clock-photo " + shellQuote(photo + "=25:00:00") + " " + inputs()).status, 2);
  // A clock photo that showed UTC: the offset is exact.
  const DateTimeRecord shown = DateTimeRecord::fromValue(trip.photos[0].trueUtc);
  char reading[16];
  std::snprintf(reading, sizeof reading, "%02d:%02d:%02.0fZ", shown.hour, shown.minute, std::round(shown.seconds));
  const auto r = test::runPixtrail("offset --json --timezone Europe/Madrid --clock-photo " +
                                   shellQuote(photo + "=" + reading) + " " + inputs());
  ASSERT_EQ(r.status, 0) << r.err;
  const nlohmann::json j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["method"], "clock-photo");
  EXPECT_NEAR(j["offset_s"].get<double>(), 0.0, 1.0);
  // Photos from another year: nothing fits.
  const auto none = test::runPixtrail("offset --track " + shellQuote((dir / "trip.gpx").string()) + " " +
                                      shellQuote(test::testData("photos/Canon.jpg").string()));
  EXPECT_EQ(none.status, 1);
  EXPECT_NE(none.err.find("No offset could be found"), std::string::npos) << none.err;
}

}  // namespace
}  // namespace pixtrail
