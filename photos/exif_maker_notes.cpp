#include "photos/exif_maker_notes.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <optional>

namespace pixtrail {

namespace {

const unsigned char* bytesOf(std::string_view s) { return reinterpret_cast<const unsigned char*>(s.data()); }

// True TIFF sizes (types 1 to 13, 13 being a sub-directory); 0 for anything else.
std::size_t fieldSize(std::uint16_t type) {
  static constexpr std::array<std::size_t, 14> kSizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
  return type < kSizes.size() ? kSizes[type] : 0;
}
// Width of the words a value is swapped by: rationals are two LONGs, doubles one 8-byte word.
std::size_t wordSize(std::uint16_t type) {
  if (type == 5 || type == 10) return 4;
  return type == 7 || type == 2 || type == 1 || type == 6 ? 1 : fieldSize(type);
}

constexpr std::uint16_t kTypeSubDirectory = 13;
constexpr std::size_t kEntrySize = 12;
constexpr std::size_t kMaxEntries = 512;  // more is no maker's directory but noise
constexpr int kMaxDepth = 3;

// How each maker lays out its note. First match wins, so longer prefixes of one maker come first;
// a note without a known header is taken as a directory at its start, addressed from the TIFF
// header in the outer byte order (Canon, Minolta, Casio type 1, Nikon E-series, Kodak's IFD notes).
enum class Base { Tiff, Note };
enum class OrderRule { Detect, Marker, Little };
struct Layout {
  std::string_view prefix;
  std::size_t directoryStart;  // where the directory starts when no pointer gives it
  Base base;
  std::size_t baseInNote;       // Base::Note: offsets count from here
  OrderRule order;
  std::size_t markerAt;         // OrderRule::Marker: where "II" or "MM" stands
  std::size_t directoryPointerAt;  // non-zero: a 32-bit offset from baseInNote to the directory
};
constexpr std::array<Layout, 22> kLayouts = {{
    {std::string_view("Nikon\0\2", 7), 18, Base::Note, 10, OrderRule::Marker, 10, 14},
    {std::string_view("OLYMPUS\0", 8), 12, Base::Note, 0, OrderRule::Marker, 8, 0},
    {std::string_view("OM SYSTEM\0", 10), 16, Base::Note, 0, OrderRule::Marker, 12, 0},
    {"FUJIFILM", 12, Base::Note, 0, OrderRule::Little, 0, 8},
    {"GENERALE", 12, Base::Note, 0, OrderRule::Little, 0, 8},
    {std::string_view("PENTAX \0", 8), 10, Base::Note, 0, OrderRule::Marker, 8, 0},
    {std::string_view("Apple iOS\0", 10), 14, Base::Note, 0, OrderRule::Marker, 12, 0},
    {std::string_view("AOC\0", 4), 6, Base::Tiff, 0, OrderRule::Marker, 4, 0},
    {"Nikon", 8, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"OLYMP", 8, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"SANYO", 8, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"EPSON", 8, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"Panasonic", 12, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"SONY DSC", 12, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"SONY CAM", 12, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"SIGMA", 10, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"FOVEON", 10, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"Ricoh", 8, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"RICOH", 8, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {std::string_view("QVC\0", 4), 6, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"JVC ", 4, Base::Tiff, 0, OrderRule::Detect, 0, 0},
    {"", 0, Base::Tiff, 0, OrderRule::Detect, 0, 0},
}};

// Entries that hold, as a plain number, the offset of a block elsewhere (a preview image) with its
// length in another entry; the block must move like any value. By the camera's Make.
struct PointerPair {
  std::string_view make;
  std::uint16_t startTag;
  std::uint16_t lengthTag;  // 0: the length is unknown
  std::string_view name;
};
constexpr std::array<PointerPair, 7> kPointerPairs = {{
    {"NIKON", 0x0201, 0x0202, "PreviewImage"},  // in Nikon's preview directory
    {"Minolta", 0x0088, 0x0089, "PreviewImage"},
    {"KONICA", 0x0088, 0x0089, "PreviewImage"},
    {"OLYMPUS", 0x0088, 0x0089, "PreviewImage"},
    {"PENTAX", 0x0004, 0x0003, "PreviewImage"},
    {"Asahi", 0x0004, 0x0003, "PreviewImage"},
    {"Canon", 0x0083, 0, "OriginalDecisionData"},
}};

// Entries that point to a directory of the note's own while typed as a plain LONG.
struct SubDirectoryTag {
  std::string_view make;
  std::uint16_t tag;
};
constexpr std::array<SubDirectoryTag, 1> kSubDirectoryTags = {{{"NIKON", 0x0011}}};

// Binary blocks that readers decode as arrays of words in the note's byte order: when the note
// turns Intel they must turn with it.
struct BinaryWords {
  std::string_view make;
  std::uint16_t tag;
  std::size_t word;
};
constexpr std::array<BinaryWords, 2> kBinaryWords = {{{"PENTAX", 0x021C, 2}, {"PENTAX", 0x021D, 2}}};

struct Entry {
  std::size_t at = 0;  // position of the entry in the note
  std::uint16_t tag = 0, type = 0, writtenType = 0;
  std::uint32_t count = 0, value = 0;
  std::uint64_t size = 0;  // count x field size
  std::optional<std::size_t> target;  // where its out-of-line value stands in the rebuilt note
  std::uint64_t blockSize = 0;        // for pointer pairs: the block's length
  bool pointerPair = false;
  bool cleared = false;  // a pointer whose block is lost: it now says "none"
  bool drop = false;
};

std::string entryName(std::uint16_t tag) {
  char text[32];
  std::snprintf(text, sizeof text, "MakerNote entry 0x%04X", tag);
  return text;
}

class NoteRebuilder {
 public:
  NoteRebuilder(std::string_view tiff, std::uint32_t noteStart, std::string body, const Layout& layout,
                ByteOrder order, std::string_view make, MakerNotePlan& plan)
      : tiff_(tiff), noteStart_(noteStart), bodySize_(body.size()), out_(std::move(body)), layout_(layout),
        order_(order), make_(make), plan_(plan), swap_(order == ByteOrder::big && layout.base == Base::Tiff),
        swapped_(out_.size(), false) {}

  // A directory whose entry count and types make sense in this byte order.
  static bool looksLikeDirectory(std::string_view note, std::size_t at, ByteOrder order) {
    if (note.size() < at + 2) return false;
    const std::size_t count = readU16(bytesOf(note) + at, order);
    if (count == 0 || count > kMaxEntries || note.size() < at + 2 + kEntrySize * count) return false;
    for (std::size_t i = 0; i < count; ++i)
      if (fieldSize(readU16(bytesOf(note) + at + 2 + kEntrySize * i + 2, order)) == 0) return false;
    return true;
  }

  bool rebuild(std::size_t directory, int depth) {
    if (depth > kMaxDepth || !looksLikeDirectory(std::string_view(out_).substr(0, bodySize_), directory, order_))
      return false;
    std::vector<Entry> entries = readEntries(directory);
    for (Entry& e : entries) placeValue(e);
    placePointerPairs(entries);
    const std::vector<Entry> kept = compact(directory, entries);
    for (const Entry& e : kept) {
      if (e.type == kTypeSubDirectory && e.target && !e.pointerPair) {
        if (!rebuild(*e.target, depth + 1)) {
          plan_.dropped.push_back(entryName(e.tag));  // its entries stay, in the old order
        }
      }
    }
    return true;
  }

  std::string finish(std::string_view trailer) { return out_ + std::string(trailer); }
  std::size_t size() const { return out_.size(); }

 private:
  std::size_t wordsOf(const Entry& e) const {
    for (const BinaryWords& row : kBinaryWords)
      if (e.tag == row.tag && e.type == 7 && make_.substr(0, row.make.size()) == row.make) return row.word;
    return wordSize(e.type);
  }

  std::uint16_t u16(std::size_t at) const { return readU16(bytesOf(out_) + at, order_); }
  std::uint32_t u32(std::size_t at) const { return readU32(bytesOf(out_) + at, order_); }

  std::vector<Entry> readEntries(std::size_t directory) const {
    std::vector<Entry> entries(u16(directory));
    for (std::size_t i = 0; i < entries.size(); ++i) {
      Entry& e = entries[i];
      e.at = directory + 2 + kEntrySize * i;
      e.tag = u16(e.at);
      e.type = e.writtenType = u16(e.at + 2);
      e.count = u32(e.at + 4);
      e.value = u32(e.at + 8);
      e.size = std::uint64_t{e.count} * fieldSize(e.type);
    }
    return entries;
  }

  // Where the block the value field points to lies, inside the note if it can, else appended to
  // it from wherever it stood in the TIFF structure; nothing when it lies nowhere we can read.
  std::optional<std::size_t> locate(std::uint32_t value, std::uint64_t size) {
    const std::int64_t inNote = layout_.base == Base::Tiff
                                    ? std::int64_t{value} - noteStart_
                                    : std::int64_t{value} + static_cast<std::int64_t>(layout_.baseInNote);
    if (inNote >= 0 && static_cast<std::uint64_t>(inNote) + size <= bodySize_) return static_cast<std::size_t>(inNote);
    const std::int64_t inTiff = inNote + noteStart_;
    if (inTiff < 0 || static_cast<std::uint64_t>(inTiff) + size > tiff_.size()) return std::nullopt;
    if (out_.size() % 2 != 0) out_ += '\0';
    const std::size_t at = out_.size();
    out_.append(tiff_.substr(static_cast<std::size_t>(inTiff), static_cast<std::size_t>(size)));
    swapped_.resize(out_.size(), false);
    return at;
  }

  void placeValue(Entry& e) {
    for (const SubDirectoryTag& sub : kSubDirectoryTags)
      if (e.tag == sub.tag && e.type == 4 && e.count == 1 && make_.substr(0, sub.make.size()) == sub.make)
        e.type = kTypeSubDirectory;  // read as one; written back with its own type below
    if (e.size <= 4 && e.type != kTypeSubDirectory) return;
    // A sub-directory's size is its own business: locate its first bytes, the walk checks the rest.
    e.target = locate(e.value, e.type == kTypeSubDirectory ? 2 : e.size);
    if (!e.target) e.drop = true;
  }

  void placePointerPairs(std::vector<Entry>& entries) {
    for (const PointerPair& pair : kPointerPairs) {
      if (make_.substr(0, pair.make.size()) != pair.make) continue;
      auto start = std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.tag == pair.startTag; });
      if (start == entries.end() || start->size > 4 || start->count != 1) continue;
      auto length = std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.tag == pair.lengthTag; });
      std::uint64_t size = 0;
      if (length != entries.end() && pair.lengthTag != 0 && length->size <= 4)
        size = length->type == 3 ? (length->value >> (order_ == ByteOrder::big ? 16 : 0)) & 0xFFFF : length->value;
      start->pointerPair = true;
      start->blockSize = size;
      if (start->value == 0) continue;  // "none"
      if (pair.lengthTag == 0) {
        // Without a length the block can only be followed while it stays inside the note.
        const std::int64_t inNote = layout_.base == Base::Tiff ? std::int64_t{start->value} - noteStart_
                                                               : std::int64_t{start->value} + std::int64_t(layout_.baseInNote);
        if (inNote >= 0 && static_cast<std::uint64_t>(inNote) < bodySize_) start->target = static_cast<std::size_t>(inNote);
      } else if (size > 0) {
        start->target = locate(start->value, size);
      }
      // Removing the entry would move the directory's end, which readers use to check the note's
      // offsets; it stays and points nowhere.
      start->cleared = !start->target && (pair.lengthTag == 0 || size > 0);
      if (start->cleared) plan_.dropped.push_back(std::string(pair.name));
    }
  }

  // Writes the kept entries back in order (in the output byte order when swapping) and removes the
  // dropped ones from the directory; returns the kept entries at their new places.
  std::vector<Entry> compact(std::size_t directory, const std::vector<Entry>& entries) {
    std::vector<Entry> kept;
    for (const Entry& e : entries) {
      if (e.drop) {
        if (!e.pointerPair) plan_.dropped.push_back(entryName(e.tag));
        continue;
      }
      kept.push_back(e);
    }
    const ByteOrder outOrder = swap_ ? ByteOrder::little : order_;
    // Panasonic's directory, and a note cut short, end without a next-directory offset.
    const std::size_t nextAt = directory + 2 + kEntrySize * entries.size();
    const bool hasNext = nextAt + 4 <= bodySize_;
    const std::uint32_t next = hasNext ? u32(nextAt) : 0;
    std::string dir;
    appendU16(dir, static_cast<std::uint16_t>(kept.size()), outOrder);
    for (Entry& e : kept) {
      const std::size_t at = directory + dir.size();
      std::string value = e.cleared ? std::string(4, '\0') : out_.substr(e.at + 8, 4);
      if (swap_ && !e.target && !e.pointerPair) swapWords(value, 0, std::min<std::uint64_t>(e.size, 4), wordsOf(e));
      appendU16(dir, e.tag, outOrder);
      appendU16(dir, e.writtenType, outOrder);
      appendU32(dir, e.count, outOrder);
      dir += value;
      e.at = at;
    }
    if (hasNext) appendU32(dir, next, outOrder);
    dir.resize(2 + kEntrySize * entries.size() + (hasNext ? 4 : 0), '\0');
    out_.replace(directory, dir.size(), dir);
    for (const Entry& e : kept) {
      if (swap_ && e.target && e.type != kTypeSubDirectory && !e.pointerPair)
        swapBlock(*e.target, static_cast<std::size_t>(e.size), wordsOf(e));
      if (e.pointerPair && !e.target && !e.cleared && swap_) {  // a pair without a block: still a LONG to swap
        std::string value = out_.substr(e.at + 8, 4);
        swapWords(value, 0, 4, 4);
        out_.replace(e.at + 8, 4, value);
      }
      if (e.target) recordOffset(e.at + 8, *e.target);
    }
    return kept;
  }

  void recordOffset(std::size_t field, std::size_t target) {
    if (layout_.base == Base::Tiff) {
      plan_.offsets.emplace_back(field, static_cast<std::uint32_t>(target));
      return;
    }
    std::string value;
    appendU32(value, static_cast<std::uint32_t>(target - layout_.baseInNote), order_);
    out_.replace(field, 4, value);
  }

  static void swapWords(std::string& s, std::size_t at, std::uint64_t size, std::size_t word) {
    if (word < 2) return;
    for (std::size_t i = at; i + word <= at + size; i += word) std::reverse(s.begin() + i, s.begin() + i + word);
  }
  void swapBlock(std::size_t at, std::size_t size, std::size_t word) {
    if (word < 2 || at + size > out_.size()) return;
    // Two entries may share a block; it is turned once.
    if (std::any_of(swapped_.begin() + at, swapped_.begin() + at + size, [](bool b) { return b; })) return;
    swapWords(out_, at, size, word);
    std::fill(swapped_.begin() + at, swapped_.begin() + at + size, true);
  }

  std::string_view tiff_;
  std::uint32_t noteStart_;
  std::size_t bodySize_;
  std::string out_;
  const Layout& layout_;
  ByteOrder order_;
  std::string_view make_;
  MakerNotePlan& plan_;
  bool swap_;
  std::vector<bool> swapped_;
};

ByteOrder otherOrder(ByteOrder o) { return o == ByteOrder::little ? ByteOrder::big : ByteOrder::little; }

}  // namespace

MakerNotePlan planMakerNote(std::string_view tiff, std::uint32_t oldOffset, std::uint32_t size, ByteOrder parent,
                            std::string_view make) {
  MakerNotePlan plan;
  if (oldOffset > tiff.size() || size > tiff.size() - oldOffset) {
    plan.keep = false;
    plan.dropped.push_back("MakerNote");
    return plan;
  }
  const std::string_view note = tiff.substr(oldOffset, size);
  plan.note.assign(note);
  const Layout* layout = &kLayouts.back();
  for (const Layout& row : kLayouts) {
    if (note.substr(0, row.prefix.size()) == row.prefix) {
      layout = &row;
      break;
    }
  }
  // Byte order: the note's own marker, else whichever order makes a directory of it.
  std::optional<ByteOrder> order;
  if (layout->order == OrderRule::Little) order = ByteOrder::little;
  if (layout->order == OrderRule::Marker && note.size() >= layout->markerAt + 2) {
    const std::string_view marker = note.substr(layout->markerAt, 2);
    if (marker == "II") order = ByteOrder::little;
    if (marker == "MM") order = ByteOrder::big;
  }
  std::size_t directory = layout->directoryStart;
  auto directoryFor = [&](ByteOrder o) {
    if (layout->directoryPointerAt == 0) return layout->directoryStart;
    if (note.size() < layout->directoryPointerAt + 4) return note.size();
    return layout->baseInNote + std::size_t{readU32(bytesOf(note) + layout->directoryPointerAt, o)};
  };
  // Software that rewrote the file sometimes left the marker behind: trust the entries.
  if (order && !NoteRebuilder::looksLikeDirectory(note, directoryFor(*order), *order)) order.reset();
  if (!order) {
    for (ByteOrder o : {parent, otherOrder(parent)}) {
      if (NoteRebuilder::looksLikeDirectory(note, directoryFor(o), o)) {
        order = o;
        break;
      }
    }
  }
  if (!order) return plan;  // not a directory we can read: opaque bytes, kept as they are
  directory = directoryFor(*order);

  // Canon closes its note with "II*\0" or "MM\0*" and the note's own offset, which readers use to
  // find where it stood: it must stay last and follow the note.
  std::size_t trailerSize = 0;
  if (make.substr(0, 5) == "Canon" && note.size() >= 8 &&
      (note.substr(note.size() - 8, 4) == std::string_view("II*\0", 4) ||
       note.substr(note.size() - 8, 4) == std::string_view("MM\0*", 4)))
    trailerSize = 8;

  NoteRebuilder rebuilder(tiff, oldOffset, std::string(note.substr(0, note.size() - trailerSize)), *layout, *order,
                          make, plan);
  if (!rebuilder.rebuild(directory, 0)) {
    plan.note.assign(note);  // the directory could not be followed: kept as it was
    plan.offsets.clear();
    plan.dropped.clear();
    return plan;
  }
  plan.tiffBased = layout->base == Base::Tiff;
  std::string trailer;
  if (trailerSize != 0) {
    trailer.assign("II*\0", 4);
    plan.offsets.emplace_back(rebuilder.size() + 4, 0);
    appendU32(trailer, 0, ByteOrder::little);
  }
  plan.note = rebuilder.finish(trailer);
  if (plan.tiffBased && *order == ByteOrder::big && layout->order == OrderRule::Marker)
    plan.note.replace(layout->markerAt, 2, "II");  // the note now speaks Intel, say so
  return plan;
}

std::string placeMakerNote(const MakerNotePlan& plan, std::uint32_t newOffset) {
  std::string note = plan.note;
  for (const auto& [field, target] : plan.offsets) {
    if (field + 4 > note.size()) continue;
    std::string value;
    appendU32(value, newOffset + target, ByteOrder::little);
    note.replace(field, 4, value);
  }
  return note;
}

}  // namespace pixtrail
