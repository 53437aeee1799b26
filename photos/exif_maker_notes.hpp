#pragma once
// Maker notes are opaque to EXIF, but many address their values by offsets that count from the
// TIFF header. When the EXIF block is rebuilt the note moves, and those offsets must move with it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/byte_order.hpp"

namespace pixtrail {

struct MakerNotePlan {
  bool keep = true;  // false: the note's data cannot follow it and it is left out
  ByteOrder order = ByteOrder::little;
  std::vector<std::size_t> offsetFields;  // positions inside the note of offsets to shift
};

// Decides from the maker's header how the note at `oldOffset` (from the TIFF header) is addressed.
MakerNotePlan planMakerNote(const std::string& note, std::uint32_t oldOffset, ByteOrder parent);
// Adds `delta` to every offset the plan found.
void shiftMakerNote(std::string& note, const MakerNotePlan& plan, std::int64_t delta);

}  // namespace pixtrail
