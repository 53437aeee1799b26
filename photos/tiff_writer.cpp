#include "photos/tiff_writer.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "core/byte_order.hpp"
#include "photos/exif_maker_notes.hpp"
#include "photos/jpeg_segments.hpp"

namespace pixtrail {

namespace {

constexpr std::uint16_t kTiffMagic = 42;
constexpr std::uint32_t kIfd0Offset = 8;

// Pointer entries the writer cannot rebuild; they are left out rather than left wrong.
// Their byte counts go with them: counts without offsets are a broken image description.
constexpr std::array<std::pair<std::uint16_t, std::string_view>, 5> kUnrebuiltPointerTags = {
    {{0x014A, "SubIFDs"},
     {0x0111, "StripOffsets"},
     {0x0117, "StripByteCounts"},
     {0x0144, "TileOffsets"},
     {0x0145, "TileByteCounts"}}};

void putU32(std::string& out, std::size_t at, std::uint32_t v) {
  std::string bytes;
  appendU32(bytes, v, ByteOrder::little);
  out.replace(at, 4, bytes);
}

void alignEven(std::string& out) {
  if (out.size() % 2 != 0) out += '\0';
}

void addOnce(std::vector<std::string>& names, std::string name) {
  if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(std::move(name));
}

bool isPointer(const TTifTag& tag) {
  return (tag.directory == kIfd0 && (tag.key == kKeyExifIfdPointer || tag.key == kKeyGpsIfdPointer)) ||
         (tag.directory == kExifIfd && tag.key == kKeyInteropPointer) ||
         (tag.directory == kIfd1 && (tag.key == kKeyThumbnailOffset || tag.key == kKeyThumbnailLength));
}

// Which entries go into the rebuilt block, and in what order.
struct EntryChoice {
  const TiffCarried& carried;
  const MakerNotePlan& makerPlan;
  std::vector<std::string>& dropped;

  bool drop(std::string name) const {
    addOnce(dropped, std::move(name));
    return false;
  }
  bool carries(const TTifTag& tag) const {
    const std::uint16_t number = tag.tagNumber();
    const bool strip = tag.key == kKeyStripOffsets || tag.key == kKeyStripByteCounts;
    if (tag.directory != kGpsIfd && !(strip && tag.directory == kIfd1 && carried.stripsValid)) {
      for (const auto& [pointer, name] : kUnrebuiltPointerTags)
        if (number == pointer) return drop(std::string(name));
    }
    if (tag.key == kKeyInteropPointer && tag.directory == kExifIfd && !carried.interopValid) return drop("InteropIFD");
    if (tag.key == kKeyMakerNote && tag.directory == kExifIfd && !makerPlan.keep) return drop("MakerNote");
    if ((tag.key == kKeyThumbnailOffset || tag.key == kKeyThumbnailLength) && tag.directory == kIfd1 &&
        !carried.thumbnailValid)
      return drop("ThumbnailImage");
    return true;
  }
  std::vector<TTifTag*> entriesOf(VectorI<TTifTag>& list, std::uint32_t directory) const {
    std::vector<TTifTag*> entries;
    for (TTifTag& tag : list)
      if (tag.directory == directory && carries(tag)) entries.push_back(&tag);
    // Ascending tag numbers, as TIFF readers expect; equal numbers keep their order.
    std::stable_sort(entries.begin(), entries.end(),
                     [](const TTifTag* a, const TTifTag* b) { return a->tagNumber() < b->tagNumber(); });
    return entries;
  }
};

// Appends directories and their out-of-line data to the block; the planned maker note is placed
// by its own rules, since its inner offsets depend on where it lands.
class DirectoryWriter {
 public:
  DirectoryWriter(std::string& block, const TTifTag* plannedNote, const MakerNotePlan& plan)
      : t_(block), plannedNote_(plannedNote), plan_(plan) {}

  // Writes one directory; returns its offset, and in `nextField` where its next-IFD offset goes.
  std::uint32_t write(const std::vector<TTifTag*>& entries, std::size_t& nextField) {
    alignEven(t_);
    const auto start = static_cast<std::uint32_t>(t_.size());
    appendU16(t_, static_cast<std::uint16_t>(entries.size()), ByteOrder::little);
    for (TTifTag* tag : entries) {
      tag->writePosition = static_cast<std::uint32_t>(t_.size());
      appendU16(t_, tag->tagNumber(), ByteOrder::little);
      appendU16(t_, tag->type, ByteOrder::little);
      appendU32(t_, tag == plannedNote_ ? static_cast<std::uint32_t>(plan_.note.size()) : tag->count,
                ByteOrder::little);
      std::string inlineValue = tag->data.size() <= 4 ? tag->data : std::string();
      inlineValue.resize(4, '\0');
      t_ += inlineValue;
    }
    nextField = t_.size();
    appendU32(t_, 0, ByteOrder::little);
    for (TTifTag* tag : entries) {
      if (tag->data.size() <= 4) continue;
      alignEven(t_);
      const auto offset = static_cast<std::uint32_t>(t_.size());
      putU32(t_, tag->writePosition + 8, offset);
      t_ += tag == plannedNote_ ? placeMakerNote(plan_, offset) : tag->data;
    }
    return start;
  }

 private:
  std::string& t_;
  const TTifTag* plannedNote_;
  const MakerNotePlan& plan_;
};

// Points entries written earlier at what was written after them.
class PointerPatcher {
 public:
  PointerPatcher(std::string& block, const VectorI<TTifTag>& tags) : t_(block), tags_(tags) {}

  void patch(std::uint32_t directory, std::uint16_t key, std::uint32_t target) {
    const int i = findInDirectory(tags_, directory, key);
    if (i >= 0) putU32(t_, tags_[i].writePosition + 8, target);
  }
  void placeThumbnail(const std::string& thumbnail) {
    const auto offset = static_cast<std::uint32_t>(t_.size());
    t_ += thumbnail;
    patch(kIfd1, kKeyThumbnailOffset, offset);
    patch(kIfd1, kKeyThumbnailLength, static_cast<std::uint32_t>(thumbnail.size()));
  }
  // Each strip appended, its offset written into the StripOffsets array wherever that was put.
  void placeStrips(const std::vector<std::string>& strips) {
    const int offsets = findInDirectory(tags_, kIfd1, kKeyStripOffsets);
    if (offsets < 0) return;
    const TTifTag& tag = tags_[offsets];
    const std::size_t size = tiffTypeSize(tag.type);
    const std::size_t values = tag.writePosition + 8;
    const std::size_t array =
        tag.data.size() <= 4 ? values : readU32(reinterpret_cast<const unsigned char*>(t_.data()) + values, ByteOrder::little);
    for (std::size_t i = 0; i < strips.size(); ++i) {
      alignEven(t_);
      std::string where;
      if (size == 2) appendU16(where, static_cast<std::uint16_t>(t_.size()), ByteOrder::little);
      else appendU32(where, static_cast<std::uint32_t>(t_.size()), ByteOrder::little);
      t_.replace(array + i * size, size, where);
      t_ += strips[i];
    }
  }

 private:
  std::string& t_;
  const VectorI<TTifTag>& tags_;
};

}  // namespace

std::string buildExifSegment(VectorI<TTifTag>& tags, TiffCarried& carried, std::vector<std::string>& dropped) {
  // Pointers are written as one LONG whatever the source had, so that their patched value is the
  // only thing a reader follows.
  for (TTifTag& tag : tags) {
    if (isPointer(tag) && (tag.type != kTypeLong || tag.count != 1)) {
      tag.type = kTypeLong;
      tag.count = 1;
      tag.data.assign(4, '\0');
    }
  }
  // The planned note stands in for the one read, unless someone has set another since.
  const int makerIndex = findInDirectory(tags, kExifIfd, kKeyMakerNote);
  const bool planned =
      makerIndex >= 0 && !carried.makerNoteSource.empty() && tags[makerIndex].data == carried.makerNoteSource;
  const MakerNotePlan makerPlan = planned ? carried.makerPlan : MakerNotePlan{};
  if (planned)
    for (const std::string& name : makerPlan.dropped) addOnce(dropped, name);
  const EntryChoice choice{carried, makerPlan, dropped};

  std::string t("II", 2);
  appendU16(t, kTiffMagic, ByteOrder::little);
  appendU32(t, kIfd0Offset, ByteOrder::little);
  DirectoryWriter directories(t, planned ? &tags[makerIndex] : nullptr, makerPlan);
  PointerPatcher pointers(t, tags);
  std::size_t ifd0Next = 0, ignoredNext = 0;
  directories.write(choice.entriesOf(tags, kIfd0), ifd0Next);
  if (findInDirectory(tags, kIfd0, kKeyExifIfdPointer) >= 0)
    pointers.patch(kIfd0, kKeyExifIfdPointer, directories.write(choice.entriesOf(tags, kExifIfd), ignoredNext));
  if (carried.interopValid && findInDirectory(tags, kExifIfd, kKeyInteropPointer) >= 0)
    pointers.patch(kExifIfd, kKeyInteropPointer,
                   directories.write(choice.entriesOf(carried.interop, kInteropDirectory), ignoredNext));
  if (findInDirectory(tags, kIfd0, kKeyGpsIfdPointer) >= 0)
    pointers.patch(kIfd0, kKeyGpsIfdPointer, directories.write(choice.entriesOf(tags, kGpsIfd), ignoredNext));
  const std::vector<TTifTag*> ifd1 = choice.entriesOf(tags, kIfd1);
  if (!ifd1.empty()) {
    putU32(t, ifd0Next, directories.write(ifd1, ignoredNext));
    if (carried.thumbnailValid) pointers.placeThumbnail(carried.thumbnail);
    if (carried.stripsValid) pointers.placeStrips(carried.strips);
  }
  return std::string(kExifHeader) + t;
}

}  // namespace pixtrail
