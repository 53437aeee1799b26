// Photos from many cameras, geotagged by us and read back by exiftool and exiv2.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "photos/TJpegExif.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

constexpr double kEncodingDeg = 0.002 / 3600.0;  // seconds are truncated to thousandths

// The refusals follow from the segment order exiftool -v1 lists for each file: DQT before any
// APP1, or a first APP1 that holds XMP or another program's data instead of EXIF.
const std::map<std::string, std::string> kRefused = {
    {"AFCP.jpg", "Error Define Quantization Table"},       // DQT, SOF0: no APP1 at all
    {"FotoStation.jpg", "Error Define Quantization Table"},
    {"IPTC.jpg", "Error Define Quantization Table"},       // APP0, APP13, APP14, DQT
    {"CasioQVCI.jpg", "Error in EXIF header"},             // APP0, then an APP1 without "Exif"
    {"ExtendedXMP.jpg", "Error in EXIF header"},           // first APP1 is XMP
    {"PhotoMechanic.jpg", "Error in EXIF header"},         // APP13, then an XMP APP1
};

// Measured losses, each explained. Ricoh keeps a sub-directory inside its maker note whose own
// offsets are not followed, and its image size inside a binary block that turns with the note. The
// GoPro values live in an APP6 segment copied byte for byte, which exiftool decodes in the EXIF
// block's byte order, so turning Motorola into Intel order changes how it reads them.
const std::map<std::string, std::string> kKnownLosses = {
    {"Ricoh2.jpg", "Ricoh:ManufactureDate1 Ricoh:ManufactureDate2(changed) Ricoh:RicohImageHeight(changed) "
                   "Ricoh:RicohImageWidth(changed) "},
    {"GoPro.jpg", "GoPro:AutoISOMax(changed) GoPro:AutoISOMin(changed) GoPro:MediaUniqueID(changed) "},
};

std::size_t segmentLength(const std::string& jpeg, std::size_t marker = 2) {
  return (static_cast<unsigned char>(jpeg[marker + 2]) << 8) | static_cast<unsigned char>(jpeg[marker + 3]);
}

// What the rebuilt block changes on purpose; exiftool reports these differently afterwards.
bool changesByDesign(const std::string& key) {
  static const std::set<std::string> kGroups = {"System", "File", "Composite", "ExifTool", "GPS", "JFIF"};
  static const std::set<std::string> kTags = {"IFD0:Software", "ExifIFD:Software", "IFD1:ThumbnailOffset",
                                              "IFD0:ModifyDate", "ExifIFD:ModifyDate"};
  const std::string group = key.substr(0, key.find(':'));
  // Where a block lies in the file moves with the rebuilt segment; the block itself is compared
  // through its own tag (PreviewImage, ThumbnailImage), which -b extracts.
  const bool position = key.ends_with("Start") || key.ends_with("Offset");
  return key == "SourceFile" || position || kGroups.count(group) > 0 || kTags.count(key) > 0;
}

// Warnings that follow from the system's own choices: Software goes to the EXIF IFD when IFD0 has
// none, and the GPS version written is 2.0.0.0.
bool acceptedWarning(const std::string& w) {
  return w == "Wrong IFD for 0x0131 Software (should be IFD0 not ExifIFD)" ||
         (w.find("requires GPSVersionID 2.2.0.0 or higher") != std::string::npos);
}

nlohmann::json exiftoolJson(const std::filesystem::path& file, const std::string& args) {
  const auto r = test::runCommand("exiftool -j " + args + " " + test::shellQuote(file.string()));
  EXPECT_EQ(r.status, 0) << r.err;
  return nlohmann::json::parse(r.out)[0];
}

std::set<std::string> warnings(const std::filesystem::path& file) {
  const auto r = test::runCommand("exiftool -validate -warning -a -s -s -s " + test::shellQuote(file.string()));
  std::set<std::string> out;
  std::istringstream lines(r.out);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("[minor] ", 0) == 0) line = line.substr(8);
    if (line != "OK" && line.find("Warning") == std::string::npos) out.insert(line);
  }
  return out;
}

// exiv2's plain values: "40/1 23/1 59999/1000" and "N"/"S"/"E"/"W".
double exiv2Degrees(const std::string& all, const std::string& key, const std::string& refKey) {
  std::istringstream lines(all);
  double parts[3][2] = {{NAN, 1}, {0, 1}, {0, 1}};
  char ref = '?';
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string k;
    fields >> k;
    if (k == key)
      std::sscanf(line.c_str() + k.size(), " %lf/%lf %lf/%lf %lf/%lf", &parts[0][0], &parts[0][1], &parts[1][0],
                  &parts[1][1], &parts[2][0], &parts[2][1]);
    if (k == refKey) fields >> ref;
  }
  const double v = parts[0][0] / parts[0][1] + parts[1][0] / parts[1][1] / 60.0 + parts[2][0] / parts[2][1] / 3600.0;
  return ref == 'S' || ref == 'W' ? -v : v;
}

TEST(JpegExifOracle, RealCameraPhotosGeotagReadBackAndKeepTheirTags) {
  if (!test::haveTool("exiftool") || !test::haveTool("exiv2")) GTEST_SKIP() << "exiftool and exiv2 are needed";
  const TCoord places[] = {{-3.7, 40.4, 650.5f}, {151.2153, -33.8568, 5.0f}, {-77.0428, -12.0464, 154.25f},
                           {139.6917, 35.6895, 40.0f}};
  test::TempDir dir;
  std::size_t index = 0, tagged = 0;
  std::printf("%-18s %-3s %6s %6s %5s  %s\n", "photo", "ord", "tags", "same", "lost", "lost or changed");
  for (const auto& entry : std::filesystem::directory_iterator(test::testData("photos"))) {
    const std::filesystem::path source = entry.path();
    const std::string name = source.filename().string();
    TJpegExif exif;
    std::string message;
    const bool read = exif.Read(source, message);
    if (kRefused.count(name)) {
      EXPECT_FALSE(read) << name;
      EXPECT_EQ(message, kRefused.at(name)) << name;
      std::printf("%-18s refused: %s\n", name.c_str(), message.c_str());
      continue;
    }
    ASSERT_TRUE(read) << name << ": " << message;
    const TCoord p = places[index++ % std::size(places)];
    exif.SetGpsWgs84(p);
    const auto target = dir / name;
    ASSERT_TRUE(exif.Write(target, true, message)) << name << ": " << message;
    ++tagged;

    // Both readers find the position we meant.
    const nlohmann::json gps = exiftoolJson(target, "-n -GPSLatitude -GPSLongitude -GPSAltitude");
    EXPECT_NEAR(gps["GPSLatitude"].get<double>(), p.lat, kEncodingDeg) << name;
    EXPECT_NEAR(gps["GPSLongitude"].get<double>(), p.lon, kEncodingDeg) << name;
    EXPECT_NEAR(gps["GPSAltitude"].get<double>(), p.alt, 0.001) << name;
    const auto exiv2 = test::runCommand("exiv2 -Pkv " + test::shellQuote(target.string()));
    EXPECT_NEAR(exiv2Degrees(exiv2.out, "Exif.GPSInfo.GPSLatitude", "Exif.GPSInfo.GPSLatitudeRef"), p.lat, kEncodingDeg)
        << name << exiv2.err;
    EXPECT_NEAR(exiv2Degrees(exiv2.out, "Exif.GPSInfo.GPSLongitude", "Exif.GPSInfo.GPSLongitudeRef"), p.lon,
                kEncodingDeg)
        << name;

    // No new complaint from exiftool's validator beyond the system's own choices.
    const std::set<std::string> before = warnings(source);
    for (const std::string& w : warnings(target))
      if (!before.count(w) && !acceptedWarning(w) && !(name == "Ricoh2.jpg" && w.find("RicohSubdir") != std::string::npos))
        ADD_FAILURE() << name << ": new warning: " << w;

    // Every tag exiftool reads in the source reads the same afterwards.
    const nlohmann::json a = exiftoolJson(source, "-a -G1 -n -b -x SourceFile");
    const nlohmann::json b = exiftoolJson(target, "-a -G1 -n -b -x SourceFile");
    std::size_t compared = 0, same = 0;
    std::string lost;
    for (const auto& [key, value] : a.items()) {
      if (changesByDesign(key)) continue;
      ++compared;
      if (b.contains(key) && b[key] == value) {
        ++same;
        continue;
      }
      lost += key + (b.contains(key) ? "(changed) " : " ");
    }
    std::printf("%-18s %-3s %6zu %6zu %5zu  %s\n", name.c_str(), exif.isIntel() ? "II" : "MM", compared, same,
                compared - same, lost.c_str());
    const auto known = kKnownLosses.find(name);
    EXPECT_EQ(lost, known == kKnownLosses.end() ? "" : known->second) << name;

    // Everything after the EXIF segment is the same bytes.
    const std::string in = test::readFileBytes(source), out = test::readFileBytes(target);
    const std::size_t app1 = in.find("\xFF\xE1");
    EXPECT_EQ(out.substr(4 + segmentLength(out)), in.substr(app1 + 2 + segmentLength(in, app1))) << name;
  }
  EXPECT_EQ(tagged, 15u);
}

}  // namespace
}  // namespace pixtrail
