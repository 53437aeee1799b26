// The offset job from files: a generated trip written out, clock photo arguments.

#include "app/OffsetJob.hpp"

#include <gtest/gtest.h>

#include "tests/support/datum_fixture.hpp"
#include "tests/support/generated_trip.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

TEST(OffsetJob, SplitsClockPhotoArguments) {
  const struct {
    const char* text;
    bool ok;
    const char* photo;
    const char* reading;
  } rows[] = {
      {"IMG_1.jpg=10:00:00", true, "IMG_1.jpg", "10:00:00"},
      {"a=b.jpg=10:00:00Z", true, "a=b.jpg", "10:00:00Z"},  // the last '=' splits
      {"IMG_1.jpg", false, "", ""},
      {"=10:00:00", false, "", ""},
      {"IMG_1.jpg=", false, "", ""},
  };
  for (const auto& row : rows) {
    std::filesystem::path photo;
    std::string reading;
    EXPECT_EQ(splitClockPhotoArgument(row.text, photo, reading), row.ok) << row.text;
    if (!row.ok) continue;
    EXPECT_EQ(photo.string(), row.photo);
    EXPECT_EQ(reading, row.reading);
  }
}

TEST(OffsetJob, EstimatesFromFilesAndRefusesWhatItCannotRead) {
  ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
  test::TempDir dir;
  test::TripOptions o;
  o.days = 1;
  o.clockErrorS = -30;  // the camera half a minute slow
  const test::Trip trip = test::makeTrip(o);
  test::writeTripGpx(trip, dir / "trip.gpx");
  test::writeTripPhotos(trip, dir / "photos", test::testData("photos/Canon.jpg"));

  OffsetJobOptions options;
  options.tracks = {dir / "trip.gpx"};
  options.inputs = {dir / "photos"};
  options.timeZone = "Europe/Madrid";
  OffsetJobResult result;
  std::string message;
  ASSERT_TRUE(estimateOffsetJob(options, result, message)) << message;
  EXPECT_EQ(result.zone, "Europe/Madrid");
  EXPECT_EQ(result.photos, 48u);
  EXPECT_EQ(result.references, 24u);
  EXPECT_EQ(result.estimate.method, OffsetMethod::References);
  EXPECT_NEAR(result.estimate.correction.offsetS, 30.0, 1.0);

  const struct {
    OffsetJobOptions change;
    const char* message;
  } refusals[] = {
      {[&] { auto c = options; c.timeZone = "Nowhere/Else"; return c; }(), "Unknown time zone: Nowhere/Else"},
      {[&] { auto c = options; c.clockPhotos = {{dir / "photos" / trip.photos[0].name, "7 o'clock"}}; return c; }(),
       "Bad clock reading \"7 o'clock\": expected HH:MM:SS, with Z when it is UTC"},
      {[&] { auto c = options; c.clockPhotos = {{test::testData("photos/AFCP.jpg"), "10:00:00"}}; return c; }(),
       "has no capture time"},
  };
  for (const auto& row : refusals) {
    message.clear();
    EXPECT_FALSE(estimateOffsetJob(row.change, result, message));
    EXPECT_NE(message.find(row.message), std::string::npos) << message;
  }
}

}  // namespace
}  // namespace pixtrail
