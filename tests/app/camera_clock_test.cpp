// Camera clocks: zones with their summer-time rules, the photo's own UTC offset, clock readings.

#include "app/camera_clock.hpp"

#include <gtest/gtest.h>

#include "photos/TJpegExif.hpp"
#include "tests/photos/exif_builder.hpp"

namespace pixtrail {
namespace {

DateTimeValue at(int year, int month, int day, int hour, int minute, double seconds = 0) {
  DateTimeValue v = 0;
  EXPECT_TRUE((DateTimeRecord{day, month, year, hour, minute, seconds}.toValue(v)));
  return v;
}

std::string iso(DateTimeValue v) { return formatIsoDateTime(DateTimeRecord::fromValue(v)); }

// Expected values from the published rules of each zone, worked by hand.
TEST(TimeZone, TurnsWallClockIntoUtcWithTheRulesOfEachDate) {
  const struct {
    const char* zone;
    DateTimeValue local;
    const char* utc;
    const char* why;
  } rows[] = {
      {"Europe/Madrid", at(2026, 3, 29, 1, 59, 59), "2026-03-29T00:59:59", "last second before spring forward"},
      {"Europe/Madrid", at(2026, 3, 29, 2, 30), "2026-03-29T01:30:00", "skipped half hour: lands after the gap"},
      {"Europe/Madrid", at(2026, 3, 29, 3, 0), "2026-03-29T01:00:00", "first second of summer time"},
      {"Europe/Madrid", at(2026, 10, 25, 2, 30), "2026-10-25T00:30:00", "shown twice: the first time"},
      {"Europe/Madrid", at(2026, 10, 25, 3, 0), "2026-10-25T02:00:00", "after falling back"},
      {"Australia/Sydney", at(2026, 1, 15, 12, 0), "2026-01-15T01:00:00", "southern summer, +11"},
      {"Australia/Sydney", at(2026, 7, 15, 12, 0), "2026-07-15T02:00:00", "southern winter, +10"},
      {"Asia/Kolkata", at(2026, 5, 1, 0, 10), "2026-04-30T18:40:00", "+5:30, back over midnight"},
      {"Asia/Kathmandu", at(2026, 5, 1, 12, 0), "2026-05-01T06:15:00", "+5:45"},
      {"America/St_Johns", at(2026, 12, 31, 22, 0), "2027-01-01T01:30:00", "-3:30, over the new year"},
      {"UTC", at(2026, 5, 1, 12, 0, 0.25), "2026-05-01T12:00:00.250", "fractions kept"},
  };
  for (const auto& row : rows) {
    TimeZone zone;
    std::string message;
    ASSERT_TRUE(zone.set(row.zone, message)) << message;
    const DateTimeValue utc = zone.toUtc(row.local);
    EXPECT_EQ(iso(utc), row.utc) << row.zone << ": " << row.why;
  }
}

TEST(TimeZone, LocalTimeComesBackExceptInTheSkippedHour) {
  TimeZone zone;
  std::string message;
  ASSERT_TRUE(zone.set("Europe/Madrid", message));
  EXPECT_EQ(zone.name(), "Europe/Madrid");
  for (int quarter = 0; quarter < 24; ++quarter) {  // 22:00 to 04:00 UTC
    const DateTimeValue utc = at(2026, 10, 24, 22, 0) + quarter * 0.25 / 24;
    const DateTimeValue local = zone.toLocal(utc);
    EXPECT_NEAR((local - utc) * kSecondsPerDay, zone.utcOffsetSecondsAt(utc), 1e-3) << iso(utc);
    // Wall times shown twice (01:00 to 02:00 UTC is their second showing) come back as the first.
    const double expectedBack = quarter >= 12 && quarter < 16 ? -3600 : 0;
    EXPECT_NEAR((zone.toUtc(local) - utc) * kSecondsPerDay, expectedBack, 1e-3) << iso(utc);
  }
}

TEST(TimeZone, UnknownNamesAreRefusedAndNoneLeavesTimesAlone) {
  TimeZone zone;
  std::string message;
  EXPECT_FALSE(zone.set("Mars/Olympus_Mons", message));
  EXPECT_EQ(message, "Unknown time zone: Mars/Olympus_Mons");
  EXPECT_FALSE(zone.isSet());
  ASSERT_TRUE(zone.set("Europe/Madrid", message));
  ASSERT_TRUE(zone.set("", message));
  EXPECT_FALSE(zone.isSet());
  EXPECT_EQ(zone.toUtc(at(2026, 7, 1, 12, 0)), at(2026, 7, 1, 12, 0));
  message.clear();
  EXPECT_TRUE(zone.set("local", message)) << message;  // the system's own zone
  EXPECT_TRUE(zone.isSet());
}

TEST(PhotoUtcOffset, ReadsWhatPhonesWriteAndRefusesTheRest) {
  const struct {
    const char* text;
    bool ok;
    double seconds;
  } rows[] = {
      {"+02:00", true, 7200},   {"-05:30", true, -19800}, {"+05:45", true, 20700}, {"+14:00", true, 50400},
      {"-00:00", true, 0},      {"Z", true, 0},           {" +01:00 ", true, 3600},
      {"   :  ", false, 0},  // a camera that does not know
      {"+2:00", false, 0},      {"02:00", false, 0},      {"+15:00", false, 0},    {"+01:60", false, 0},
      {"+01:00:00", false, 0},  {"", false, 0},           {"+0a:00", false, 0},
  };
  for (const auto& row : rows) {
    double s = 99;
    EXPECT_EQ(parseUtcOffset(row.text, s), row.ok) << row.text;
    if (row.ok) {
      EXPECT_EQ(s, row.seconds) << row.text;
    }
  }
}

TEST(PhotoUtcOffset, PrefersTheOriginalsOffsetAndSkipsABlankOne) {
  using test::asciiEntry;
  const struct {
    std::vector<test::ExifEntry> exif;
    bool found;
    double seconds;
  } rows[] = {
      {{asciiEntry(0x9011, "+09:00"), asciiEntry(0x9010, "+01:00")}, true, 32400},
      {{asciiEntry(0x9010, "-03:00")}, true, -10800},
      {{asciiEntry(0x9011, "   :  "), asciiEntry(0x9010, "+01:00")}, true, 3600},
      {{asciiEntry(0x9003, "2026:10:24 10:00:00")}, false, 0},
  };
  for (const auto& row : rows) {
    test::ExifLayout layout;
    layout.exif = row.exif;
    TJpegExif exif;
    std::string message;
    ASSERT_TRUE(exif.ReadBytes(test::buildJpeg(layout), message)) << message;
    double s = 99;
    EXPECT_EQ(readPhotoUtcOffset(exif, s), row.found);
    if (row.found) {
      EXPECT_EQ(s, row.seconds);
    }
  }
}

TEST(ClockReading, ReadsAReceiversScreen) {
  const struct {
    const char* text;
    bool ok;
    double seconds;
    bool utc;
  } rows[] = {
      {"14:03:27", true, 50607, false}, {"14:03:27Z", true, 50607, true}, {"9:05:00", true, 32700, false},
      {"00:00:00.5", true, 0.5, false}, {"23:59:59", true, 86399, false},
      {"24:00:00", false, 0, false},    {"12:60:00", false, 0, false},     {"12:00:60", false, 0, false},
      {"12:00", false, 0, false},       {"12:00:0", false, 0, false},      {"-1:00:00", false, 0, false},
      {"12:00:00.x", false, 0, false},  {"Z", false, 0, false},
  };
  for (const auto& row : rows) {
    double s = -1;
    bool utc = false;
    EXPECT_EQ(parseClockReading(row.text, s, utc), row.ok) << row.text;
    if (!row.ok) continue;
    EXPECT_DOUBLE_EQ(s, row.seconds) << row.text;
    EXPECT_EQ(utc, row.utc) << row.text;
  }
}

TEST(TrackTimeScale, ReceiverLogsAreUtcWatchesAndDesktopExportsLocal) {
  EXPECT_EQ(trackTimeScaleOf("gpx"), TrackTimeScale::Utc);
  EXPECT_EQ(trackTimeScaleOf("NMEA"), TrackTimeScale::Utc);
  EXPECT_EQ(trackTimeScaleOf("igc"), TrackTimeScale::Utc);
  EXPECT_EQ(trackTimeScaleOf("HRM"), TrackTimeScale::Local);
  EXPECT_EQ(trackTimeScaleOf("txt"), TrackTimeScale::Local);
  EXPECT_EQ(trackTimeScaleOf("xyz"), TrackTimeScale::Utc);
}

TEST(ClockCorrection, DriftCountsFromTheReferenceAndTextRoundTrips) {
  const DateTimeValue r = at(2026, 10, 24, 7, 0);
  const ClockCorrection c{-47.0, -2.0, r};
  EXPECT_NEAR(c.offsetAt(r), -47.0, 1e-9);
  EXPECT_NEAR(c.offsetAt(r + 10.0 / 24), -67.0, 1e-6);
  EXPECT_NEAR(c.offsetAt(r - 1.0 / 24), -45.0, 1e-6);  // before the reference the drift runs back
  EXPECT_NEAR((c.apply(r + 1) - (r + 1)) * kSecondsPerDay, -95.0, 1e-4);

  EXPECT_EQ(formatSignedClock(-3600), "-01:00:00");
  EXPECT_EQ(formatSignedClock(0), "+00:00:00");
  EXPECT_EQ(formatSignedClock(47.5), "+00:00:47.500");
  EXPECT_EQ(formatSignedClock(-90061), "-25:01:01");
}

}  // namespace
}  // namespace pixtrail
