// Every photo of the corpus (cameras of many makers, both byte orders, maker notes, IPTC and
// Photoshop segments, and files broken on purpose) is geotagged and read back by exiftool and
// exiv2: each is tagged or refused with the system's message; a tagged photo keeps every tag both
// tools read in the source, its previews, its image data and its validity, and its position reads
// back in all four hemispheres, with and without elevation, below sea level too. A table of the
// results is written to photo_corpus_results.txt in the build folder.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "photos/TJpegExif.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail {
namespace {

constexpr double kEncodingDeg = 0.002 / 3600.0;  // seconds are written in thousandths

// Refusals the system gives, by its own messages (and ours for offsets outside the segment).
const std::set<std::string> kRefusalMessages = {
    "Error in SOI", "Error APP1 header", "Error Define Quantization Table", "Error in EXIF header",
    "Error TIF headder", "Error 0th IFD Offset", "Error en Lee_Tags, nombre tags exceed", "Tagtype rang incorrecte",
    "Error in EXIF data: an offset points outside the EXIF segment",
    "Error in EXIF data: the rebuilt EXIF segment exceeds 64 KB"};

// Losses measured and explained; every other photo must lose nothing.
const std::map<std::string, std::string> kKnownLosses = {
    // A sub-directory inside Ricoh's maker note keeps offsets of its own, and the image size sits
    // in a binary block that turns with the note.
    {"Ricoh2.jpg", "Ricoh:ManufactureDate1 Ricoh:ManufactureDate2(changed) Ricoh:RicohImageHeight(changed) "
                   "Ricoh:RicohImageWidth(changed) "},
    // GoPro's values live in an APP6 segment copied byte for byte, which exiftool decodes in the
    // EXIF block's byte order: turning Motorola into Intel changes how it reads them.
    // An APP13 segment (IPTC, Photoshop) stands before the EXIF segment: the system does not carry
    // such segments over, and says so in the photo's left-out list. smiley1's DateTime is
    // written in another form than EXIF's: the photo is stamped with the time of writing.
    {"smiley1.jpg", "IPTC:By-line IPTC:Caption-Abstract IPTC:Category IPTC:City IPTC:CopyrightNotice "
                    "IPTC:Country-PrimaryLocationName IPTC:DateCreated IPTC:Keywords IPTC:ObjectName "
                    "IPTC:Province-State IPTC:Writer-Editor Exif.Image.DateTime(changed) "},
    {"smiley2.jpg", "IPTC:ApplicationRecordVersion IPTC:By-line IPTC:Caption-Abstract IPTC:Keywords IPTC:ObjectName "
                    "Photoshop:CopyrightFlag Photoshop:DisplayedUnitsX Photoshop:DisplayedUnitsY "
                    "Photoshop:XResolution Photoshop:YResolution "},
    {"GoPro.jpg", "GoPro:AutoISOMax(changed) GoPro:AutoISOMin(changed) GoPro:MediaUniqueID(changed) "},
};

struct Place {
  TCoord wgs84;
  const char* what;
};
const Place kPlaces[] = {
    {{-3.7, 40.4, 650.5f}, "north west"},
    {{151.2153, -33.8568, 5.0f}, "south east"},
    {{-77.0428, -12.0464, kUnknownAltitude}, "south west, no elevation"},
    {{139.6917, 35.6895, 40.0f}, "north east"},
    {{4.8897, 52.3702, -4.5f}, "below sea level"},
};

// What the rebuilt block changes on purpose; the tools report these differently afterwards.
bool changesByDesign(const std::string& key) {
  static const std::set<std::string> kGroups = {"System", "File", "Composite", "ExifTool", "GPS", "JFIF"};
  static const std::set<std::string> kTags = {"IFD0:Software", "ExifIFD:Software", "IFD1:ThumbnailOffset",
                                              "IFD0:ModifyDate", "ExifIFD:ModifyDate", "ExifIFD:MakerNoteUnknownText"};
  const std::string group = key.substr(0, key.find(':'));
  // Where a block lies moves with the rebuilt segment; the block itself is compared through its
  // own tag (PreviewImage, ThumbnailImage), which -b reads out whole.
  const bool position = key.ends_with("Start") || key.ends_with("Offset") || key.ends_with("Offsets");
  return key == "SourceFile" || position || kGroups.count(group) > 0 || kTags.count(key) > 0;
}

bool exiv2ChangesByDesign(const std::string& key) {
  return key.starts_with("Exif.GPSInfo.") || key.find("Software") != std::string::npos ||
         key.find("Offset") != std::string::npos || key.find("Start") != std::string::npos ||
         key == "Exif.Image.ExifTag" || key == "Exif.Image.GPSTag" || key == "Exif.Photo.InteroperabilityTag" ||
         key == "Exif.Photo.MakerNote" || key == "Exif.MakerNote.ByteOrder" ||
         key.ends_with(".JPEGInterchangeFormat");
}

// Warnings that follow from the system's own choices: Software goes to the EXIF IFD when IFD0 has
// none (a photo without one then has an EXIF IFD without its required entries), a photo without a
// date gets its stamp there too, the GPS version written is 2.0.0.0, and
// segments before EXIF are not carried over.
bool acceptedWarning(const std::string& photo, const std::string& w) {
  if (photo == "Ricoh2.jpg" && w.find("RicohSubdir") != std::string::npos) return true;  // a known loss
  return w == "Wrong IFD for 0x0131 Software (should be IFD0 not ExifIFD)" ||
         w == "Wrong IFD for 0x0132 ModifyDate (should be IFD0 not ExifIFD)" ||
         w.starts_with("Missing required JPEG ExifIFD tag") ||
         w.find("requires GPSVersionID 2.2.0.0 or higher") != std::string::npos ||
         w.find("JFIF") != std::string::npos;
}

// "exiftool ... FILES" prints "======== FILE" before each file's lines when given several.
std::map<std::string, std::set<std::string>> warningsByFile(const std::vector<std::filesystem::path>& files) {
  std::string args;
  for (const auto& f : files) args += " " + test::shellQuote(f.string());
  const auto r = test::runCommand("exiftool -validate -warning -a -s -s -s" + args);
  std::map<std::string, std::set<std::string>> out;
  std::istringstream lines(r.out);
  std::string current = files.size() == 1 ? files[0].string() : "";
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("======== ", 0) == 0) {
      current = line.substr(9);
      continue;
    }
    if (line.rfind("[minor] ", 0) == 0) line = line.substr(8);
    if (!current.empty() && line != "OK" && line.find("Warning") == std::string::npos &&
        line.find("image files read") == std::string::npos && !line.empty())
      out[current].insert(line);
  }
  return out;
}

std::map<std::string, nlohmann::json> exiftoolByFile(const std::vector<std::filesystem::path>& files) {
  std::string args;
  for (const auto& f : files) args += " " + test::shellQuote(f.string());
  const auto r = test::runCommand("exiftool -j -a -G1 -n -b" + args);
  std::map<std::string, nlohmann::json> out;
  for (const auto& object : nlohmann::json::parse(r.out.empty() ? "[]" : r.out))
    out[object["SourceFile"].get<std::string>()] = object;
  return out;
}

std::multimap<std::string, std::string> exiv2Tags(const std::filesystem::path& file) {
  const auto r = test::runCommand("exiv2 -pa " + test::shellQuote(file.string()));
  std::multimap<std::string, std::string> out;
  std::istringstream lines(r.out);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string::npos || !line.starts_with("Exif.")) continue;
    std::string rest = line.substr(blank);
    rest.erase(0, rest.find_first_not_of(' '));
    out.emplace(line.substr(0, blank), rest);
  }
  return out;
}

std::size_t app1End(const std::string& jpeg) {
  const std::size_t app1 = jpeg.find("\xFF\xE1");
  if (app1 == std::string::npos || app1 + 4 > jpeg.size()) return std::string::npos;
  return app1 + 2 + ((static_cast<unsigned char>(jpeg[app1 + 2]) << 8) | static_cast<unsigned char>(jpeg[app1 + 3]));
}

struct Row {
  std::string photo, folder, make, order, outcome;
  std::size_t compared = 0, same = 0;
  std::string lost, dropped;
};

TEST(PhotoCorpusOracle, EveryPhotoIsTaggedWithoutLossOrRefusedWithTheSystemsMessage) {
  if (!test::haveTool("exiftool") || !test::haveTool("exiv2")) GTEST_SKIP() << "exiftool and exiv2 are needed";
  test::TempDir dir;
  std::vector<std::pair<std::filesystem::path, std::string>> sources;
  for (const char* folder : {"photos", "photos/more/cameras", "photos/more/malformed"}) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(test::testData(folder)))
      if (entry.is_regular_file() && entry.path().extension() == ".jpg") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto& f : files) sources.emplace_back(f, folder);
  }
  ASSERT_GE(sources.size(), 130u);

  std::vector<Row> rows;
  std::vector<std::filesystem::path> tagged, outputs;
  std::vector<const Place*> placeOf;
  std::size_t index = 0;
  for (const auto& [source, folder] : sources) {
    Row row;
    row.photo = source.filename().string();
    row.folder = folder;
    TJpegExif exif;
    std::string message;
    std::string jpeg;
    const std::string bytes = test::readFileBytes(source);
    const Place& place = kPlaces[index % std::size(kPlaces)];
    bool ok = exif.ReadBytes(bytes, message);
    if (ok) {
      row.order = exif.isIntel() ? "II" : "MM";
      const int make = exif.FindTag(kIfd0, kKeyMake);
      if (make >= 0) row.make = exif.tags()[make].valueText().substr(0, 20);
      exif.SetGpsWgs84(place.wgs84);
      ok = exif.RenderBytes(bytes, jpeg, message);
    }
    if (!ok) {
      // The first message is the reason; warnings of the reader may come before it.
      bool known = false;
      for (const auto& m : kRefusalMessages) known = known || message.find(m) != std::string::npos;
      EXPECT_TRUE(known) << row.photo << ": " << message;
      row.outcome = "refused: " + message;
      rows.push_back(row);
      continue;
    }
    ++index;
    for (const std::string& d : exif.dropped()) row.dropped += d + "; ";
    const auto target = dir / (folder.substr(folder.rfind('/') + 1) + "-" + row.photo);
    test::writeFileBytes(target, jpeg);
    // The image data after the EXIF segment is the same bytes.
    const std::size_t inEnd = app1End(bytes), outEnd = app1End(jpeg);
    ASSERT_NE(outEnd, std::string::npos) << row.photo;
    EXPECT_EQ(jpeg.substr(outEnd), bytes.substr(inEnd)) << row.photo;
    row.outcome = "tagged";
    rows.push_back(row);
    tagged.push_back(source);
    outputs.push_back(target);
    placeOf.push_back(&place);
  }

  const auto before = exiftoolByFile(tagged);
  const auto after = exiftoolByFile(outputs);
  const auto warningsBefore = warningsByFile(tagged);
  const auto warningsAfter = warningsByFile(outputs);
  std::size_t t = 0;
  for (Row& row : rows) {
    if (row.outcome != "tagged") continue;
    const auto& source = tagged[t];
    const auto& target = outputs[t];
    const TCoord p = placeOf[t]->wgs84;
    ++t;
    const nlohmann::json& a = before.at(source.string());
    const nlohmann::json& b = after.at(target.string());
    const bool malformed = row.folder.ends_with("malformed");

    // The position, as other programs read it.
    ASSERT_TRUE(b.contains("Composite:GPSLatitude")) << row.photo;
    EXPECT_NEAR(b["Composite:GPSLatitude"].get<double>(), p.lat, kEncodingDeg) << row.photo;
    EXPECT_NEAR(b["Composite:GPSLongitude"].get<double>(), p.lon, kEncodingDeg) << row.photo;
    if (p.alt <= kNoAltitudeLimit) {
      EXPECT_FALSE(b.contains("GPS:GPSAltitude")) << row.photo;
    } else {
      ASSERT_TRUE(b.contains("Composite:GPSAltitude")) << row.photo;
      EXPECT_NEAR(b["Composite:GPSAltitude"].get<double>(), p.alt, 0.001) << row.photo;
    }

    // Every tag exiftool reads in the source reads the same afterwards.
    std::string lost;
    for (const auto& [key, value] : a.items()) {
      if (changesByDesign(key)) continue;
      ++row.compared;
      if (b.contains(key) && b[key] == value) {
        ++row.same;
        continue;
      }
      lost += key + (b.contains(key) ? "(changed) " : " ");
    }
    // And every tag exiv2 reads.
    const auto x = exiv2Tags(source), y = exiv2Tags(target);
    for (auto it = x.begin(); it != x.end(); it = x.upper_bound(it->first)) {
      if (exiv2ChangesByDesign(it->first)) continue;
      std::string va, vb;
      for (auto [i, end] = x.equal_range(it->first); i != end; ++i) va += i->second + "|";
      for (auto [i, end] = y.equal_range(it->first); i != end; ++i) vb += i->second + "|";
      ++row.compared;
      if (va == vb) ++row.same;
      else lost += it->first + (vb.empty() ? " " : "(changed) ");
    }
    row.lost = lost;
    if (!malformed) {
      const auto known = kKnownLosses.find(row.photo);
      EXPECT_EQ(lost, known == kKnownLosses.end() ? "" : known->second) << row.photo;
    }

    // No new complaint from exiftool's validator beyond the system's own choices.
    const auto wa = warningsBefore.count(source.string()) ? warningsBefore.at(source.string()) : std::set<std::string>{};
    if (warningsAfter.count(target.string()) && !malformed)
      for (const std::string& w : warningsAfter.at(target.string()))
        if (!wa.count(w) && !acceptedWarning(row.photo, w)) ADD_FAILURE() << row.photo << ": new warning: " << w;

    // Previews that decoded before still decode as JPEG.
    for (const char* tag : {"PreviewImage", "ThumbnailImage", "JpgFromRaw", "OtherImage"}) {
      const auto was = test::runCommand("exiftool -b -" + std::string(tag) + " " + test::shellQuote(source.string()));
      if (was.out.size() < 4 || was.out.rfind("\xFF\xD8", 0) != 0) continue;
      const auto now = test::runCommand("exiftool -b -" + std::string(tag) + " " + test::shellQuote(target.string()));
      EXPECT_TRUE(now.out == was.out) << row.photo << " " << tag << ": " << now.out.size() << " bytes, was "
                                      << was.out.size();
      const auto preview = dir / "preview.jpg";
      test::writeFileBytes(preview, was.out);
      const bool decodedBefore = test::runCommand("identify " + test::shellQuote(preview.string())).status == 0;
      test::writeFileBytes(preview, now.out);
      if (decodedBefore) {
        EXPECT_EQ(test::runCommand("identify " + test::shellQuote(preview.string())).status, 0) << row.photo << " " << tag;
      }
    }
  }

  std::ofstream table("photo_corpus_results.txt");
  std::size_t taggedCount = 0, refused = 0, lossless = 0;
  table << "photo\tfolder\tmake\torder\toutcome\ttags compared\ttags kept\tlost or changed\tleft out\n";
  for (const Row& r : rows) {
    table << r.photo << '\t' << r.folder << '\t' << (r.make.empty() ? "-" : r.make) << '\t'
          << (r.order.empty() ? "-" : r.order) << '\t' << r.outcome << '\t' << r.compared << '\t' << r.same << '\t'
          << r.lost << '\t' << r.dropped << '\n';
    if (r.outcome == "tagged") {
      ++taggedCount;
      if (r.lost.empty()) ++lossless;
    } else {
      ++refused;
    }
  }
  table << "# " << rows.size() << " photos: " << taggedCount << " tagged (" << lossless << " with every tag kept), "
        << refused << " refused\n";
  std::printf("%zu photos: %zu tagged (%zu with every tag kept), %zu refused; table in photo_corpus_results.txt\n",
              rows.size(), taggedCount, lossless, refused);
}

}  // namespace
}  // namespace pixtrail
