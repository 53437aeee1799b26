// The clock estimators against a trip whose truth is known (tests/support/generated_trip), the
// check that stops a wrong offset, and the offset job that runs them from files.

#include "app/clock_offset.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "app/OffsetJob.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/generated_trip.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

// The trip and its photos' clocks; the timeline over it comes after, in TripOnTimeline.
struct TripData {
  TripData(const test::TripOptions& options, const char* zoneName) {
    test::Trip trip = test::makeTrip(options);
    photos = trip.photos;
    tracks.add(std::move(trip.track));
    std::string message;
    EXPECT_TRUE(zone.set(zoneName, message)) << message;
    for (const test::TripPhoto& p : photos) {
      DateTimeValue camera = 0;
      EXPECT_TRUE(p.camera.toValue(camera));
      samples.push_back({p.name, zone.toUtc(camera), p.reference, p.truePosition});
    }
  }
  std::vector<test::TripPhoto> photos;
  VectorP<TVolGPS> tracks;
  TimeZone zone;
  std::vector<ClockSample> samples;
};

struct TripOnTimeline : TripData {
  explicit TripOnTimeline(const test::TripOptions& options, const char* zoneName = "Europe/Madrid")
      : TripData(options, zoneName) {}
  TrackTimeline timeline{tracks, {TrackTimeScale::Utc}, zone, TrackSettings{}};
  // Every photo, placed with the correction, within `metres` of where it was taken.
  void expectAllWithin(const ClockCorrection& c, double metres) const {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      TrackTimeline::Hit hit;
      ASSERT_TRUE(timeline.locate(c.apply(samples[i].clock), hit)) << samples[i].name;
      EXPECT_LT(test::metresBetween(hit.where.position.lat, hit.where.position.lon, photos[i].truePosition.lat,
                                    photos[i].truePosition.lon),
                metres)
          << samples[i].name;
    }
  }
  std::vector<ClockSample> withoutReferences() const {
    std::vector<ClockSample> copy = samples;
    for (ClockSample& s : copy) s.hasPosition = false;
    return copy;
  }
};

test::TripOptions drifting() {
  test::TripOptions o;
  o.clockErrorS = 47.0;
  o.driftSPerHour = 2.0;
  return o;
}

// Madrid summer time on the first day, winter time on the second; the camera 47 s fast and gaining
// 2 s an hour; a third of the photos from a phone. The offset is minus the clock's error.
TEST(ClockOffset, ReferencesFindOffsetAndDriftAcrossASummerTimeChange) {
  TripOnTimeline trip(drifting());
  const OffsetEstimate e = estimateClockOffset(trip.samples, {}, trip.timeline, trip.zone);
  ASSERT_EQ(e.method, OffsetMethod::References);
  EXPECT_NEAR(e.correction.offsetS, -47.0, 1.0);
  EXPECT_NEAR(e.correction.driftSPerHour, -2.0, 0.2);
  EXPECT_EQ(e.photosUsed, 48u);
  EXPECT_TRUE(e.outliers.empty());
  EXPECT_LT(e.spreadS, 1.0);
  EXPECT_FALSE(e.suggestionOnly);
  trip.expectAllWithin(e.correction, 2.0);
}

TEST(ClockOffset, WithoutTheZonesRulesOneDayIsAnHourOut) {
  test::TripOptions o;  // a camera on Madrid's clock and nothing else wrong
  TripOnTimeline withZone(o);
  withZone.expectAllWithin({0, 0, 0}, 2.0);
  // The same photos read as plain times with the summer offset: the winter day lands an hour off.
  TripOnTimeline plain(o, "UTC");
  const DateTimeValue change = plain.samples.front().clock + 0.75;  // the night between
  const ClockCorrection summer{-7200, 0, 0};
  std::size_t far = 0;
  for (std::size_t i = 0; i < plain.samples.size(); ++i) {
    TrackTimeline::Hit hit;
    const bool covered = plain.timeline.locate(summer.apply(plain.samples[i].clock), hit);
    const TCoord truth = plain.photos[i].truePosition;
    const double off = covered ? test::metresBetween(hit.where.position.lat, hit.where.position.lon, truth.lat, truth.lon) : -1;
    if (plain.photos[i].trueUtc < change) {
      EXPECT_LT(off, 2.0) << plain.samples[i].name;
      EXPECT_GE(off, 0.0) << plain.samples[i].name;
    } else {
      EXPECT_TRUE(!covered || off > 1000.0) << plain.samples[i].name << " " << off;
      far += covered ? 1 : 0;
    }
  }
  EXPECT_GT(far, plain.samples.size() / 3);
}

TEST(ClockOffset, PhotosAloneSuggestTheRightZoneOffset) {
  TripOnTimeline trip(drifting());
  const OffsetEstimate e = estimateFromPhotos(trip.withoutReferences(), trip.timeline);
  ASSERT_EQ(e.method, OffsetMethod::Photos);
  EXPECT_TRUE(e.suggestionOnly);
  ASSERT_FALSE(e.evidence.empty());
  EXPECT_EQ(e.evidence.front().offsetS, 0.0);
  EXPECT_GE(e.evidence.front().stopped, 40u);  // of the 48 photos taken standing
  EXPECT_NEAR(e.correction.offsetS, -80.0, 60.0);  // the 66 s of drift smear it over the stops

  // A camera left on winter time through a summer day, read without a zone: one hour off.
  test::TripOptions winter;
  winter.days = 1;
  winter.cameraFollowsMadrid = false;
  winter.cameraUtcOffsetS = 3600;
  TripOnTimeline plain(winter, "");
  const OffsetEstimate p = estimateFromPhotos(plain.withoutReferences(), plain.timeline);
  ASSERT_FALSE(p.evidence.empty());
  EXPECT_EQ(p.evidence.front().offsetS, -3600.0);
  EXPECT_NEAR(p.correction.offsetS, -3600.0, 30.0);
}

TEST(ClockOffset, NamesReferencesThatDisagree) {
  TripOnTimeline trip(drifting());
  std::vector<ClockSample> samples = trip.samples;
  std::vector<std::size_t> refs;
  for (std::size_t i = 0; i < samples.size(); ++i)
    if (samples[i].hasPosition) refs.push_back(i);
  samples[refs[3]].position = samples[refs[9]].position;  // placed by hand where the walk was hours later
  samples[refs[5]].position.lat += 0.1;                   // 11 km away
  const OffsetEstimate e = estimateFromReferences(samples, trip.timeline);
  ASSERT_EQ(e.outliers.size(), 2u);
  EXPECT_NE(e.outliers[0].find(samples[refs[5]].name + " (not within 50 m"), std::string::npos) << e.outliers[0];
  EXPECT_NE(e.outliers[1].find(samples[refs[3]].name), std::string::npos) << e.outliers[1];
  EXPECT_EQ(e.photosUsed, 46u);
  EXPECT_NEAR(e.correction.offsetS, -47.0, 1.0);
  EXPECT_NEAR(e.correction.driftSPerHour, -2.0, 0.2);
}

TEST(ClockOffset, ClockPhotosGiveOffsetAndDrift) {
  TripOnTimeline trip(drifting());
  std::vector<ClockReading> readings;
  for (std::size_t i : {std::size_t{1}, trip.photos.size() - 2}) {  // early on the first day, late on the second
    const test::TripPhoto& p = trip.photos[i];
    ClockReading r;
    r.name = p.name;
    p.camera.toValue(r.cameraClock);
    r.lineClock = trip.samples[i].clock;
    const DateTimeValue shown = i == 1 ? p.trueUtc : trip.zone.toLocal(p.trueUtc);  // UTC screen, then local
    r.shownSecondsOfDay = std::round((shown - std::floor(shown)) * kSecondsPerDay);
    r.shownUtc = i == 1;
    readings.push_back(r);
  }
  const OffsetEstimate e = estimateClockOffset(trip.samples, readings, trip.timeline, trip.zone);
  ASSERT_EQ(e.method, OffsetMethod::ClockPhoto);
  EXPECT_EQ(e.photosUsed, 2u);
  // The offset at the earliest photo: the clock was 47 s fast there.
  EXPECT_NEAR(e.correction.offsetS, -47.0, 1.0);
  EXPECT_NEAR(e.correction.driftSPerHour, -2.0, 0.2);
}

TEST(OffsetCheck, RefusesAnHourOutAndAWrongSign) {
  test::TripOptions winter;  // the camera on UTC+1 throughout, read without a zone
  winter.cameraFollowsMadrid = false;
  winter.cameraUtcOffsetS = 3600;
  winter.days = 1;
  TripOnTimeline trip(winter, "");
  const std::vector<ClockSample> alone = trip.withoutReferences();
  const struct {
    double appliedS;
    bool wrong;
    const char* why;
  } rows[] = {{0, true, "no offset given"},
              {3600, true, "the sign typed the wrong way round"},
              {-3600, false, "the right offset"},
              {-3640, false, "close enough: seconds are not the check's business"}};
  for (const auto& row : rows) {
    const OffsetCheck c = checkOffset(alone, trip.timeline, {row.appliedS, 0, 0});
    EXPECT_EQ(c.looksWrong, row.wrong) << row.why << ": " << c.message;
    if (!row.wrong) continue;
    ASSERT_TRUE(c.better.found()) << row.why;
    EXPECT_EQ(c.better.evidence.front().offsetS, -3600.0) << row.why;
    EXPECT_NE(c.message.find("where the tracks stop"), std::string::npos) << c.message;
  }
  // With reference photos their word decides, to the second.
  const OffsetCheck byRefs = checkOffset(trip.samples, trip.timeline, {0, 0, 0});
  EXPECT_TRUE(byRefs.looksWrong);
  EXPECT_EQ(byRefs.better.method, OffsetMethod::References);
  EXPECT_NEAR(byRefs.better.correction.offsetS, -3600.0, 1.0);
  EXPECT_FALSE(checkOffset(trip.samples, trip.timeline, {-3600, 0, 0}).looksWrong);
}

TEST(OffsetCheck, MostPhotosOffTheTracksIsSaid) {
  test::TripOptions o;
  o.days = 1;
  o.references = false;
  TripOnTimeline trip(o);
  std::vector<ClockSample> yearOff = trip.samples;
  for (ClockSample& s : yearOff) s.clock -= 365;  // the camera's year was never set
  const OffsetCheck c = checkOffset(yearOff, trip.timeline, {0, 0, 0});
  EXPECT_TRUE(c.looksWrong);
  EXPECT_NE(c.message.find("24 of 24 photos fall outside the tracks"), std::string::npos) << c.message;
  EXPECT_FALSE(c.better.found());
  EXPECT_FALSE(checkOffset(trip.samples, trip.timeline, {0, 0, 0}).looksWrong);
}


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
