#pragma once
// The English labels of the EXIF tags the system knows, for the diagnostic dump and photo fields.

#include <cstdint>
#include <string_view>

namespace pixtrail {

// Label of an entry held under `key` in `directory`; empty when the tag has none.
std::string_view exifTagLabel(std::uint32_t directory, std::uint16_t key);

}  // namespace pixtrail
