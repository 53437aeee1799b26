// Camera clocks from the command line: a trip with known truth tagged with --auto-offset, the
// refusal of a wrong-looking offset, the photo's own UTC offset, the offset command, --max-jump.

#include <gtest/gtest.h>

#include <algorithm>
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
  // A dry run into dir/out with the given options and the trip's track and photos.
  test::CommandOutput dryRun(const std::string& options) const {
    return test::runPixtrail("geotag --dry-run --out " + shellQuote((dir / "out").string()) + " " + options + " " + inputs());
  }
  std::string inputs() const {
    return "--track " + shellQuote((dir / "trip.gpx").string()) + " " + shellQuote((dir / "photos").string());
  }
  // Every photo of the JSON table tagged within `metres` of where it was taken.
  void expectAllTaggedWithin(const std::string& json, double metres) const {
    std::map<std::string, const test::TripPhoto*> truth;
    for (const test::TripPhoto& p : trip.photos) truth[p.name] = &p;
    const nlohmann::json rows = nlohmann::json::parse(json);
    EXPECT_EQ(rows.size(), trip.photos.size());
    for (const auto& row : rows) {
      const std::string name = std::filesystem::path(row["file"].get<std::string>()).filename().string();
      EXPECT_EQ(row["status"], "tagged") << name;
      if (row["status"] != "tagged") continue;
      const TCoord& p = truth.at(name)->truePosition;
      const double off = test::metresBetween(row["lat"].get<double>(), row["lon"].get<double>(), p.lat, p.lon);
      EXPECT_LT(off, metres) << name;
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

  r = dryRun("--json --timezone Europe/Madrid --auto-offset");
  ASSERT_EQ(r.status, 0) << r.err;
  expectAllTaggedWithin(r.out, 2.0);

  // The options the offset command printed do the same by hand.
  r = dryRun("--json " + estimate["options"].get<std::string>());
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

  auto r = dryRun("--json --timezone Europe/Madrid");
  ASSERT_EQ(r.status, 0) << r.err;
  expectAllTaggedWithin(r.out, 2.0);
  r = dryRun("--timezone Europe/Madrid");
  EXPECT_NE(r.out.find("1 photos carry their own UTC offset, used instead of Europe/Madrid"), std::string::npos)
      << r.out;
  // Without a zone the described behaviour stands: times as they are, the phone photo far off.
  r = dryRun("--json --force --offset -02:00:00");
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

// A receiver's own DOP and satellites (GPSBabel's dop-test.gpx): the fix before 14:20 had an HDOP
// of 50.5, the one after 6.9, both 8 satellites, 278 s and 6.6 m apart.
TEST_F(ClockCommands, ConfidenceCarriesTheReceiversDop) {
  TJpegExif exif;
  std::string message;
  ASSERT_TRUE(exif.Read(test::testData("photos/Canon.jpg"), message)) << message;
  exif.SetTag(kExifIfd, kKeyDateTimeOriginal, kTypeAscii, 20, std::string_view("2005:07:09 14:20:00\0", 20));
  ASSERT_TRUE(exif.Write(dir / "dop.jpg", true, message)) << message;
  const auto r = test::runPixtrail("geotag --force --dry-run --json --out " + shellQuote((dir / "out").string()) +
                                   " --track " + shellQuote(test::testData("formats/dop-test.gpx").string()) + " " +
                                   shellQuote((dir / "dop.jpg").string()));
  ASSERT_EQ(r.status, 0) << r.err;
  const nlohmann::json row = nlohmann::json::parse(r.out)[0];
  ASSERT_EQ(row["status"], "tagged") << row.dump();
  EXPECT_EQ(row["hdop"], 50.5);
  EXPECT_EQ(row["sats"], 8);
  EXPECT_EQ(row["gap_s"], 278.0);
  EXPECT_EQ(row["nearest_s"], 134.0);   // 14:17:46 + 134 s
  EXPECT_NEAR(row["jump_m"].get<double>(), 6.7, 0.2);  // 0.0000887 degrees of longitude at 48.5 N
  EXPECT_NEAR(row["error_m"].get<double>(), 252.5, 0.1);  // the HDOP dominates
}

TEST_F(ClockCommands, UsageErrorsAndNothingToGoOn) {
  build([] {
    test::TripOptions o;
    o.days = 1;
    o.cyclesPerDay = 3;
    o.references = false;
    return o;
  }());
  EXPECT_EQ(dryRun("--timezone Mars/Base").status, 2);
  EXPECT_EQ(dryRun("--auto-offset --offset +00:00:01").status, 2);
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
