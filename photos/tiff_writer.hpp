#pragma once
// Rebuilding the EXIF segment: every directory written afresh in Intel order, then the pointers
// between them and to the carried data patched to where things now stand.

#include <string>
#include <vector>

#include "core/VectorP.hpp"
#include "photos/exif_tags.hpp"
#include "photos/tiff_reader.hpp"

namespace pixtrail {

// The segment's content ("Exif\0\0" and the TIFF block) from the entries and the carried parts.
// Pointer entries in `tags` become one LONG each and every entry learns its write position; what
// could not be kept is added to `dropped` by name, once each.
std::string buildExifSegment(VectorI<TTifTag>& tags, TiffCarried& carried, std::vector<std::string>& dropped);

}  // namespace pixtrail
