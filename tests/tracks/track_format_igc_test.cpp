#include "tracks/track_format_igc.hpp"

#include <gtest/gtest.h>
#include <zip.h>

#include <filesystem>

#include "tests/support/test_support.hpp"
#include "tracks/track_file_dispatch.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {
namespace {

TEST(IgcFix, DecodesTheFixedColumns) {
  // Expected values worked by hand: 54°07.121' = 54 + 7.121/60.
  const struct { const char* line; bool ok; double lat, lon; int press, gnss; bool a; const char* why; } rows[] = {
      {"B1602405407121N00249342WA0028000421020509950", true, 54.1186833, -2.8223667, 280, 421, true, "sample, with extensions"},
      {"B0000003312345S15112345EV-001200000", true, -33.2057500, 151.2057500, -12, 0, false, "south, east, negative pressure altitude"},
      {"B2359590000000N00000000EA0000000000", true, 0, 0, 0, 0, true, "0/0 is a place"},
      {"B2359599000000N18000000WA0000000000", true, 90, -180, 0, 0, true, "pole and antimeridian"},
      {"B1602405407121N00249342WA00280", false, 0, 0, 0, 0, false, "cut short"},
      {"B1602405407121X00249342WA0028000421", false, 0, 0, 0, 0, false, "no hemisphere"},
      {"B1602405460000N00249342WA0028000421", false, 0, 0, 0, 0, false, "60 minutes"},
      {"B2460005407121N00249342WA0028000421", false, 0, 0, 0, 0, false, "hour 24"},
      {"B1602405407121N00249342WX0028000421", false, 0, 0, 0, 0, false, "validity neither A nor V"},
      {"B16024O5407121N00249342WA0028000421", false, 0, 0, 0, 0, false, "letter O for a zero"},
  };
  for (const auto& r : rows) {
    const auto f = decodeIgcFix(r.line);
    ASSERT_EQ(f.has_value(), r.ok) << r.why;
    if (!f) continue;
    EXPECT_NEAR(f->lat, r.lat, 1e-7) << r.why;
    EXPECT_NEAR(f->lon, r.lon, 1e-7) << r.why;
    EXPECT_EQ(f->pressureAltM, r.press) << r.why;
    EXPECT_EQ(f->gnssAltM, r.gnss) << r.why;
    EXPECT_EQ(f->valid3d, r.a) << r.why;
  }
}

TEST(IgcDate, OldAndNewHeaderForms) {
  EXPECT_EQ(decodeIgcDate("HFDTE160701"), (DateTimeRecord{16, 7, 2001, 0, 0, 0}));
  EXPECT_EQ(decodeIgcDate("HFDTEDATE:311299,01"), (DateTimeRecord{31, 12, 1999, 0, 0, 0}));
  EXPECT_FALSE(decodeIgcDate("HFDTE320701"));
  EXPECT_FALSE(decodeIgcDate("HFPLTPILOT:Bill"));
}

TEST(IgcRead, MidnightMessyLinesAndMissingDate) {
  const std::string text =
      "\xEF\xBB\xBF" "AXXXABC\r\nHFDTE311219\r\nHFXYZSOMETHINGNEW:whatever\r\nI023638FXA3941ENL\r\n"
      "B2359585407121N00249342WA0028000421\r"
      "B0000025407121N00249342WA0028000421\n"
      "B00000\n"
      "LXXXcomment\r\nB0000105407121N00249342WA0028000421";
  TVolGPS track;
  std::string message;
  ASSERT_TRUE(readIgcTrackText(text, "t.igc", track, message)) << message;
  ASSERT_EQ(track.pointCount(), 3u);
  EXPECT_EQ(track.point(0).time.toRecord(), (DateTimeRecord{31, 12, 2019, 23, 59, 58}));
  EXPECT_EQ(track.point(1).time.toRecord(), (DateTimeRecord{1, 1, 2020, 0, 0, 2})) << "day carried";
  EXPECT_EQ(track.point(2).time.toRecord(), (DateTimeRecord{1, 1, 2020, 0, 0, 10}));
  EXPECT_FLOAT_EQ(track.point(0).barometricAltitudeM, 280);
  EXPECT_FLOAT_EQ(track.point(0).gpsAltitudeM, 421);

  TVolGPS undated;
  message.clear();
  ASSERT_TRUE(readIgcTrackText("AXXX\nB2359585407121N00249342WA0028000421\n", "u.igc", undated, message));
  EXPECT_NE(message.find("no HFDTE"), std::string::npos);
  TVolGPS none;
  EXPECT_FALSE(readIgcTrackText("hello\nworld\n", "x.igc", none, message));
}

TEST(IgcRead, ZeroAltitudeFieldsMeanNone) {
  const struct { const char* fix; float pressure, gps, altitude; const char* why; } rows[] = {
      {"B1000005407121N00249342WA0028000000", 280, kUnknownAltitude, 280, "no GPS altitude: the pressure one"},
      {"B1000005407121N00249342WA0000000421", kUnknownAltitude, 421, 421, "no pressure sensor"},
      {"B1000005407121N00249342WA0000000000", kUnknownAltitude, kUnknownAltitude, kUnknownAltitude,
       "no altitudes at all"},
      {"B1000005407121N00249342WA-001200005", -12, 5, 5, "low but present"},
  };
  for (const auto& r : rows) {
    TVolGPS t;
    std::string message;
    ASSERT_TRUE(readIgcTrackText(std::string("AXXX\nHFDTE010124\n") + r.fix + "\n", "z.igc", t, message)) << r.why;
    ASSERT_EQ(t.pointCount(), 1u);
    EXPECT_EQ(t.point(0).barometricAltitudeM, r.pressure) << r.why;
    EXPECT_EQ(t.point(0).gpsAltitudeM, r.gps) << r.why;
    EXPECT_EQ(t.point(0).altitude(true), r.altitude) << r.why;
  }

  // A track without altitudes (a GPX without elevations) keeps none through an IGC file.
  TVolGPS flat;
  flat.appendPoint(makePoint(54.1, -2.8, kUnknownAltitude, {1, 1, 2024, 10, 0, 0}));
  TVolGPS back;
  std::string message;
  ASSERT_TRUE(readIgcTrackText(igcTrackText(flat), "f.igc", back, message)) << message;
  ASSERT_EQ(back.pointCount(), 1u);
  EXPECT_FALSE(hasAltitude(back.point(0).altitude(true)));
}

TEST(Igz, ReadsTheLogInsideAndReportsABrokenArchive) {
  test::TempDir dir;
  // The path's own characters, wide on Windows, as the reader hands them to minizip.
  const std::filesystem::path igz = dir / "flight.igz";
  zipFile zf = zipOpen64(igz.c_str(), APPEND_STATUS_CREATE);
  ASSERT_NE(zf, nullptr);
  const std::string log = test::readFileBytes(test::testData("formats/igc2.igc"));
  zip_fileinfo info{};
  ASSERT_EQ(zipOpenNewFileInZip(zf, "flight.IGC", &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 6), ZIP_OK);
  ASSERT_EQ(zipWriteInFileInZip(zf, log.data(), static_cast<unsigned>(log.size())), ZIP_OK);
  zipCloseFileInZip(zf);
  zipClose(zf, nullptr);
  TVolGPS fromZip, direct;
  std::string message;
  ASSERT_TRUE(openTrack(igz, fromZip, {}, message)) << message;
  ASSERT_TRUE(openTrack(test::testData("formats/igc2.igc"), direct, {}, message));
  ASSERT_EQ(fromZip.pointCount(), direct.pointCount());
  EXPECT_EQ(fromZip.point(8).position, direct.point(8).position);

  const std::string bad = (dir / "bad.igz").string();
  test::writeFileBytes(bad, "PK\x03\x04 not really");
  message.clear();
  EXPECT_FALSE(openTrack(bad, fromZip, {}, message));
  EXPECT_EQ(message, "Error unziping file in IGZ");
}

}  // namespace
}  // namespace pixtrail
