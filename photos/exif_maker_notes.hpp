#pragma once
// Maker notes are opaque to EXIF, but most are directories whose values lie at offsets: counted
// from the TIFF header (Canon, Minolta, Sony, Panasonic, Sigma, Pentax "AOC", Casio, ...), from the
// note itself (Olympus, Fujifilm, Pentax "PENTAX ", Apple) or from a TIFF header of the note's own
// (Nikon). When the EXIF block is rebuilt the note moves and turns Intel order, so the first kind
// must have its offsets moved, and a note written in Motorola order that follows the outer byte
// order must be swapped with them. Values that lay outside the note (a preview image after it,
// Canon's decision data) travel with it, appended to the note. What cannot be followed is left out
// of the note and named; a note that is no readable directory at all is kept as it stands.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/byte_order.hpp"

namespace pixtrail {

struct MakerNotePlan {
  bool keep = true;        // false: the note cannot be kept valid and is left out whole
  std::string note;        // the note as it will be written, offsets still to be placed
  bool tiffBased = false;  // its offsets count from the TIFF header: they move with the note
  // Offset fields (little-endian, positions inside `note`) and the position inside `note` that
  // each one must point to once the note stands at its new offset.
  std::vector<std::pair<std::size_t, std::uint32_t>> offsets;
  std::vector<std::string> dropped;  // parts of the note left out, one name each
};

// Reads the note that stood at `oldOffset` of the source TIFF structure `tiff` (the maker note's
// bytes are `tiff.substr(oldOffset, size)`) in the source byte order `parent`; `make` is the
// camera's Make (some conventions depend on it). Never reads outside `tiff`.
MakerNotePlan planMakerNote(std::string_view tiff, std::uint32_t oldOffset, std::uint32_t size, ByteOrder parent,
                            std::string_view make);

// The note's bytes for its new place at `newOffset` of the rebuilt (Intel order) TIFF structure.
std::string placeMakerNote(const MakerNotePlan& plan, std::uint32_t newOffset);

}  // namespace pixtrail
