#include "photos/TJpegExif.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>

#include "tests/photos/exif_builder.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

using test::ExifEntry;
using test::ExifLayout;

std::string rawBytes(std::initializer_list<int> bytes) {
  std::string s;
  for (int b : bytes) s += static_cast<char>(b);
  return s;
}

std::string app1(const std::string& content) {
  std::string s = rawBytes({0xFF, 0xD8, 0xFF, 0xE1});
  appendU16(s, static_cast<std::uint16_t>(content.size() + 2), ByteOrder::big);
  return s + content + rawBytes({0xFF, 0xDB, 0, 2});
}

ExifLayout withEntries(std::size_t n) {
  ExifLayout layout;
  for (std::size_t i = 0; i < n; ++i) layout.ifd0.push_back({static_cast<std::uint16_t>(0x1000 + i), 3, {1}, {}});
  return layout;
}

TEST(JpegExifRead, RefusesWhatItCannotFollowWithTheSystemsMessages) {
  ExifLayout offset16;
  offset16.ifd0 = {test::asciiEntry(0x010F, "Make")};
  offset16.ifd0Offset = 16;
  ExifLayout motorola16 = offset16;
  motorola16.order = ByteOrder::big;
  ExifLayout badType;
  badType.ifd0 = {{0x010F, 12, {}, "12345678"}};
  ExifLayout badMagic;
  badMagic.tiffHeader = std::string("II+\0", 4);
  ExifLayout badOrder;
  badOrder.tiffHeader = std::string("IM*\0", 4);
  ExifLayout farOffset;
  farOffset.ifd0 = {test::asciiEntry(0x010F, "Make")};
  std::string far = test::buildJpeg(farOffset);
  far[4 + 2 + 6 + 8 + 2 + 8] = '\x7F';  // the Make entry's offset, low byte, now past the segment

  const struct {
    const char* why;
    std::string jpeg;
    std::string message;
  } rows[] = {
      {"not a JPEG", "GIF89a", "Error in SOI"},
      {"empty file", "", "Error in SOI"},
      {"DQT before any APP1", rawBytes({0xFF, 0xD8, 0xFF, 0xDB, 0, 4, 1, 2}), "Error Define Quantization Table"},
      {"APP0 skipped, then DQT", rawBytes({0xFF, 0xD8, 0xFF, 0xE0, 0, 4, 'J', 'F', 0xFF, 0xDB, 0, 2}),
       "Error Define Quantization Table"},
      {"file ends before APP1", rawBytes({0xFF, 0xD8, 0xFF, 0xE0, 0, 4, 'J', 'F'}), "Error Define Quantization Table"},
      {"APP1 of length zero", rawBytes({0xFF, 0xD8, 0xFF, 0xE1, 0, 0}), "Error APP1 header"},
      {"XMP where EXIF should be", app1("http://ns.adobe.com/xap/1.0/"), "Error in EXIF header"},
      {"byte order neither II nor MM", test::buildJpeg(badOrder), "Error TIF headder"},
      {"magic 43 instead of 42", test::buildJpeg(badMagic), "Error TIF headder"},
      {"IFD0 at 16, Intel", test::buildJpeg(offset16), "Error 0th IFD Offset"},
      {"IFD0 at 16, Motorola", test::buildJpeg(motorola16), "Error 0th IFD Offset"},
      {"type 12 (DOUBLE)", test::buildJpeg(badType), "Tagtype rang incorrecte"},
      {"1001 entries", test::buildJpeg(withEntries(1001)), "Error en Lee_Tags, nombre tags exceed"},
      {"value offset past the segment", far, "Error in EXIF data: an offset points outside the EXIF segment"},
  };
  for (const auto& row : rows) {
    TJpegExif exif;
    std::string message;
    EXPECT_FALSE(exif.ReadBytes(row.jpeg, message)) << row.why;
    EXPECT_EQ(message, row.message) << row.why;
  }
}

TEST(JpegExifRead, ReadsThousandEntriesAndKeysTagsAsTheSystemDoes) {
  for (ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
    ExifLayout layout = withEntries(1000);
    TJpegExif exif;
    std::string message;
    ASSERT_TRUE(exif.ReadBytes(test::buildJpeg(layout), message)) << message;
    EXPECT_EQ(exif.CountTags(kIfd0), 1000);

    layout = {};
    layout.order = order;
    layout.ifd0 = {test::asciiEntry(0x0132, "2003:12:04 06:46:52"), {0x0100, 3, {640}, {}}};
    layout.exif = {test::asciiEntry(0x9003, "2003:12:04 06:46:52")};
    layout.gps = {{0x0001, 2, {}, std::string("N\0", 2)}};
    ASSERT_TRUE(exif.ReadBytes(test::buildJpeg(layout), message)) << message;
    EXPECT_EQ(exif.isIntel(), order == ByteOrder::little);
    EXPECT_EQ(exif.FindTag(kIfd0, 0x3201), 0) << "DateTime 0x0132 is held swapped";
    EXPECT_GE(exif.FindTag(kExifIfd, 0x0390), 0) << "DateTimeOriginal 0x9003 is held swapped";
    EXPECT_GE(exif.FindTag(kGpsIfd, 0x0001), 0) << "GPS tags keep their number";
    EXPECT_EQ(exif.FindTag(kIfd0, 0x0001), 1) << "ImageWidth 0x0100 is held as 0x0001";
    const TTifTag& width = exif.tags()[1];
    EXPECT_EQ(width.valueText(), "640") << "values come back in host order from either byte order";

    // Lookups by key ignore the directory: GPS tag 1 lands on ImageWidth, which comes first.
    exif.SetTag(kGpsIfd, 0x0001, kTypeAscii, 2, std::string_view("S\0", 2));
    EXPECT_EQ(exif.tags()[1].directory, kIfd0);
    EXPECT_EQ(exif.tags()[1].valueText(), "S");
  }
}

TEST(JpegExifRead, CaptureTimePrefersOriginalThenDateTimeAndNeverDigitized) {
  const std::string blank = "    :  :     :  :  ";
  const struct {
    const char* why;
    std::string dateTime, original, digitized;
    DateTimeRecord expected;  // empty: no time
  } rows[] = {
      {"original wins", "2001:01:01 01:01:01", "2003:12:04 06:46:52", "2005:05:05 05:05:05", {4, 12, 2003, 6, 46, 52.0}},
      {"DateTime when no original", "2001:02:03 04:05:06", "", "", {3, 2, 2001, 4, 5, 6.0}},
      {"blank original falls back", "2001:02:03 04:05:06", blank, "", {3, 2, 2001, 4, 5, 6.0}},
      {"all-zero original falls back", "2001:02:03 04:05:06", "0000:00:00 00:00:00", "", {3, 2, 2001, 4, 5, 6.0}},
      {"digitized alone is not used", "", "", "2005:05:05 05:05:05", {}},
      {"no date at all", "", "", "", {}},
      {"too few fields", "2001:02:03", "", "", {}},
  };
  for (const auto& row : rows) {
    ExifLayout layout;
    if (!row.dateTime.empty()) layout.ifd0.push_back(test::asciiEntry(0x0132, row.dateTime));
    if (!row.original.empty()) layout.exif.push_back(test::asciiEntry(0x9003, row.original));
    if (!row.digitized.empty()) layout.exif.push_back(test::asciiEntry(0x9004, row.digitized));
    if (layout.ifd0.empty() && layout.exif.empty()) layout.ifd0.push_back(test::asciiEntry(0x010F, "Make"));
    TJpegExif exif;
    std::string message;
    ASSERT_TRUE(exif.ReadBytes(test::buildJpeg(layout), message)) << row.why << message;
    DateTimeRecord got;
    const bool ok = exif.ReadDateTime(got, message);
    EXPECT_EQ(ok, !row.expected.isEmpty()) << row.why;
    if (ok) EXPECT_EQ(got, row.expected) << row.why;
    else EXPECT_EQ(message, "No se ha detecado la fecha 0x3201") << row.why;
  }
}

TEST(JpegExifRead, GpsFollowsTheRationalRuleAndTheReferences) {
  const std::string n("N\0", 2), s("S\0", 2), w("W\0", 2), e("E\0", 2);
  const struct {
    const char* why;
    std::vector<ExifEntry> gps;
    double lat, lon, alt;
    std::string datum, message;
    double safeAlt = NAN;  // where the safe reader differs
  } rows[] = {
      // 1/1000 is read as 1 and 0/5 as 0; 2/1000 is a real 0.002 (hand calculation).
      {"numerators of 1 or less",
       {{1, 2, {}, n}, test::rationalEntry(2, {1, 1000, 0, 5, 2, 1000}), {3, 2, {}, e},
        test::rationalEntry(4, {3, 1, 42, 1, 0, 1}), test::rationalEntry(6, {117, 1})},
       1.0 + 0.002 / 3600.0, 3.7, 117.0, "WGS-84", ""},
      {"south and west, altitude reference ignored (read by the safe reader)",
       {{1, 2, {}, s}, test::rationalEntry(2, {12, 1, 15, 1, 0, 1}), {3, 2, {}, w},
        test::rationalEntry(4, {70, 1, 30, 1, 36000, 1000}), {5, 1, {}, std::string("\1", 1)},
        test::rationalEntry(6, {55, 10})},
       -12.25, -70.51, 5.5, "WGS-84", "", -5.5},
      {"datum named in the photo",
       {{1, 2, {}, n}, test::rationalEntry(2, {35, 1, 0, 1, 0, 1}), {3, 2, {}, e},
        test::rationalEntry(4, {139, 1, 0, 1, 0, 1}), {18, 2, {}, std::string("TOKYO\0", 6)}},
       35.0, 139.0, 0.0, "TOKYO", ""},
      {"no latitude reference", {test::rationalEntry(2, {1, 1, 0, 1, 0, 1}), {3, 2, {}, e}, test::rationalEntry(4, {3, 1, 0, 1, 0, 1})},
       0, 0, 0, "", "Error in the GPS sections..."},
      {"latitude over 90",
       {{1, 2, {}, n}, test::rationalEntry(2, {90, 1, 30, 1, 0, 1}), {3, 2, {}, e}, test::rationalEntry(4, {3, 1, 0, 1, 0, 1})},
       0, 0, 0, "", "Error in the GPS lat/lon values..."},
  };
  for (auto [order, quirks] : {std::pair{ByteOrder::little, GpsQuirks::Exact}, {ByteOrder::big, GpsQuirks::Exact},
                               {ByteOrder::little, GpsQuirks::Safe}, {ByteOrder::big, GpsQuirks::Safe}}) {
    for (const auto& row : rows) {
      ExifLayout layout;
      layout.order = order;
      layout.ifd0 = {test::asciiEntry(0x010F, "Make")};
      layout.gps = row.gps;
      TJpegExif exif;
      exif.setGpsQuirks(quirks);
      std::string message;
      ASSERT_TRUE(exif.ReadBytes(test::buildJpeg(layout), message)) << row.why;
      ExifGpsPosition got;
      const bool ok = exif.ReadGps(got, message);
      EXPECT_EQ(ok, row.message.empty()) << row.why;
      EXPECT_EQ(message, row.message) << row.why;
      if (!ok) continue;
      EXPECT_NEAR(got.lat, row.lat, 1e-12) << row.why;
      EXPECT_NEAR(got.lon, row.lon, 1e-12) << row.why;
      const bool safeDiffers = quirks == GpsQuirks::Safe && !std::isnan(row.safeAlt);
      EXPECT_NEAR(got.altM, safeDiffers ? row.safeAlt : row.alt, 1e-12) << row.why;
      EXPECT_EQ(got.datumName, row.datum) << row.why;
    }
  }
}

std::vector<std::uint32_t> words(const TJpegExif& exif, std::uint16_t key) {
  const int i = exif.FindTag(kGpsIfd, key);
  std::vector<std::uint32_t> out;
  if (i < 0) return out;
  const std::string& d = exif.tags()[i].data;
  for (std::size_t k = 0; k + 4 <= d.size(); k += 4)
    out.push_back(readU32(reinterpret_cast<const unsigned char*>(d.data()) + k, ByteOrder::little));
  return out;
}

// The arithmetic of the rationals is the codec's (exif_rationals_test); these are the entries.
TEST(JpegExifWrite, EncodesPositionsAsTheSystemDoes) {
  const struct {
    const char* why;
    TCoord wgs84;
    std::string latRef;
    std::vector<std::uint32_t> lat;
    std::vector<std::uint32_t> alt;
  } rows[] = {
      {"whole minutes", {2.0, 41.5, 100.0f}, "N", {41, 1, 30, 1, 0, 1}, {100, 1}},
      {"south", {2.0, -12.25, 0.0f}, "S", {12, 1, 15, 1, 0, 1}, {0, 1}},
      {"negative altitude stays in the numerator", {2.0, 41.5, -5.5f}, "N", {41, 1, 30, 1, 0, 1}, {0xFFFFEA84u, 1000}},
      {"unknown altitude written as it is", {2.0, 41.5, kUnknownAltitude}, "N", {41, 1, 30, 1, 0, 1}, {0xFFFFD8F1u, 1}},
  };
  for (const auto& row : rows) {
    TJpegExif exif;
    exif.setGpsQuirks(GpsQuirks::Exact);
    exif.SetGpsWgs84(row.wgs84);
    EXPECT_EQ(words(exif, kGpsLatitude), row.lat) << row.why;
    EXPECT_EQ(words(exif, kGpsAltitude), row.alt) << row.why;
    EXPECT_EQ(exif.tags()[exif.FindTag(kGpsIfd, kGpsLatitudeRef)].data, row.latRef + '\0') << row.why;
    EXPECT_EQ(exif.tags()[exif.FindTag(kGpsIfd, kGpsAltitudeRef)].data, std::string(1, '\0')) << row.why;
    const TTifTag& datum = exif.tags()[exif.FindTag(kGpsIfd, kGpsMapDatum)];
    EXPECT_EQ(datum.count, 6u);
    EXPECT_EQ(datum.data, "WGS-84");
    EXPECT_GE(exif.FindTag(kIfd0, kKeyGpsIfdPointer), 0);
  }
}

TEST(JpegExifWrite, SafeEncodingFoldsTheSignLeavesUnknownAltitudeOutAndKeepsDecimals) {
  const struct {
    const char* why;
    TCoord wgs84;
    std::vector<std::uint32_t> lat;
    int altRef;  // -1: no altitude entries at all
    std::vector<std::uint32_t> alt;
    double altBack;
  } rows[] = {
      {"below sea level", {2.0, 41.5, -5.5f}, {41, 1, 30, 1, 0, 1}, 1, {5500, 1000}, -5.5},
      {"unknown altitude", {2.0, 41.5, kUnknownAltitude}, {41, 1, 30, 1, 0, 1}, -1, {}, 0.0},
      {"just above the unknown limit", {2.0, 41.5, -998.0f}, {41, 1, 30, 1, 0, 1}, 1, {998, 1}, -998.0},
      {"decimals as given", {2.0, 40.4, 465.4f}, {40, 1, 24, 1, 0, 1}, 0, {465400, 1000}, 465.4},
  };
  for (const auto& row : rows) {
    TJpegExif exif;
    exif.SetGpsWgs84(row.wgs84);
    EXPECT_EQ(words(exif, kGpsLatitude), row.lat) << row.why;
    EXPECT_EQ(words(exif, kGpsAltitude), row.alt) << row.why;
    const int ref = exif.FindTag(kGpsIfd, kGpsAltitudeRef);
    if (row.altRef < 0) {
      EXPECT_LT(ref, 0) << row.why;
    } else {
      ASSERT_GE(ref, 0) << row.why;
      EXPECT_EQ(exif.tags()[ref].data, std::string(1, static_cast<char>(row.altRef))) << row.why;
    }
    ExifGpsPosition back;
    std::string message;
    ASSERT_TRUE(exif.ReadGps(back, message)) << row.why << message;
    EXPECT_NEAR(back.altM, row.altBack, 1e-9) << row.why;
  }
}

// IFD0's ImageWidth (0x0100) is held under key 1, the key of GPSLatitudeRef.
ExifLayout photoWithImageWidthAndAnOldFix() {
  ExifLayout layout;
  layout.ifd0 = {{0x0100, 3, {640}, {}}, test::asciiEntry(0x010F, "Make")};
  layout.exif = {test::asciiEntry(0x9003, "2024:06:01 11:00:00")};
  layout.gps = {{0, 1, {}, std::string("\2\2\0\0", 4)},
                {1, 2, {}, std::string("N\0", 2)},
                test::rationalEntry(2, {10, 1, 0, 1, 0, 1}),
                {3, 2, {}, std::string("E\0", 2)},
                test::rationalEntry(4, {20, 1, 0, 1, 0, 1}),
                {5, 1, {}, std::string("\0", 1)},
                test::rationalEntry(6, {300, 1}),
                test::rationalEntry(7, {9, 1, 30, 1, 0, 1}),       // time stamp of the old fix
                test::rationalEntry(13, {42, 1}),                  // its speed
                test::rationalEntry(17, {270, 1}),                 // its image direction
                test::asciiEntry(29, "2019:01:01"),                // its date
                test::rationalEntry(31, {5, 1})};                  // its positioning error
  return layout;
}

// That photo tagged in the given mode and read back; `dropped` gets what the writer left out.
TJpegExif tagOldFixPhoto(ByteOrder order, GpsQuirks mode, float altitude, std::vector<std::string>* dropped = nullptr) {
  ExifLayout layout = photoWithImageWidthAndAnOldFix();
  layout.order = order;
  const std::string source = test::buildJpeg(layout);
  std::string message, jpeg;
  TJpegExif exif, back;
  exif.setGpsQuirks(mode);
  EXPECT_TRUE(exif.ReadBytes(source, message)) << message;
  exif.SetGpsWgs84({-70.5, -12.25, altitude});
  EXPECT_TRUE(exif.RenderBytes(source, jpeg, message)) << message;
  EXPECT_TRUE(back.ReadBytes(jpeg, message)) << message;
  if (dropped) *dropped = exif.dropped();
  return back;
}

TEST(JpegExifQuirks, ExactModeLetsGpsKeysMeetOtherDirectoriesAndKeepsTheOldFix) {
  for (ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
    TJpegExif back = tagOldFixPhoto(order, GpsQuirks::Exact, -5.5f);
    std::string message;
    // The collision: ImageWidth now holds "S", the old "N" stays in the GPS directory.
    const int width = back.FindTag(kIfd0, 1);
    ASSERT_GE(width, 0);
    EXPECT_EQ(back.tags()[width].type, kTypeAscii);
    EXPECT_EQ(back.tags()[width].data, std::string("S\0", 2));
    EXPECT_EQ(back.tags()[back.FindTag(kGpsIfd, kGpsLatitudeRef)].data, std::string("N\0", 2));
    for (std::uint16_t key : {7, 13, 17, 29, 31}) EXPECT_GE(back.FindTag(kGpsIfd, key), 0) << key;
    EXPECT_EQ(words(back, kGpsAltitude), (std::vector<std::uint32_t>{0xFFFFEA84u, 1000}));
    EXPECT_EQ(back.tags()[back.FindTag(kGpsIfd, kGpsAltitudeRef)].data, std::string(1, '\0'));
    // Its own reader agrees with itself, another program would see the northern latitude.
    ExifGpsPosition gps;
    back.setGpsQuirks(GpsQuirks::Exact);
    ASSERT_TRUE(back.ReadGps(gps, message)) << message;
    EXPECT_DOUBLE_EQ(gps.lat, 12.25);
  }
}

TEST(JpegExifQuirks, SafeModeWritesTheGpsDirectoryAloneAndDropsTheOldFix) {
  for (ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
    std::vector<std::string> dropped;
    TJpegExif back = tagOldFixPhoto(order, GpsQuirks::Safe, kUnknownAltitude, &dropped);
    std::string message;
    const int width = back.FindTag(kIfd0, 1);
    ASSERT_GE(width, 0);
    EXPECT_EQ(back.tags()[width].type, kTypeShort);
    EXPECT_EQ(back.tags()[width].data, std::string("\x80\x02", 2));
    for (std::uint16_t key : {7, 13, 17, 29, 31}) EXPECT_LT(back.FindTag(kGpsIfd, key), 0) << key;
    // The old fix's altitude is not left to pass for the new one.
    EXPECT_LT(back.FindTag(kGpsIfd, kGpsAltitude), 0);
    EXPECT_LT(back.FindTag(kGpsIfd, kGpsAltitudeRef), 0);
    ExifGpsPosition gps;
    ASSERT_TRUE(back.ReadGps(gps, message)) << message;
    EXPECT_DOUBLE_EQ(gps.lat, -12.25);
    EXPECT_DOUBLE_EQ(gps.lon, -70.5);
    EXPECT_TRUE(dropped.empty());
  }
}

TEST(JpegExifQuirks, WithoutTheQuirksInPlayBothModesWriteTheSameBytes) {
  for (ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
    ExifLayout layout;
    layout.order = order;
    layout.ifd0 = {test::asciiEntry(0x010F, "Make"), {0x0112, 3, {1}, {}}};
    layout.exif = {test::asciiEntry(0x9003, "2024:06:01 11:00:00")};
    const std::string source = test::buildJpeg(layout);
    std::string rendered[2], message;
    for (GpsQuirks mode : {GpsQuirks::Safe, GpsQuirks::Exact}) {
      TJpegExif exif;
      exif.setGpsQuirks(mode);
      ASSERT_TRUE(exif.ReadBytes(source, message)) << message;
      exif.SetGpsWgs84({151.25, -33.5, 58.125f});
      ASSERT_TRUE(exif.RenderBytes(source, rendered[mode == GpsQuirks::Exact], message)) << message;
    }
    EXPECT_EQ(rendered[0], rendered[1]);
  }
}

class JpegExifFile : public ::testing::Test {
 protected:
  test::TempDir dir;
  std::string message;
};

TEST_F(JpegExifFile, MotorolaPhotoComesBackInIntelOrderWithItsTagsAndImageBytes) {
  const auto source = test::testData("photos/Casio.jpg");
  TJpegExif before;
  ASSERT_TRUE(before.Read(source, message)) << message;
  ASSERT_FALSE(before.isIntel());
  TJpegExif exif;
  ASSERT_TRUE(exif.Read(source, message));
  exif.SetGpsWgs84({-3.7, 40.4, 650.0f});
  const auto target = dir / "out.jpg";
  ASSERT_TRUE(exif.Write(target, true, message)) << message;
  EXPECT_EQ(exif.fileName(), target);

  TJpegExif after;
  ASSERT_TRUE(after.Read(target, message)) << message;
  EXPECT_TRUE(after.isIntel());
  for (const TTifTag& tag : before.tags()) {
    const int i = after.FindTag(tag.directory, tag.key);
    ASSERT_GE(i, 0) << std::hex << tag.key;
    // The maker note turns Intel with the rest; the oracle test reads it back.
    if (tag.key == kKeySoftware || tag.key == kKeyExifIfdPointer || tag.key == kKeyGpsIfdPointer ||
        tag.key == kKeyThumbnailOffset || tag.key == kKeyInteropPointer || tag.key == kKeyMakerNote)
      continue;
    EXPECT_EQ(after.tags()[i].type, tag.type) << std::hex << tag.key;
    EXPECT_EQ(after.tags()[i].data, tag.data) << std::hex << tag.key;
  }
  EXPECT_EQ(after.thumbnail(), before.thumbnail());
  ExifGpsPosition gps;
  ASSERT_TRUE(after.ReadGps(gps, message)) << message;
  EXPECT_NEAR(gps.lat, 40.4, 0.002 / 3600);  // truncation to 1/1000 s
  EXPECT_NEAR(gps.lon, -3.7, 0.002 / 3600);

  // Everything after the old APP1 segment is the same bytes.
  const std::string in = test::readFileBytes(source), out = test::readFileBytes(target);
  const std::size_t inRest = 4 + ((static_cast<unsigned char>(in[4]) << 8) | static_cast<unsigned char>(in[5]));
  const std::size_t outRest = 4 + ((static_cast<unsigned char>(out[4]) << 8) | static_cast<unsigned char>(out[5]));
  EXPECT_EQ(out.substr(outRest), in.substr(inRest));
}

TEST_F(JpegExifFile, PhotoWithoutDateIsStampedAndSigned) {
  ExifLayout layout;
  layout.order = ByteOrder::big;
  layout.ifd0 = {test::asciiEntry(0x010F, "Make")};
  test::writeFileBytes(dir / "nodate.jpg", test::buildJpeg(layout));
  TJpegExif exif;
  ASSERT_TRUE(exif.Read(dir / "nodate.jpg", message));
  exif.SetGpsWgs84({1.0, 2.0, 3.0f});
  const std::time_t start = std::time(nullptr);
  ASSERT_TRUE(exif.Write(dir / "stamped.jpg", true, message)) << message;
  TJpegExif back;
  ASSERT_TRUE(back.Read(dir / "stamped.jpg", message));
  for (std::uint16_t key : {kKeyDateTime, kKeyDateTimeOriginal, kKeyDateTimeDigitized})
    EXPECT_GE(back.FindTag(kExifIfd, key), 0) << std::hex << key;
  DateTimeRecord stamp;
  ASSERT_TRUE(back.ReadDateTime(stamp, message));
  std::tm local{};
  localtime_r(&start, &local);
  const DateTimeRecord now{local.tm_mday, local.tm_mon + 1, local.tm_year + 1900, local.tm_hour, local.tm_min,
                           static_cast<double>(local.tm_sec)};
  DateTimeValue a = 0, b = 0;
  ASSERT_TRUE(stamp.toValue(a) && now.toValue(b));
  EXPECT_LT(std::fabs(a - b) * kSecondsPerDay, 5.0);
  const TTifTag& software = back.tags()[back.FindTag(kExifIfd, kKeySoftware)];
  EXPECT_EQ(software.count, 8u);
  EXPECT_EQ(software.data, "OrvexGPS");
}

TEST_F(JpegExifFile, NeverOverwritesANewFileTarget) {
  TJpegExif exif;
  ASSERT_TRUE(exif.Read(test::testData("photos/Nikon.jpg"), message));
  exif.SetGpsWgs84({1.0, 2.0, 3.0f});
  test::writeFileBytes(dir / "taken.jpg", "someone else's photo");
  EXPECT_FALSE(exif.Write(dir / "taken.jpg", true, message));
  EXPECT_NE(message.find("Cannot create file!"), std::string::npos) << message;
  EXPECT_EQ(test::readFileBytes(dir / "taken.jpg"), "someone else's photo");
  EXPECT_EQ(exif.fileName(), test::testData("photos/Nikon.jpg"));
}

TEST_F(JpegExifFile, MissingFileAndDumpLines) {
  TJpegExif exif;
  EXPECT_FALSE(exif.Read(dir / "absent.jpg", message));
  EXPECT_EQ(message, "File not found!");
  exif.SetGpsWgs84({-3.5, 40.25, 0.0f});
  const std::string dump = exif.Dump();
  EXPECT_NE(dump.find("0002 , id=GPS-Latitude , type=5 , len=3 , data=40/1,15/1,0/1\n"), std::string::npos) << dump;
  EXPECT_NE(dump.find("0003 , id=GPS-Lon. Ref , type=2 , len=2 , data=W\n"), std::string::npos) << dump;
}

// Inputs the fuzzer found: each was read, geotagged and written into a file we could not read back.
TEST(JpegExifFuzzFinds, WhatIsWrittenReadsBackWithThePositionWritten) {
  const struct {
    const char* file;
    const char* why;
  } rows[] = {
      {"fuzz/gps-duplicate-latitude.jpg", "a second GPSLatitude entry outlived the new one"},
      {"fuzz/exif-pointer-count-513.jpg", "the EXIF IFD pointer claimed 513 values"},
  };
  for (const auto& row : rows) {
    const std::string source = test::readFileBytes(test::testData(row.file));
    TJpegExif exif;
    std::string message;
    ASSERT_TRUE(exif.ReadBytes(source, message)) << row.why << message;
    exif.SetGpsWgs84({2.0, 1.0, 3.0f});
    std::string jpeg;
    ASSERT_TRUE(exif.RenderBytes(source, jpeg, message)) << row.why << message;
    TJpegExif back;
    ExifGpsPosition gps;
    ASSERT_TRUE(back.ReadBytes(jpeg, message)) << row.why << message;
    ASSERT_TRUE(back.ReadGps(gps, message)) << row.why << message;
    EXPECT_DOUBLE_EQ(gps.lat, 1.0) << row.why;
    EXPECT_DOUBLE_EQ(gps.lon, 2.0) << row.why;
  }
}

// Files broken on purpose (crashes and overflows reported against other EXIF readers), and camera
// photos with bytes flipped in their maker notes: each is refused with a message or read, tagged
// and written into something that reads back. Run under the sanitizers, this is the bounds check.
TEST(JpegExifMalformed, EveryBrokenFileIsRefusedOrWrittenIntoAReadablePhoto) {
  std::size_t refused = 0, written = 0;
  std::vector<std::filesystem::path> files;
  for (const char* folder : {"photos/more/malformed", "photos/more/cameras"})
    for (const auto& entry : std::filesystem::directory_iterator(test::testData(folder))) files.push_back(entry.path());
  ASSERT_GE(files.size(), 111u);
  for (const auto& file : files) {
    const std::string source = test::readFileBytes(file);
    TJpegExif exif;
    std::string message, jpeg;
    if (!exif.ReadBytes(source, message)) {
      EXPECT_FALSE(message.empty()) << file.filename();
      ++refused;
      continue;
    }
    exif.SetGpsWgs84({-58.38, -34.6, -2.5f});
    if (!exif.RenderBytes(source, jpeg, message)) {
      EXPECT_FALSE(message.empty()) << file.filename();
      ++refused;
      continue;
    }
    TJpegExif back;
    ExifGpsPosition gps;
    ASSERT_TRUE(back.ReadBytes(jpeg, message) && back.ReadGps(gps, message)) << file.filename() << ": " << message;
    EXPECT_NEAR(gps.lat, -34.6, 0.001 / 3600) << file.filename();
    EXPECT_DOUBLE_EQ(gps.altM, -2.5) << file.filename();
    ++written;
  }
  EXPECT_GT(refused, 0u);
  EXPECT_GT(written, 0u);
}

// Maker notes with bytes flipped, one position at a time over the whole note (directory,
// entries, values): the note is followed, kept as it stands or named, never read out of bounds.
TEST(JpegExifMalformed, FlippedBytesInMakerNotesNeverLeadOutside) {
  for (const char* photo : {"photos/Minolta.jpg", "photos/Sigma.jpg", "photos/Canon.jpg"}) {
    const std::string source = test::readFileBytes(test::testData(photo));
    TJpegExif exif;
    std::string message;
    ASSERT_TRUE(exif.ReadBytes(source, message)) << photo;
    const int note = exif.FindTag(kExifIfd, kKeyMakerNote);
    ASSERT_GE(note, 0) << photo;
    const std::size_t tiff = source.find(std::string("Exif\0\0", 6)) + 6;
    const std::size_t start = tiff + exif.tags()[note].value, size = exif.tags()[note].count;
    std::size_t written = 0;
    for (std::size_t at = start; at < start + std::min<std::size_t>(size, 600); at += 3) {
      std::string broken = source;
      broken[at] = static_cast<char>(broken[at] ^ 0xA5);
      TJpegExif flipped;
      std::string jpeg;
      message.clear();
      if (!flipped.ReadBytes(broken, message)) continue;
      flipped.SetGpsWgs84({12.5, 41.9, 21.0f});
      if (!flipped.RenderBytes(broken, jpeg, message)) {
        EXPECT_FALSE(message.empty()) << photo << " @" << at;
        continue;
      }
      TJpegExif back;
      ExifGpsPosition gps;
      ASSERT_TRUE(back.ReadBytes(jpeg, message) && back.ReadGps(gps, message)) << photo << " @" << at << message;
      const bool noteGone = back.FindTag(kExifIfd, kKeyMakerNote) < 0;
      const auto& dropped = flipped.dropped();
      if (noteGone) {  // never silently
        EXPECT_NE(std::find(dropped.begin(), dropped.end(), "MakerNote"), dropped.end()) << photo << " @" << at;
      }
      ++written;
    }
    EXPECT_GT(written, 0u) << photo;
  }
}

}  // namespace
}  // namespace pixtrail
