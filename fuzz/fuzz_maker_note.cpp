// A maker note inside a TIFF structure, planned and placed: the first byte picks the camera and the
// source byte order, the rest is the TIFF structure with the note from offset 8 to the end. The
// planner must stay inside the bytes it was given, and what it places must keep its planned size.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "photos/exif_maker_notes.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr std::array<std::string_view, 6> kMakes = {"Canon", "Minolta", "PENTAX", "NIKON", "SIGMA", "Apple"};
  constexpr std::uint32_t kNoteOffset = 8;
  if (size < 1 + kNoteOffset) return 0;
  const std::string_view tiff(reinterpret_cast<const char*>(data + 1), size - 1);
  const auto order = (data[0] & 0x80) != 0 ? pixtrail::ByteOrder::big : pixtrail::ByteOrder::little;
  const std::string_view make = kMakes[data[0] % kMakes.size()];
  const auto plan = pixtrail::planMakerNote(tiff, kNoteOffset, static_cast<std::uint32_t>(tiff.size() - kNoteOffset),
                                            order, make);
  if (pixtrail::placeMakerNote(plan, 0x1234).size() != plan.note.size()) __builtin_trap();
  return 0;
}
