#include "app/GeotagJob.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "photos/TJpegExif.hpp"
#include "tests/photos/exif_builder.hpp"
#include "tests/support/datum_fixture.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

TEST(GeotagClockOffset, ReadsSignedHoursMinutesSeconds) {
  const struct {
    const char* text;
    bool ok;
    double seconds;
  } rows[] = {
      {"+01:00:00", true, 3600}, {"-00:00:30", true, -30}, {"01:02:03", true, 3723}, {"00:00:00.5", true, 0.5},
      {"-25:00:00", true, -90000},  // a camera a day and an hour behind
      {"1:2", false, 0},         {"aa:00:00", false, 0},   {"00:60:00", false, 0}, {"00:00:60", false, 0},
      {"", false, 0},            {"+-01:00:00", false, 0}, {"01:00:00:00", false, 0},
  };
  for (const auto& row : rows) {
    double seconds = 12345;
    EXPECT_EQ(parseClockOffset(row.text, seconds), row.ok) << row.text;
    if (row.ok) {
      EXPECT_DOUBLE_EQ(seconds, row.seconds) << row.text;
    }
  }
}

std::unique_ptr<TVolGPS> trackFrom(int hour, double lat0, float alt = 50.0f) {
  auto t = std::make_unique<TVolGPS>();
  for (int i = 0; i < 3; ++i) {
    auto p = std::make_unique<TPuntVol>();
    p->position = {2.0, lat0 + 0.01 * i, alt};
    p->time = TPuntTiempo::fromRecord({1, 6, 2024, hour, 10 * i, 0.0});
    p->stateFlags = TPuntVol::kValidData;
    t->appendPoint(std::move(p));
  }
  std::string message;
  t->Recalculate({}, message);
  return t;
}

using test::writePhoto;

class GeotagJobTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(test::loadShippedDatums());
    std::filesystem::create_directory(in.path() / "photos");
    writePhoto(in / "photos/a.jpg", "2024:06:01 10:05:00");  // first track, half way
    writePhoto(in / "photos/b.jpg", "2024:06:01 12:15:00");  // second track, three quarters
    writePhoto(in / "photos/c.jpg", "2024:06:01 18:00:00");  // on neither
    writePhoto(in / "photos/d.jpg", "");
    tracks.add(trackFrom(10, 40.0));
    tracks.add(trackFrom(12, 50.0));
    options.inputs = {in / "photos"};
    options.outDir = out.path() / "tagged";
  }
  test::TempDir in, out;
  VectorP<TVolGPS> tracks;
  GeotagOptions options;
  std::vector<GeotagPhotoResult> results;
  std::string message;
};

TEST_F(GeotagJobTest, FirstCoveringTrackWinsAndEveryPhotoIsAccountedFor) {
  ASSERT_TRUE(geotagWithTracks(options, tracks, results, message)) << message;
  ASSERT_EQ(results.size(), 4u);
  EXPECT_EQ(results[0].status, GeotagStatus::Tagged);
  EXPECT_NEAR(results[0].lat, 40.005, 0.002 / 3600);
  EXPECT_EQ(results[1].status, GeotagStatus::Tagged);
  EXPECT_NEAR(results[1].lat, 50.015, 0.002 / 3600);
  EXPECT_EQ(results[2].status, GeotagStatus::NotCovered);
  EXPECT_EQ(results[3].status, GeotagStatus::NoTime);
  EXPECT_EQ(results[3].message, "No se ha detecado la fecha 0x3201");
  const GeotagSummary s = summarise(results);
  EXPECT_EQ(s.tagged + s.noTime + s.notCovered + s.failed, 4u);
  EXPECT_EQ(s.tagged, 2u);

  TJpegExif written;
  ExifGpsPosition gps;
  ASSERT_TRUE(written.Read(options.outDir / "b.jpg", message) && written.ReadGps(gps, message)) << message;
  EXPECT_NEAR(gps.lat, 50.015, 0.002 / 3600);
  EXPECT_FALSE(std::filesystem::exists(options.outDir / "c.jpg")) << "only tagged photos are written";
  EXPECT_EQ(test::readFileBytes(in / "photos/a.jpg").find("OrvexGPS"), std::string::npos) << "source untouched";
}

TEST_F(GeotagJobTest, ClockOffsetMovesPhotosAlongTheTrack) {
  options.offsetSeconds = -5 * 60;  // camera five minutes fast: 10:05 is 10:00 on the track
  ASSERT_TRUE(geotagWithTracks(options, tracks, results, message)) << message;
  EXPECT_NEAR(results[0].lat, 40.0, 0.002 / 3600);
  EXPECT_NEAR(results[1].lat, 50.01, 0.002 / 3600);
}

TEST_F(GeotagJobTest, AWrongLookingOffsetWritesNothingUnlessForced) {
  options.offsetSeconds = 6 * 3600;  // puts every photo past the tracks
  EXPECT_FALSE(geotagWithTracks(options, tracks, results, message));
  EXPECT_NE(message.find("The camera clock offset looks wrong: "), std::string::npos) << message;
  EXPECT_NE(message.find("likely offset +00:00:00"), std::string::npos) << message;
  EXPECT_TRUE(results.empty());
  EXPECT_FALSE(std::filesystem::exists(options.outDir));

  GeotagClockReport clock;
  message.clear();
  ASSERT_TRUE(geotagWithTracks(options, tracks, results, clock, message)) << message;
  EXPECT_TRUE(clock.refused);
  EXPECT_TRUE(message.empty()) << "the report carries it";

  options.force = true;
  ASSERT_TRUE(geotagWithTracks(options, tracks, results, clock, message)) << message;
  EXPECT_FALSE(clock.refused);
  ASSERT_EQ(results.size(), 4u);
  EXPECT_EQ(results[0].status, GeotagStatus::NotCovered);
  EXPECT_EQ(results[0].offsetS, 6 * 3600);
}

TEST_F(GeotagJobTest, OutNeverOverwritesAndDryRunWritesNothing) {
  std::filesystem::create_directories(options.outDir);
  test::writeFileBytes(options.outDir / "a.jpg", "already here");
  ASSERT_TRUE(geotagWithTracks(options, tracks, results, message)) << message;
  EXPECT_EQ(results[0].status, GeotagStatus::Error);
  EXPECT_EQ(results[0].message, "Error saving file");
  EXPECT_EQ(test::readFileBytes(options.outDir / "a.jpg"), "already here");
  EXPECT_EQ(results[1].status, GeotagStatus::Tagged) << "one failure does not stop the others";

  GeotagOptions dry = options;
  dry.outDir = out.path() / "dry";
  dry.dryRun = true;
  ASSERT_TRUE(geotagWithTracks(dry, tracks, results, message)) << message;
  EXPECT_FALSE(std::filesystem::exists(dry.outDir));
  EXPECT_EQ(results[0].status, GeotagStatus::Tagged);
  EXPECT_NE(results[0].planned.find("0002 , id=GPS-Latitude , type=5 , len=3 , data=40/1,0/1,1"),
            std::string::npos)
      << results[0].planned;
  EXPECT_NE(results[0].planned.find("id=Software Used"), std::string::npos) << results[0].planned;
}

TEST_F(GeotagJobTest, MarksTheTrackThatPlacedEachPhoto) {
  options.markTrackFile = out / "marked.trk";
  ASSERT_TRUE(geotagWithTracks(options, tracks, results, message)) << message;
  EXPECT_EQ(tracks[0].pointCount(), 3u) << "marks lie beside the track";
  EXPECT_EQ(tracks[1].pointCount(), 3u);
  ASSERT_EQ(tracks[0].marks.size(), 1u);
  ASSERT_EQ(tracks[1].marks.size(), 1u);
  EXPECT_EQ(tracks[0].marks[0].name, "a.jpg");
  EXPECT_EQ(tracks[1].marks[0].name, "b.jpg");
  EXPECT_NEAR(tracks[1].marks[0].position.lat, 50.015, 1e-9);
}

// A phone photo: ImageWidth in IFD0 (held under the key of GPSLatitudeRef) and a JFIF header before
// the EXIF segment. The setting decides which reading of the writer the photo gets.
TEST_F(GeotagJobTest, TheQuirksSettingReachesThePhotoAndWhatIsLeftOutIsNamed) {
  test::ExifLayout layout;
  layout.ifd0 = {{0x0100, 3, {4032}, {}}, test::asciiEntry(0x010F, "Phone")};
  layout.exif = {test::asciiEntry(0x9003, "2024:06:01 10:05:00")};
  const std::string app1 = test::buildJpeg(layout);
  std::filesystem::create_directory(in / "phone");
  test::writeFileBytes(in / "phone/p.jpg", app1.substr(0, 2) + std::string("\xFF\xE0\x00\x04JF", 6) + app1.substr(2));
  options.inputs = {in / "phone"};
  for (bool exact : {false, true}) {
    options.exactQuirks = exact;
    options.outDir = out.path() / (exact ? "exact" : "safe");
    ASSERT_TRUE(geotagWithTracks(options, tracks, results, message)) << message;
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0].status, GeotagStatus::Tagged) << results[0].message;
    EXPECT_EQ(results[0].dropped, std::vector<std::string>{"APP0 segment"});
    EXPECT_NE(results[0].message.find("Left out of the photo: APP0 segment"), std::string::npos) << results[0].message;
    TJpegExif written;
    ASSERT_TRUE(written.Read(options.outDir / "p.jpg", message)) << message;
    const int width = written.FindTag(kIfd0, 1);
    ASSERT_GE(width, 0);
    EXPECT_EQ(written.tags()[width].type, exact ? kTypeAscii : kTypeShort) << (exact ? "exact" : "safe");
    EXPECT_EQ(written.FindTag(kGpsIfd, kGpsLatitudeRef) >= 0, !exact);
  }
}

TEST_F(GeotagJobTest, ATrackWithoutElevationsWritesNoAltitude) {
  VectorP<TVolGPS> flat;
  flat.add(trackFrom(10, 40.0, kUnknownAltitude));
  options.inputs = {in / "photos/a.jpg"};
  ASSERT_TRUE(geotagWithTracks(options, flat, results, message)) << message;
  ASSERT_EQ(results.size(), 1u);
  ASSERT_EQ(results[0].status, GeotagStatus::Tagged) << results[0].message;
  EXPECT_TRUE(std::isnan(results[0].altM));
  TJpegExif written;
  ASSERT_TRUE(written.Read(options.outDir / "a.jpg", message)) << message;
  EXPECT_LT(written.FindTag(kGpsIfd, kGpsAltitude), 0);
  EXPECT_GE(written.FindTag(kGpsIfd, kGpsLatitude), 0);
}

}  // namespace
}  // namespace pixtrail
