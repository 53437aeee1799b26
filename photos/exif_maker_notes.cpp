#include "photos/exif_maker_notes.hpp"

#include <array>
#include <string_view>

namespace pixtrail {

namespace {

const unsigned char* bytesOf(std::string_view s) { return reinterpret_cast<const unsigned char*>(s.data()); }

std::size_t trueTiffSize(std::uint16_t type) {
  static constexpr std::array<std::size_t, 14> kSizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
  return type < kSizes.size() ? kSizes[type] : 0;
}

// How makers lay out their notes: a header, then a directory whose offsets count from the TIFF
// header (they must move with the note), from the note itself, or from a TIFF header of its own
// (both of which move freely). First match wins; a note without a known header is taken as a
// directory at its start addressed from the TIFF header, the commonest layout (Canon, Minolta).
enum class MakerNoteBase { Tiff, Self };
struct MakerNoteLayout {
  std::string_view prefix;
  std::size_t directoryStart;
  MakerNoteBase base;
};
constexpr std::array<MakerNoteLayout, 18> kMakerNoteLayouts = {{
    {std::string_view("Nikon\0\2", 7), 18, MakerNoteBase::Self},
    {"OLYMPUS", 12, MakerNoteBase::Self},
    {"OM SYSTEM", 16, MakerNoteBase::Self},
    {"FUJIFILM", 12, MakerNoteBase::Self},
    {"GENERALE", 12, MakerNoteBase::Self},
    {"PENTAX ", 10, MakerNoteBase::Self},
    {"Apple iOS", 14, MakerNoteBase::Self},
    {"Nikon", 8, MakerNoteBase::Tiff},
    {"OLYMP", 8, MakerNoteBase::Tiff},
    {"SANYO", 8, MakerNoteBase::Tiff},
    {"EPSON", 8, MakerNoteBase::Tiff},
    {"Panasonic", 12, MakerNoteBase::Tiff},
    {"SONY DSC", 12, MakerNoteBase::Tiff},
    {"SIGMA", 10, MakerNoteBase::Tiff},
    {"Ricoh", 8, MakerNoteBase::Tiff},
    {"RICOH", 8, MakerNoteBase::Tiff},
    {"QVC", 6, MakerNoteBase::Tiff},
    {"JVC ", 4, MakerNoteBase::Tiff},
}};

}  // namespace

MakerNotePlan planMakerNote(const std::string& note, std::uint32_t oldOffset, ByteOrder parent) {
  MakerNotePlan plan;
  MakerNoteLayout layout{"", 0, MakerNoteBase::Tiff};
  for (const MakerNoteLayout& row : kMakerNoteLayouts) {
    if (note.compare(0, row.prefix.size(), row.prefix) == 0) {
      layout = row;
      break;
    }
  }
  if (layout.base == MakerNoteBase::Self) return plan;
  const std::size_t start = layout.directoryStart;
  const ByteOrder other = parent == ByteOrder::little ? ByteOrder::big : ByteOrder::little;
  for (ByteOrder order : {parent, other}) {
    if (note.size() < start + 2) break;
    const unsigned char* p = bytesOf(note);
    const std::size_t count = readU16(p + start, order);
    if (count == 0 || count > 512 || note.size() < start + 2 + 12 * count) continue;
    bool typesOk = true, inside = true;
    std::vector<std::size_t> fields;
    for (std::size_t i = 0; i < count && typesOk; ++i) {
      const std::size_t e = start + 2 + 12 * i;
      const std::size_t size = trueTiffSize(readU16(p + e + 2, order));
      typesOk = size != 0;
      const std::uint64_t bytes = std::uint64_t{readU32(p + e + 4, order)} * size;
      if (!typesOk || bytes <= 4) continue;
      const std::uint64_t offset = readU32(p + e + 8, order);
      inside = inside && offset >= oldOffset && offset + bytes <= std::uint64_t{oldOffset} + note.size();
      fields.push_back(e + 8);
    }
    if (!typesOk) continue;
    plan.order = order;
    plan.keep = inside;  // data outside the note cannot follow it: drop rather than mislead
    if (inside) plan.offsetFields = std::move(fields);
    return plan;
  }
  return plan;  // not a directory we can read: opaque bytes, nothing to shift
}

void shiftMakerNote(std::string& note, const MakerNotePlan& plan, std::int64_t delta) {
  for (std::size_t field : plan.offsetFields) {
    const auto old = readU32(bytesOf(note) + field, plan.order);
    std::string bytes;
    appendU32(bytes, static_cast<std::uint32_t>(old + delta), plan.order);
    note.replace(field, 4, bytes);
  }
}

}  // namespace pixtrail
