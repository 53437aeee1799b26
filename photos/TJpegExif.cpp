#include "photos/TJpegExif.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <vector>

#include "core/SafeFile.hpp"
#include "core/angles.hpp"
#include "core/byte_order.hpp"
#include "coords/TListaDatums.hpp"
#include "core/messages.hpp"
#include "photos/exif_maker_notes.hpp"
#include "photos/exif_rationals.hpp"
#include "photos/jpeg_segments.hpp"
#include "photos/exif_tag_labels.hpp"

// Departures kept on purpose (they are the system's behaviour): types 8 and 11 count one byte;
// rationals with a numerator of 1 or less read as the numerator itself; IFD0 must start at offset
// 8; segments before the first APP1 are not carried over (they are named in dropped()). With
// GpsQuirks::Exact the GPS writer and reader also keep the quirks that damage photos (see
// GpsQuirks); the safe default reads the altitude reference. Additions for the safety of photos:
// offsets are checked against the segment, the interoperability IFD and an uncompressed thumbnail
// are rebuilt with the rest, and the maker note is rebuilt by its maker's convention
// (exif_maker_notes), whatever cannot be kept being named.

namespace pixtrail {

namespace {

constexpr std::string_view kExifHeader{"Exif\0\0", 6};
constexpr std::uint16_t kTiffMagic = 42;
constexpr std::uint32_t kIfd0Offset = 8;
constexpr std::uint32_t kMaxEntries = 1000;
constexpr std::size_t kMaxSegmentData = 0xFFFF - 2;  // the APP1 length field counts itself
constexpr std::uint32_t kInteropDirectory = 4;       // private: never in the entry list

constexpr std::string_view kErrFileNotFound = "File not found!";
constexpr std::string_view kErrExifHeader = "Error in EXIF header";
constexpr std::string_view kErrTiffHeader = "Error TIF headder";
constexpr std::string_view kErrIfd0Offset = "Error 0th IFD Offset";
constexpr std::string_view kWarnNextExif = "ptrNextExifIFD !=0 ";
constexpr std::string_view kWarnNextIfd1 = "ptrNextIFD_2!=0 ";
constexpr std::string_view kErrTooManyTags = "Error en Lee_Tags, nombre tags exceed";
constexpr std::string_view kErrTagType = "Tagtype rang incorrecte";
constexpr std::string_view kErrNoDate = "No se ha detecado la fecha 0x3201";
constexpr std::string_view kErrGpsSections = "Error in the GPS sections...";
constexpr std::string_view kErrGpsValues = "Error in the GPS lat/lon values...";
constexpr std::string_view kErrUnknownDatum = "Unknown datum: ";
constexpr std::string_view kErrCreateFile = "Cannot create file!";
// Our own: the system read whatever lay at a bad offset; we refuse instead.
constexpr std::string_view kErrOutside = "Error in EXIF data: an offset points outside the EXIF segment";
constexpr std::string_view kErrTooLarge = "Error in EXIF data: the rebuilt EXIF segment exceeds 64 KB";

constexpr std::string_view kSoftware = "OrvexGPS";
constexpr std::string_view kWgs84Name = "WGS-84";
constexpr double kNoDegrees = -99999.0;

// Pointer entries the writer cannot rebuild; they are left out rather than left wrong.
// Their byte counts go with them: counts without offsets are a broken image description.
constexpr std::array<std::pair<std::uint16_t, std::string_view>, 5> kUnrebuiltPointerTags = {
    {{0x014A, "SubIFDs"},
     {0x0111, "StripOffsets"},
     {0x0117, "StripByteCounts"},
     {0x0144, "TileOffsets"},
     {0x0145, "TileByteCounts"}}};
constexpr std::uint16_t kKeyStripOffsets = 0x1101;     // 0x0111 as held
constexpr std::uint16_t kKeyStripByteCounts = 0x1701;  // 0x0117 as held

// GPS entries that describe one fix besides its place: when a new position replaces an old one they
// would pair the new place with the old fix's time, speed or heading. Tags 7 to 17 and 19 to 31.
constexpr std::array<std::uint16_t, 24> kOldFixGpsTags = {7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 19,
                                                          20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31};


const unsigned char* bytesOf(std::string_view s) { return reinterpret_cast<const unsigned char*>(s.data()); }

// Reorders one value of each element to little-endian; single bytes stay.
void toLittleEndian(std::string& data, std::uint16_t type) {
  const std::size_t size = tiffTypeSize(type);
  const std::size_t word = size == 8 ? 4 : size;  // rationals are two 32-bit words
  if (word < 2) return;
  for (std::size_t i = 0; i + word <= data.size(); i += word) std::reverse(data.begin() + i, data.begin() + i + word);
}

struct TiffReader {
  std::string_view tiff;
  ByteOrder order;

  bool has(std::uint64_t offset, std::uint64_t n) const { return offset <= tiff.size() && n <= tiff.size() - offset; }
  std::uint16_t u16(std::uint64_t offset) const { return readU16(bytesOf(tiff) + offset, order); }
  std::uint32_t u32(std::uint64_t offset) const { return readU32(bytesOf(tiff) + offset, order); }

  // Reads one directory at `offset` into `out`; `next` receives its next-IFD offset.
  bool readDirectory(std::uint32_t offset, std::uint32_t directory, VectorI<TTifTag>& out, std::uint32_t& next,
                     std::string& message) const {
    if (!has(offset, 2)) {
      appendMessage(message, kErrOutside);
      return false;
    }
    const std::uint32_t count = u16(offset);
    if (count > kMaxEntries) {
      appendMessage(message, kErrTooManyTags);
      return false;
    }
    const std::uint64_t entries = offset + 2ull;
    if (!has(entries, 12ull * count + 4)) {
      appendMessage(message, kErrOutside);
      return false;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint64_t e = entries + 12ull * i;
      TTifTag tag;
      const std::uint16_t number = u16(e);
      tag.directory = directory;
      tag.key = keyOf(directory, number);
      tag.type = u16(e + 2);
      tag.count = u32(e + 4);
      tag.value = u32(e + 8);
      if (tag.type > kMaxTiffType) {
        appendMessage(message, kErrTagType);
        return false;
      }
      const std::uint64_t size = std::uint64_t{tag.count} * tiffTypeSize(tag.type);
      if (size <= 4) {
        tag.data.assign(tiff.substr(e + 8, size));
      } else {
        if (!has(tag.value, size)) {
          appendMessage(message, kErrOutside);
          return false;
        }
        tag.data.assign(tiff.substr(tag.value, size));
      }
      if (order == ByteOrder::big) toLittleEndian(tag.data, tag.type);
      out.add(tag);
    }
    next = u32(entries + 12ull * count);
    return true;
  }
};

int findInDirectory(const VectorI<TTifTag>& tags, std::uint32_t directory, std::uint16_t key) {
  for (std::size_t i = 0; i < tags.size(); ++i)
    if (tags[i].key == key && tags[i].directory == directory) return static_cast<int>(i);
  return -1;
}

// SHORT or LONG values of an entry (its data is little-endian once read).
std::vector<std::uint32_t> unsignedValues(const TTifTag& tag) {
  std::vector<std::uint32_t> out;
  const std::size_t size = tag.type == kTypeShort ? 2 : tag.type == kTypeLong ? 4 : 0;
  if (size == 0) return out;
  const auto* p = reinterpret_cast<const unsigned char*>(tag.data.data());
  for (std::size_t i = 0; i + size <= tag.data.size(); i += size)
    out.push_back(size == 2 ? readU16(p + i, ByteOrder::little) : readU32(p + i, ByteOrder::little));
  return out;
}

int findKey(const VectorI<TTifTag>& tags, std::uint16_t key) {
  for (std::size_t i = 0; i < tags.size(); ++i)
    if (tags[i].key == key) return static_cast<int>(i);
  return -1;
}

std::uint32_t le32(const std::string& data, std::size_t offset) {
  return data.size() >= offset + 4 ? readU32(bytesOf(data) + offset, ByteOrder::little) : 0;
}


void putU32(std::string& out, std::size_t at, std::uint32_t v) {
  std::string bytes;
  appendU32(bytes, v, ByteOrder::little);
  out.replace(at, 4, bytes);
}

void alignEven(std::string& out) {
  if (out.size() % 2 != 0) out += '\0';
}

}  // namespace

std::size_t tiffTypeSize(std::uint16_t type) {
  switch (type) {
    case 3: return 2;
    case 4: case 9: return 4;
    case 5: case 10: return 8;
    default: return 1;
  }
}

std::uint16_t tagNumberOf(std::uint32_t directory, std::uint16_t key) {
  return directory == kGpsIfd ? key : static_cast<std::uint16_t>((key >> 8) | (key << 8));
}

std::uint16_t keyOf(std::uint32_t directory, std::uint16_t tagNumber) { return tagNumberOf(directory, tagNumber); }

std::string TTifTag::valueText() const {
  if (type == kTypeAscii) {
    const std::size_t end = data.find('\0');
    return data.substr(0, end);
  }
  constexpr std::size_t kMaxValues = 64;
  std::string text;
  const std::size_t size = tiffTypeSize(type);
  const std::size_t n = data.size() / size;
  const unsigned char* p = bytesOf(data);
  char buffer[32];
  for (std::size_t i = 0; i < n && i < kMaxValues; ++i) {
    if (i > 0) text += ',';
    switch (type) {
      case kTypeShort: std::snprintf(buffer, sizeof buffer, "%u", readU16(p + 2 * i, ByteOrder::little)); break;
      case kTypeLong: std::snprintf(buffer, sizeof buffer, "%u", readU32(p + 4 * i, ByteOrder::little)); break;
      case 9: std::snprintf(buffer, sizeof buffer, "%d", readI32(p + 4 * i, ByteOrder::little)); break;
      case kTypeRational:
        std::snprintf(buffer, sizeof buffer, "%u/%u", readU32(p + 8 * i, ByteOrder::little),
                      readU32(p + 8 * i + 4, ByteOrder::little));
        break;
      case kTypeSRational:
        std::snprintf(buffer, sizeof buffer, "%d/%d", readI32(p + 8 * i, ByteOrder::little),
                      readI32(p + 8 * i + 4, ByteOrder::little));
        break;
      default: std::snprintf(buffer, sizeof buffer, "%u", p[i]); break;
    }
    text += buffer;
  }
  if (n > kMaxValues) text += ",...";
  return text;
}

DateTimeRecord parseExifDateTime(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  std::vector<std::string> fields;
  std::size_t pos = 0;
  // Delimiters " :" with runs collapsed, as a token scanner does.
  while (pos < text.size()) {
    const std::size_t start = text.find_first_not_of(" :", pos);
    if (start == std::string_view::npos) break;
    const std::size_t end = std::min(text.find_first_of(" :", start), text.size());
    fields.emplace_back(text.substr(start, end - start));
    pos = end;
  }
  DateTimeRecord r;
  if (fields.size() < 6) return r;
  r.year = std::atoi(fields[0].c_str());
  r.month = std::atoi(fields[1].c_str());
  r.day = std::atoi(fields[2].c_str());
  r.hour = std::atoi(fields[3].c_str());
  r.minute = std::atoi(fields[4].c_str());
  r.seconds = std::atof(fields[5].c_str());
  return r;
}

bool TJpegExif::Read(const std::filesystem::path& file, std::string& message) {
  std::string why;
  std::FILE* stream = openRegularFile(file, why);  // a FIFO or a device would never end
  if (stream == nullptr) {
    std::error_code ec;
    if (std::filesystem::exists(file, ec)) appendMessage(message, why);  // missing: the system's text alone
    appendMessage(message, kErrFileNotFound);
    return false;
  }
  const int fd = ::dup(::fileno(stream));
  std::fclose(stream);
  if (fd < 0) {
    appendMessage(message, kErrFileNotFound);
    return false;
  }
  FileSource source{fd};
  App1Location app1;
  std::string segment;
  bool ok = walkToApp1(source, app1, message);
  if (ok) {
    segment.resize(app1.contentLength());
    ok = source.read(app1.contentStart(), reinterpret_cast<unsigned char*>(segment.data()), segment.size());
    if (!ok) appendMessage(message, kErrApp1);
  }
  ::close(fd);
  if (!ok) return false;
  fileName_ = file;
  return readTiff(segment, message);
}

bool TJpegExif::ReadBytes(std::string_view jpeg, std::string& message) {
  MemorySource source{jpeg};
  App1Location app1;
  if (!walkToApp1(source, app1, message)) return false;
  if (app1.contentStart() + app1.contentLength() > jpeg.size()) {
    appendMessage(message, kErrApp1);
    return false;
  }
  return readTiff(jpeg.substr(app1.contentStart(), app1.contentLength()), message);
}

bool TJpegExif::readTiff(std::string_view segment, std::string& message) {
  if (segment.substr(0, kExifHeader.size()) != kExifHeader) {
    appendMessage(message, kErrExifHeader);
    return false;
  }
  const std::string_view tiff = segment.substr(kExifHeader.size());
  if (tiff.size() < 8 || (tiff.substr(0, 2) != "II" && tiff.substr(0, 2) != "MM")) {
    appendMessage(message, kErrTiffHeader);
    return false;
  }
  const bool intel = tiff.substr(0, 2) == "II";
  const TiffReader reader{tiff, intel ? ByteOrder::little : ByteOrder::big};
  if (reader.u16(2) != kTiffMagic) {
    appendMessage(message, kErrTiffHeader);
    return false;
  }
  if (reader.u32(4) != kIfd0Offset) {
    appendMessage(message, kErrIfd0Offset);
    return false;
  }
  VectorI<TTifTag> tags;
  std::uint32_t ifd1Offset = 0, next = 0;
  if (!reader.readDirectory(kIfd0Offset, kIfd0, tags, ifd1Offset, message)) return false;
  const int exifPointer = findKey(tags, kKeyExifIfdPointer);
  if (exifPointer >= 0) {
    if (!reader.readDirectory(tags[exifPointer].value, kExifIfd, tags, next, message)) return false;
    if (next != 0) appendMessage(message, kWarnNextExif);
  }
  const int gpsPointer = findKey(tags, kKeyGpsIfdPointer);
  if (gpsPointer >= 0 && !reader.readDirectory(tags[gpsPointer].value, kGpsIfd, tags, next, message)) return false;
  if (ifd1Offset != 0) {
    if (!reader.readDirectory(ifd1Offset, kIfd1, tags, next, message)) return false;
    if (next != 0) appendMessage(message, kWarnNextIfd1);
  }

  // Beyond the four directories: what the writer must carry so that nothing points astray.
  std::string thumbnail;
  bool thumbnailValid = false;
  const int thumbOffset = findKey(tags, kKeyThumbnailOffset);
  const int thumbLength = findKey(tags, kKeyThumbnailLength);
  if (thumbOffset >= 0 && thumbLength >= 0 && tags[thumbOffset].directory == kIfd1) {
    const std::uint32_t offset = le32(tags[thumbOffset].data, 0), length = le32(tags[thumbLength].data, 0);
    thumbnailValid = reader.has(offset, length);
    if (thumbnailValid) thumbnail.assign(tiff.substr(offset, length));
  }
  // An uncompressed thumbnail lies in strips, addressed like the JPEG one.
  std::vector<std::string> strips;
  bool stripsValid = false;
  const int stripOffsets = findInDirectory(tags, kIfd1, kKeyStripOffsets);
  const int stripCounts = findInDirectory(tags, kIfd1, kKeyStripByteCounts);
  if (stripOffsets >= 0 && stripCounts >= 0) {
    const std::vector<std::uint32_t> offsets = unsignedValues(tags[stripOffsets]);
    const std::vector<std::uint32_t> counts = unsignedValues(tags[stripCounts]);
    stripsValid = !offsets.empty() && offsets.size() == counts.size();
    for (std::size_t i = 0; stripsValid && i < offsets.size(); ++i) {
      stripsValid = reader.has(offsets[i], counts[i]);
      if (stripsValid) strips.emplace_back(tiff.substr(offsets[i], counts[i]));
    }
  }
  VectorI<TTifTag> interop;
  bool interopValid = false;
  const int interopPointer = findKey(tags, kKeyInteropPointer);
  if (interopPointer >= 0 && tags[interopPointer].directory == kExifIfd) {
    std::string ignored;
    interopValid = reader.readDirectory(tags[interopPointer].value, kInteropDirectory, interop, next, ignored);
  }
  const int makerNote = findKey(tags, kKeyMakerNote);

  intel_ = intel;
  makerNoteSource_.clear();
  makerPlan_ = MakerNotePlan{};
  if (makerNote >= 0 && tags[makerNote].directory == kExifIfd && tiffTypeSize(tags[makerNote].type) == 1 &&
      tags[makerNote].data.size() > 4) {
    const int makeTag = findKey(tags, kKeyMake);
    std::string make = makeTag >= 0 ? tags[makeTag].data : std::string();
    make = make.substr(0, make.find('\0'));
    makerNoteSource_ = tags[makerNote].data;
    makerPlan_ = planMakerNote(tiff, tags[makerNote].value, tags[makerNote].count, reader.order, make);
  }
  tags_ = std::move(tags);
  thumbnail_ = std::move(thumbnail);
  thumbnailValid_ = thumbnailValid;
  strips_ = stripsValid ? std::move(strips) : std::vector<std::string>{};
  stripsValid_ = stripsValid;
  interop_ = interopValid ? std::move(interop) : VectorI<TTifTag>{};
  interopValid_ = interopValid;
  return true;
}

bool TJpegExif::ReadDateTime(DateTimeRecord& out, std::string& message) const {
  DateTimeRecord dateTime, original, digitized;
  for (const TTifTag& tag : tags_) {
    if (tag.key == kKeyDateTime) dateTime = parseExifDateTime(tag.data);
    if (tag.key == kKeyDateTimeOriginal) original = parseExifDateTime(tag.data);
    if (tag.key == kKeyDateTimeDigitized) digitized = parseExifDateTime(tag.data);  // read, never used
  }
  if (!original.isEmpty()) {
    out = original;
    return true;
  }
  if (!dateTime.isEmpty()) {
    out = dateTime;
    return true;
  }
  appendMessage(message, kErrNoDate);
  return false;
}

bool TJpegExif::ReadGps(ExifGpsPosition& out, std::string& message) const {
  char latRef = 'X', lonRef = 'X';
  std::array<double, 3> lat = {kNoDegrees, 0, 0}, lon = {kNoDegrees, 0, 0};
  double alt = 0.0;
  std::string datum(kWgs84Name);
  bool belowSeaLevel = false;
  const bool exact = quirks_ == GpsQuirks::Exact;
  for (const TTifTag& tag : tags_) {
    if (!exact && tag.directory != kGpsIfd) continue;
    switch (tag.key) {
      case kGpsLatitudeRef: if (!tag.data.empty()) latRef = tag.data[0]; break;
      case kGpsLongitudeRef: if (!tag.data.empty()) lonRef = tag.data[0]; break;
      case kGpsLatitude:
        for (std::size_t i = 0; i < 3 && i < tag.count; ++i) lat[i] = rationalValue(tag.data, i);
        break;
      case kGpsLongitude:
        for (std::size_t i = 0; i < 3 && i < tag.count; ++i) lon[i] = rationalValue(tag.data, i);
        break;
      case kGpsAltitude: alt = rationalValue(tag.data, 0); break;
      case kGpsAltitudeRef: belowSeaLevel = !exact && !tag.data.empty() && tag.data[0] == 1; break;
      case kGpsMapDatum: datum = tag.data.substr(0, tag.data.find('\0')); break;
      default: break;
    }
  }
  constexpr double kDegreesMissing = -999.0;
  if (latRef == 'X' || lonRef == 'X' || lat[0] < kDegreesMissing || lon[0] < kDegreesMissing) {
    appendMessage(message, kErrGpsSections);
    return false;
  }
  double latDeg = lat[0] + lat[1] / kMinutesPerDegree + lat[2] / kSecondsPerDegree;
  double lonDeg = lon[0] + lon[1] / kMinutesPerDegree + lon[2] / kSecondsPerDegree;
  if (!isPlausibleLatLon(latDeg, lonDeg)) {
    appendMessage(message, kErrGpsValues);
    return false;
  }
  if (lonDeg > 0 && lonRef == 'W') lonDeg = -lonDeg;
  if (latDeg > 0 && latRef == 'S') latDeg = -latDeg;
  out.lat = latDeg;
  out.lon = lonDeg;
  out.altM = belowSeaLevel ? -alt : alt;
  out.datumName = std::move(datum);
  return true;
}

void TJpegExif::SetGpsWgs84(const TCoord& p) {
  const bool exact = quirks_ == GpsQuirks::Exact;
  auto set = [this, exact](std::uint16_t key, std::uint16_t type, std::uint32_t count, std::string_view data) {
    if (exact) SetTag(kGpsIfd, key, type, count, data);
    else SetTagInDirectory(kGpsIfd, key, type, count, data);
  };
  auto erase = [this](std::uint16_t key) {
    for (std::size_t i = tags_.size(); i-- > 0;)
      if (tags_[i].key == key && tags_[i].directory == kGpsIfd) tags_.erase(i);
  };
  if (!exact)
    for (std::uint16_t key : kOldFixGpsTags) erase(key);
  static constexpr unsigned char kVersion[] = {2, 0, 0, 0};
  set(kGpsVersionId, kTypeByte, 4, std::string_view(reinterpret_cast<const char*>(kVersion), 4));
  set(kGpsLatitudeRef, kTypeAscii, 2, std::string_view(p.lat < 0 ? "S" : "N", 2));
  set(kGpsLatitude, kTypeRational, 3, degreesMinutesSeconds(std::fabs(p.lat), !exact));
  set(kGpsLongitudeRef, kTypeAscii, 2, std::string_view(p.lon < 0 ? "W" : "E", 2));
  set(kGpsLongitude, kTypeRational, 3, degreesMinutesSeconds(std::fabs(p.lon), !exact));
  std::string altitude;
  if (exact) {
    // The altitude as it is: a negative one stays in the numerator, the reference stays 0.
    set(kGpsAltitudeRef, kTypeByte, 1, std::string_view("\0", 1));
    appendRational(altitude, p.alt, false);
    set(kGpsAltitude, kTypeRational, 1, altitude);
  } else if (p.alt <= kNoAltitudeLimit) {
    erase(kGpsAltitudeRef);  // an unknown altitude is no altitude, and an old one is stale
    erase(kGpsAltitude);
  } else {
    set(kGpsAltitudeRef, kTypeByte, 1, std::string_view(p.alt < 0 ? "\1" : "\0", 1));
    appendRational(altitude, std::fabs(decimalOf(p.alt)), true);
    set(kGpsAltitude, kTypeRational, 1, altitude);
  }
  set(kGpsMapDatum, kTypeAscii, static_cast<std::uint32_t>(kWgs84Name.size()), kWgs84Name);
  if (FindTag(kIfd0, kKeyGpsIfdPointer) < 0)
    SetTag(kIfd0, kKeyGpsIfdPointer, kTypeLong, 1, std::string_view("\0\0\0\0", 4));
  if (exact) return;
  // A second GPS entry under a key just set would contradict the new position: drop it.
  for (std::uint16_t key : {kGpsVersionId, kGpsLatitudeRef, kGpsLatitude, kGpsLongitudeRef, kGpsLongitude,
                            kGpsAltitudeRef, kGpsAltitude, kGpsMapDatum}) {
    const int kept = FindTag(kGpsIfd, key);
    for (std::size_t i = tags_.size(); i-- > 0;)
      if (static_cast<int>(i) != kept && tags_[i].key == key && tags_[i].directory == kGpsIfd) tags_.erase(i);
  }
}

namespace {

TTifTag& replaceOrAdd(VectorI<TTifTag>& tags, int found, std::uint32_t directory, std::uint16_t key,
                      std::uint16_t type, std::uint32_t count, std::string_view data) {
  if (found < 0) {
    TTifTag fresh;
    fresh.key = key;
    fresh.directory = directory;
    tags.add(fresh);
    found = static_cast<int>(tags.size() - 1);
  }
  TTifTag& tag = tags[found];  // a found entry keeps its directory
  tag.type = type;
  tag.count = count;
  tag.data.assign(data.substr(0, std::min<std::size_t>(data.size(), std::size_t{count} * tiffTypeSize(type))));
  tag.data.resize(std::size_t{count} * tiffTypeSize(type), '\0');
  return tag;
}

}  // namespace

TTifTag& TJpegExif::SetTag(std::uint32_t directory, std::uint16_t key, std::uint16_t type, std::uint32_t count,
                           std::string_view data) {
  return replaceOrAdd(tags_, findKey(tags_, key), directory, key, type, count, data);
}

TTifTag& TJpegExif::SetTagInDirectory(std::uint32_t directory, std::uint16_t key, std::uint16_t type,
                                      std::uint32_t count, std::string_view data) {
  return replaceOrAdd(tags_, FindTag(directory, key), directory, key, type, count, data);
}

int TJpegExif::FindTag(std::uint32_t directory, std::uint16_t key) const {
  for (std::size_t i = 0; i < tags_.size(); ++i)
    if (tags_[i].directory == directory && tags_[i].key == key) return static_cast<int>(i);
  return -1;
}

int TJpegExif::CountTags(std::uint32_t directory) const {
  return static_cast<int>(std::count_if(tags_.begin(), tags_.end(),
                                        [directory](const TTifTag& t) { return t.directory == directory; }));
}

std::string TJpegExif::Dump() const {
  std::string out;
  char key[8];
  for (const TTifTag& tag : tags_) {
    std::snprintf(key, sizeof key, "%04X", tag.key);
    out += key;
    out += " , id=" + std::string(exifTagLabel(tag.directory, tag.key));
    out += " , type=" + std::to_string(tag.type);
    out += " , len=" + std::to_string(tag.count);
    out += " , data=" + tag.valueText() + "\n";
  }
  return out;
}

bool TJpegExif::stampDateTime(std::string& message) {
  DateTimeRecord record;
  std::string ignored;
  if (!ReadDateTime(record, ignored)) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[64];
    std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                  local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    std::string stamp(text);
    std::replace(stamp.begin(), stamp.end(), '-', ':');
    const auto count = static_cast<std::uint32_t>(stamp.size());
    for (std::uint16_t key : {kKeyDateTime, kKeyDateTimeOriginal, kKeyDateTimeDigitized})
      SetTag(kExifIfd, key, kTypeAscii, count, stamp);
    if (!ReadDateTime(record, message)) return false;
  }
  if (FindTag(kIfd0, kKeyExifIfdPointer) < 0)
    SetTag(kIfd0, kKeyExifIfdPointer, kTypeLong, 1, std::string_view("\0\0\0\0", 4));
  return true;
}

std::string TJpegExif::buildExifSegment() {
  // Pointers are written as one LONG whatever the source had, so that their patched value is the
  // only thing a reader follows.
  for (TTifTag& tag : tags_) {
    const bool pointer = (tag.directory == kIfd0 && (tag.key == kKeyExifIfdPointer || tag.key == kKeyGpsIfdPointer)) ||
                         (tag.directory == kExifIfd && tag.key == kKeyInteropPointer) ||
                         (tag.directory == kIfd1 && (tag.key == kKeyThumbnailOffset || tag.key == kKeyThumbnailLength));
    if (pointer && (tag.type != kTypeLong || tag.count != 1)) {
      tag.type = kTypeLong;
      tag.count = 1;
      tag.data.assign(4, '\0');
    }
  }
  // The planned note stands in for the one read, unless someone has set another since.
  const int makerIndex = FindTag(kExifIfd, kKeyMakerNote);
  const bool planned = makerIndex >= 0 && !makerNoteSource_.empty() && tags_[makerIndex].data == makerNoteSource_;
  const MakerNotePlan makerPlan = planned ? makerPlan_ : MakerNotePlan{};
  if (planned)
    for (const std::string& name : makerPlan.dropped)
      if (std::find(dropped_.begin(), dropped_.end(), name) == dropped_.end()) dropped_.push_back(name);
  auto isPlannedNote = [&](const TTifTag* tag) { return planned && tag == &tags_[makerIndex]; };

  auto drop = [this](std::string name) {
    if (std::find(dropped_.begin(), dropped_.end(), name) == dropped_.end()) dropped_.push_back(std::move(name));
    return false;
  };
  auto carried = [&](const TTifTag& tag) {
    const std::uint16_t number = tag.tagNumber();
    const bool strip = tag.key == kKeyStripOffsets || tag.key == kKeyStripByteCounts;
    if (tag.directory != kGpsIfd && !(strip && tag.directory == kIfd1 && stripsValid_)) {
      for (const auto& [pointer, name] : kUnrebuiltPointerTags)
        if (number == pointer) return drop(std::string(name));
    }
    if (tag.key == kKeyInteropPointer && tag.directory == kExifIfd && !interopValid_) return drop("InteropIFD");
    if (tag.key == kKeyMakerNote && tag.directory == kExifIfd && !makerPlan.keep) return drop("MakerNote");
    if ((tag.key == kKeyThumbnailOffset || tag.key == kKeyThumbnailLength) && tag.directory == kIfd1 &&
        !thumbnailValid_)
      return drop("ThumbnailImage");
    return true;
  };
  auto entriesOf = [&](VectorI<TTifTag>& list, std::uint32_t directory) {
    std::vector<TTifTag*> entries;
    for (TTifTag& tag : list)
      if (tag.directory == directory && carried(tag)) entries.push_back(&tag);
    // Ascending tag numbers, as TIFF readers expect; equal numbers keep their order.
    std::stable_sort(entries.begin(), entries.end(),
                     [](const TTifTag* a, const TTifTag* b) { return a->tagNumber() < b->tagNumber(); });
    return entries;
  };

  std::string t("II", 2);
  appendU16(t, kTiffMagic, ByteOrder::little);
  appendU32(t, kIfd0Offset, ByteOrder::little);
  // Writes one directory and its out-of-line data; returns its offset and its next-IFD field.
  auto writeDirectory = [&](const std::vector<TTifTag*>& entries, std::size_t& nextField) {
    alignEven(t);
    const auto start = static_cast<std::uint32_t>(t.size());
    appendU16(t, static_cast<std::uint16_t>(entries.size()), ByteOrder::little);
    for (TTifTag* tag : entries) {
      tag->writePosition = static_cast<std::uint32_t>(t.size());
      appendU16(t, tag->tagNumber(), ByteOrder::little);
      appendU16(t, tag->type, ByteOrder::little);
      appendU32(t, isPlannedNote(tag) ? static_cast<std::uint32_t>(makerPlan.note.size()) : tag->count,
                ByteOrder::little);
      std::string inlineValue = tag->data.size() <= 4 ? tag->data : std::string();
      inlineValue.resize(4, '\0');
      t += inlineValue;
    }
    nextField = t.size();
    appendU32(t, 0, ByteOrder::little);
    for (TTifTag* tag : entries) {
      if (tag->data.size() <= 4) continue;
      alignEven(t);
      const auto offset = static_cast<std::uint32_t>(t.size());
      putU32(t, tag->writePosition + 8, offset);
      if (isPlannedNote(tag)) {
        t += placeMakerNote(makerPlan, offset);
      } else {
        t += tag->data;
      }
    }
    return start;
  };
  auto patchPointer = [&](std::uint32_t directory, std::uint16_t key, std::uint32_t target) {
    const int i = FindTag(directory, key);
    if (i >= 0) putU32(t, tags_[i].writePosition + 8, target);
  };

  std::size_t ifd0Next = 0, ignoredNext = 0;
  writeDirectory(entriesOf(tags_, kIfd0), ifd0Next);
  if (FindTag(kIfd0, kKeyExifIfdPointer) >= 0)
    patchPointer(kIfd0, kKeyExifIfdPointer, writeDirectory(entriesOf(tags_, kExifIfd), ignoredNext));
  if (interopValid_ && FindTag(kExifIfd, kKeyInteropPointer) >= 0)
    patchPointer(kExifIfd, kKeyInteropPointer, writeDirectory(entriesOf(interop_, kInteropDirectory), ignoredNext));
  if (FindTag(kIfd0, kKeyGpsIfdPointer) >= 0)
    patchPointer(kIfd0, kKeyGpsIfdPointer, writeDirectory(entriesOf(tags_, kGpsIfd), ignoredNext));
  const std::vector<TTifTag*> ifd1 = entriesOf(tags_, kIfd1);
  if (!ifd1.empty()) {
    putU32(t, ifd0Next, writeDirectory(ifd1, ignoredNext));
    if (thumbnailValid_) {
      const auto offset = static_cast<std::uint32_t>(t.size());
      t += thumbnail_;
      patchPointer(kIfd1, kKeyThumbnailOffset, offset);
      patchPointer(kIfd1, kKeyThumbnailLength, static_cast<std::uint32_t>(thumbnail_.size()));
    }
    const int offsets = FindTag(kIfd1, kKeyStripOffsets);
    if (stripsValid_ && offsets >= 0) {
      const TTifTag& tag = tags_[offsets];
      const std::size_t size = tiffTypeSize(tag.type);
      const std::size_t values = tag.writePosition + 8;
      const std::size_t array = tag.data.size() <= 4 ? values : readU32(bytesOf(t) + values, ByteOrder::little);
      for (std::size_t i = 0; i < strips_.size(); ++i) {
        alignEven(t);
        std::string where;
        if (size == 2) appendU16(where, static_cast<std::uint16_t>(t.size()), ByteOrder::little);
        else appendU32(where, static_cast<std::uint32_t>(t.size()), ByteOrder::little);
        t.replace(array + i * size, size, where);
        t += strips_[i];
      }
    }
  }
  return std::string(kExifHeader) + t;
}

bool TJpegExif::Render(std::string& jpeg, std::string& message) {
  std::string source;
  if (!readWholeFile(fileName_, source, message)) {
    appendMessage(message, kErrFileNotFound);
    return false;
  }
  return RenderBytes(source, jpeg, message);
}

bool TJpegExif::RenderBytes(std::string_view source, std::string& jpeg, std::string& message) {
  App1Location app1;
  if (!walkToApp1(MemorySource{source}, app1, message)) return false;
  const std::uint64_t restStart = app1.length > 5 ? app1.contentStart() + app1.contentLength() : app1.contentStart();
  if (restStart > source.size()) {
    appendMessage(message, kErrApp1);
    return false;
  }
  if (!stampDateTime(message)) return false;
  dropped_.clear();
  // Segments between SOI and the EXIF segment are not carried over (the system's layout); say so.
  for (std::uint64_t pos = 2; pos + 4 <= app1.marker;) {
    const auto* b = bytesOf(source.substr(pos, 4));
    char name[16];
    if (b[1] >= 0xE0 && b[1] <= 0xEF) std::snprintf(name, sizeof name, "APP%d segment", b[1] - 0xE0);
    else std::snprintf(name, sizeof name, "segment %02X", b[1]);
    dropped_.emplace_back(name);
    pos += 2 + readU16(b + 2, ByteOrder::big);
  }
  SetTag(kExifIfd, kKeySoftware, kTypeAscii, static_cast<std::uint32_t>(kSoftware.size()), kSoftware);
  const std::string exif = buildExifSegment();
  if (exif.size() > kMaxSegmentData) {
    appendMessage(message, kErrTooLarge);
    return false;
  }
  jpeg.clear();
  jpeg.reserve(4 + exif.size() + (source.size() - restStart));
  jpeg += "\xFF\xD8\xFF\xE1";
  appendU16(jpeg, static_cast<std::uint16_t>(exif.size() + 2), ByteOrder::big);
  jpeg += exif;
  jpeg.append(source.substr(restStart));
  return true;
}

bool TJpegExif::Write(const std::filesystem::path& target, bool mustNotExist, std::string& message,
                      const SafeWriteOptions& write) {
  std::string jpeg;
  if (!Render(jpeg, message)) return false;
  SafeWriteOptions options = write;
  options.mustNotExist = mustNotExist;
  if (!writeFileSafely(target, jpeg, options, message)) {
    appendMessage(message, kErrCreateFile);
    return false;
  }
  fileName_ = target;
  return true;
}

bool TJpegExif::ReadPosition(TCoord& point, int& datum, std::string& message) const {
  ExifGpsPosition gps;
  if (!ReadGps(gps, message)) return false;
  const int index = datumTable().findByName(gps.datumName);
  if (index < 0) {
    appendMessage(message, std::string(kErrUnknownDatum) + gps.datumName);
    return false;
  }
  point.lat = gps.lat;
  point.lon = gps.lon;
  point.alt = static_cast<float>(gps.altM);
  datum = index;
  return true;
}

bool TJpegExif::SetGpsPosition(const TCoord& point, int datum, std::string& message) {
  TCoord wgs84 = point;
  if (!datumTable().Transforma_Grados_Datum(wgs84, datum, kDatumWgs84, message)) return false;
  SetGpsWgs84(wgs84);
  return true;
}

}  // namespace pixtrail
