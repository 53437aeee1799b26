#include "photos/TJpegExif.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "core/SafeFile.hpp"
#include "core/byte_order.hpp"
#include "core/messages.hpp"
#include "photos/exif_tag_labels.hpp"
#include "photos/jpeg_segments.hpp"
#include "photos/tiff_writer.hpp"

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

constexpr std::size_t kMaxSegmentData = 0xFFFF - 2;  // the APP1 length field counts itself

constexpr std::string_view kErrFileNotFound = "File not found!";
constexpr std::string_view kErrNoDate = "No se ha detecado la fecha 0x3201";
constexpr std::string_view kErrCreateFile = "Cannot create file!";
constexpr std::string_view kErrTooLarge = "Error in EXIF data: the rebuilt EXIF segment exceeds 64 KB";
constexpr std::string_view kSoftware = "OrvexGPS";

const unsigned char* bytesOf(std::string_view s) { return reinterpret_cast<const unsigned char*>(s.data()); }

}  // namespace

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

bool TJpegExif::Read(const std::filesystem::path& file, std::string& message, TiffScope scope) {
  std::string why;
  std::uint64_t size = 0;
  const int fd = openRegularDescriptor(file, why, size);  // a FIFO or a device would never end
  if (fd < 0) {
    std::error_code ec;
    if (std::filesystem::exists(file, ec)) appendMessage(message, why);  // missing: the system's text alone
    appendMessage(message, kErrFileNotFound);
    return false;
  }
  // Only the EXIF segment is read; the image data after it is never touched.
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
  return readTiff(segment, message, scope);
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

bool TJpegExif::readTiff(std::string_view segment, std::string& message, TiffScope scope) {
  TiffBlock block;
  if (!readTiffBlock(segment, block, message, scope)) return false;
  intel_ = block.intel;
  tags_ = std::move(block.tags);
  carried_ = std::move(block.carried);
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
  return findInDirectory(tags_, directory, key);
}

int TJpegExif::CountTags(std::uint32_t directory) const {
  return static_cast<int>(std::count_if(tags_.begin(), tags_.end(),
                                        [directory](const TTifTag& t) { return t.directory == directory; }));
}

void TJpegExif::clear() {
  // Swapped out rather than assigned: assigning an empty string keeps the old one's buffer.
  TJpegExif empty;
  empty.quirks_ = quirks_;
  std::swap(*this, empty);
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

namespace {

// The source photo held open while it is rendered: its bytes up to the end of the EXIF segment are
// in memory, the rest is left in the file for the writer to copy.
struct SourcePhoto {
  int fd = -1;
  std::uint64_t size = 0;
  std::uint64_t restStart = 0;
  App1Location app1;
  std::string prefix;
  SourcePhoto() = default;
  SourcePhoto(const SourcePhoto&) = delete;
  SourcePhoto& operator=(const SourcePhoto&) = delete;
  ~SourcePhoto() {
    if (fd >= 0) ::close(fd);
  }
};

// Where the bytes after the EXIF segment begin; false (with the message) when that lies past the end.
bool restOf(const App1Location& app1, std::uint64_t size, std::uint64_t& restStart, std::string& message) {
  restStart = app1.length > 5 ? app1.contentStart() + app1.contentLength() : app1.contentStart();
  if (restStart <= size) return true;
  appendMessage(message, kErrApp1);
  return false;
}

bool openSource(const std::filesystem::path& file, SourcePhoto& source, std::string& message) {
  source.fd = openRegularDescriptor(file, message, source.size);
  if (source.fd < 0) {
    appendMessage(message, kErrFileNotFound);
    return false;
  }
  const FileSource reader{source.fd};
  if (!walkToApp1(reader, source.app1, message) || !restOf(source.app1, source.size, source.restStart, message))
    return false;
  source.prefix.resize(source.restStart);
  if (!reader.read(0, reinterpret_cast<unsigned char*>(source.prefix.data()), source.prefix.size())) {
    appendMessage(message, kErrApp1);
    return false;
  }
  return true;
}

}  // namespace

bool TJpegExif::renderHead(std::string_view prefix, const App1Location& app1, std::string& head,
                           std::string& message) {
  if (!stampDateTime(message)) return false;
  dropped_.clear();
  // Segments between SOI and the EXIF segment are not carried over (the system's layout); say so.
  for (std::uint64_t pos = 2; pos + 4 <= app1.marker;) {
    const auto* b = bytesOf(prefix.substr(pos, 4));
    char name[16];
    if (b[1] >= 0xE0 && b[1] <= 0xEF) std::snprintf(name, sizeof name, "APP%d segment", b[1] - 0xE0);
    else std::snprintf(name, sizeof name, "segment %02X", b[1]);
    dropped_.emplace_back(name);
    pos += 2 + readU16(b + 2, ByteOrder::big);
  }
  SetTag(kExifIfd, kKeySoftware, kTypeAscii, static_cast<std::uint32_t>(kSoftware.size()), kSoftware);
  const std::string exif = buildExifSegment(tags_, carried_, dropped_);
  if (exif.size() > kMaxSegmentData) {
    appendMessage(message, kErrTooLarge);
    return false;
  }
  head.assign("\xFF\xD8\xFF\xE1");
  appendU16(head, static_cast<std::uint16_t>(exif.size() + 2), ByteOrder::big);
  head += exif;
  return true;
}

bool TJpegExif::RenderHead(std::string& head, std::string& message) {
  SourcePhoto source;
  return openSource(fileName_, source, message) && renderHead(source.prefix, source.app1, head, message);
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
  std::uint64_t restStart = 0;
  if (!walkToApp1(MemorySource{source}, app1, message) || !restOf(app1, source.size(), restStart, message) ||
      !renderHead(source.substr(0, restStart), app1, jpeg, message))
    return false;
  jpeg.append(source.substr(restStart));
  return true;
}

bool TJpegExif::Write(const std::filesystem::path& target, bool mustNotExist, std::string& message,
                      const SafeWriteOptions& write, SafeBatch* batch) {
  SourcePhoto source;
  std::string head;
  if (!openSource(fileName_, source, message) || !renderHead(source.prefix, source.app1, head, message)) return false;
  SafeWriteOptions options = write;
  options.mustNotExist = mustNotExist;
  const FileContent content{head, source.fd, source.restStart, source.size - source.restStart};
  if (batch ? !batch->write(target, content, options, message) : !writeFileSafely(target, content, options, message)) {
    appendMessage(message, kErrCreateFile);
    return false;
  }
  fileName_ = target;
  return true;
}

}  // namespace pixtrail
