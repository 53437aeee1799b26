#pragma once
// Reading the TIFF structure of an EXIF segment: the four directories as entries, and what the
// writer must carry beyond them so that nothing points astray when the block is rebuilt.

#include <string>
#include <string_view>
#include <vector>

#include "core/VectorP.hpp"
#include "photos/exif_maker_notes.hpp"
#include "photos/exif_tags.hpp"

namespace pixtrail {

// Parts of the source block that live at offsets and so must be copied, not just referred to.
struct TiffCarried {
  std::string thumbnail;
  bool thumbnailValid = false;  // a zero-length thumbnail is valid; an unreadable one is not
  std::vector<std::string> strips;  // an uncompressed thumbnail's strips
  bool stripsValid = false;
  VectorI<TTifTag> interop;  // the interoperability directory, kept beside the four
  bool interopValid = false;
  // The maker note as read and how it is to be rebuilt; planned while the source TIFF is at hand.
  std::string makerNoteSource;
  MakerNotePlan makerPlan;
};

struct TiffBlock {
  bool intel = true;
  VectorI<TTifTag> tags;
  TiffCarried carried;
};

// What a read keeps: everything the writer needs, or the entries alone (enough to learn a photo's
// time and position without holding its thumbnail and maker note).
enum class TiffScope { Everything, EntriesOnly };

// Reads `segment` (the APP1 content, "Exif\0\0" first). False with the system's message when the
// structure cannot be followed; non-fatal oddities are appended to `message` all the same.
bool readTiffBlock(std::string_view segment, TiffBlock& out, std::string& message,
                   TiffScope scope = TiffScope::Everything);

// The first entry held under `key` whatever its directory (the system's lookup), or -1.
int findKey(const VectorI<TTifTag>& tags, std::uint16_t key);
// The first entry of `directory` held under `key`, or -1.
int findInDirectory(const VectorI<TTifTag>& tags, std::uint32_t directory, std::uint16_t key);

}  // namespace pixtrail
