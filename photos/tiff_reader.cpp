#include "photos/tiff_reader.hpp"

#include <algorithm>
#include <cstdint>

#include "core/byte_order.hpp"
#include "core/messages.hpp"
#include "photos/jpeg_segments.hpp"

// IFD0 must start at offset 8 (the system's rule, kept). Our own addition: every offset is checked
// against the segment; the system read whatever lay there.

namespace pixtrail {

namespace {

constexpr std::uint16_t kTiffMagic = 42;
constexpr std::uint32_t kIfd0Offset = 8;
constexpr std::uint32_t kMaxEntries = 1000;

constexpr std::string_view kErrExifHeader = "Error in EXIF header";
constexpr std::string_view kErrTiffHeader = "Error TIF headder";
constexpr std::string_view kErrIfd0Offset = "Error 0th IFD Offset";
constexpr std::string_view kWarnNextExif = "ptrNextExifIFD !=0 ";
constexpr std::string_view kWarnNextIfd1 = "ptrNextIFD_2!=0 ";
constexpr std::string_view kErrTooManyTags = "Error en Lee_Tags, nombre tags exceed";
constexpr std::string_view kErrTagType = "Tagtype rang incorrecte";
constexpr std::string_view kErrOutside = "Error in EXIF data: an offset points outside the EXIF segment";

const unsigned char* bytesOf(std::string_view s) { return reinterpret_cast<const unsigned char*>(s.data()); }

// Reorders one value of each element to little-endian; single bytes stay.
void toLittleEndian(std::string& data, std::uint16_t type) {
  const std::size_t size = tiffTypeSize(type);
  const std::size_t word = size == 8 ? 4 : size;  // rationals are two 32-bit words
  if (word < 2) return;
  for (std::size_t i = 0; i + word <= data.size(); i += word) std::reverse(data.begin() + i, data.begin() + i + word);
}

std::uint32_t le32(const std::string& data, std::size_t offset) {
  return data.size() >= offset + 4 ? readU32(bytesOf(data) + offset, ByteOrder::little) : 0;
}

// SHORT or LONG values of an entry (its data is little-endian once read).
std::vector<std::uint32_t> unsignedValues(const TTifTag& tag) {
  std::vector<std::uint32_t> out;
  const std::size_t size = tag.type == kTypeShort ? 2 : tag.type == kTypeLong ? 4 : 0;
  if (size == 0) return out;
  const auto* p = bytesOf(tag.data);
  for (std::size_t i = 0; i + size <= tag.data.size(); i += size)
    out.push_back(size == 2 ? readU16(p + i, ByteOrder::little) : readU32(p + i, ByteOrder::little));
  return out;
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
      tag.directory = directory;
      tag.key = keyOf(directory, u16(e));
      tag.type = u16(e + 2);
      tag.count = u32(e + 4);
      tag.value = u32(e + 8);
      if (tag.type > kMaxTiffType) {
        appendMessage(message, kErrTagType);
        return false;
      }
      const std::uint64_t size = std::uint64_t{tag.count} * tiffTypeSize(tag.type);
      const std::uint64_t at = size <= 4 ? e + 8 : tag.value;
      if (!has(at, size)) {
        appendMessage(message, kErrOutside);
        return false;
      }
      tag.data.assign(tiff.substr(at, size));
      if (order == ByteOrder::big) toLittleEndian(tag.data, tag.type);
      out.add(std::move(tag));
    }
    next = u32(entries + 12ull * count);
    return true;
  }

  // The JPEG thumbnail and an uncompressed one's strips, the interoperability directory and the
  // maker note's plan.
  void carry(const VectorI<TTifTag>& tags, TiffCarried& out) const {
    const int thumbOffset = findKey(tags, kKeyThumbnailOffset);
    const int thumbLength = findKey(tags, kKeyThumbnailLength);
    if (thumbOffset >= 0 && thumbLength >= 0 && tags[thumbOffset].directory == kIfd1) {
      const std::uint32_t offset = le32(tags[thumbOffset].data, 0), length = le32(tags[thumbLength].data, 0);
      out.thumbnailValid = has(offset, length);
      if (out.thumbnailValid) out.thumbnail.assign(tiff.substr(offset, length));
    }
    const int stripOffsets = findInDirectory(tags, kIfd1, kKeyStripOffsets);
    const int stripCounts = findInDirectory(tags, kIfd1, kKeyStripByteCounts);
    if (stripOffsets >= 0 && stripCounts >= 0) {
      const std::vector<std::uint32_t> offsets = unsignedValues(tags[stripOffsets]);
      const std::vector<std::uint32_t> counts = unsignedValues(tags[stripCounts]);
      out.stripsValid = !offsets.empty() && offsets.size() == counts.size();
      for (std::size_t i = 0; out.stripsValid && i < offsets.size(); ++i) {
        out.stripsValid = has(offsets[i], counts[i]);
        if (out.stripsValid) out.strips.emplace_back(tiff.substr(offsets[i], counts[i]));
      }
      if (!out.stripsValid) out.strips.clear();
    }
    const int interopPointer = findKey(tags, kKeyInteropPointer);
    if (interopPointer >= 0 && tags[interopPointer].directory == kExifIfd) {
      std::string ignored;
      std::uint32_t next = 0;
      out.interopValid = readDirectory(tags[interopPointer].value, kInteropDirectory, out.interop, next, ignored);
      if (!out.interopValid) out.interop.clear();
    }
    const int makerNote = findKey(tags, kKeyMakerNote);
    if (makerNote >= 0 && tags[makerNote].directory == kExifIfd && tiffTypeSize(tags[makerNote].type) == 1 &&
        tags[makerNote].data.size() > 4) {
      const int makeTag = findKey(tags, kKeyMake);
      std::string make = makeTag >= 0 ? tags[makeTag].data : std::string();
      make = make.substr(0, make.find('\0'));
      out.makerNoteSource = tags[makerNote].data;
      out.makerPlan = planMakerNote(tiff, tags[makerNote].value, tags[makerNote].count, order, make);
    }
  }
};

}  // namespace

int findKey(const VectorI<TTifTag>& tags, std::uint16_t key) {
  for (std::size_t i = 0; i < tags.size(); ++i)
    if (tags[i].key == key) return static_cast<int>(i);
  return -1;
}

int findInDirectory(const VectorI<TTifTag>& tags, std::uint32_t directory, std::uint16_t key) {
  for (std::size_t i = 0; i < tags.size(); ++i)
    if (tags[i].key == key && tags[i].directory == directory) return static_cast<int>(i);
  return -1;
}

bool readTiffBlock(std::string_view segment, TiffBlock& out, std::string& message, TiffScope scope) {
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
  TiffBlock block;
  block.intel = intel;
  VectorI<TTifTag>& tags = block.tags;
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
  if (scope == TiffScope::Everything) reader.carry(tags, block.carried);
  out = std::move(block);
  return true;
}

}  // namespace pixtrail
