#include "photos/exif_tags.hpp"

#include <cstdio>

#include "core/byte_order.hpp"

namespace pixtrail {

std::size_t tiffTypeSize(std::uint16_t type) {
  switch (type) {
    case 3: return 2;
    case 4: case 9: return 4;
    case 5: case 10: return 8;
    default: return 1;
  }
}

std::uint16_t tagNumberOf(std::uint32_t directory, std::uint16_t key) {
  return directory == kGpsIfd ? key : static_cast<std::uint16_t>((key >> 8) | (key << 8));
}

std::uint16_t keyOf(std::uint32_t directory, std::uint16_t tagNumber) { return tagNumberOf(directory, tagNumber); }

std::string TTifTag::valueText() const {
  if (type == kTypeAscii) {
    const std::size_t end = data.find('\0');
    return data.substr(0, end);
  }
  constexpr std::size_t kMaxValues = 64;
  std::string text;
  const std::size_t size = tiffTypeSize(type);
  const std::size_t n = data.size() / size;
  const auto* p = reinterpret_cast<const unsigned char*>(data.data());
  char buffer[32];
  for (std::size_t i = 0; i < n && i < kMaxValues; ++i) {
    if (i > 0) text += ',';
    switch (type) {
      case kTypeShort: std::snprintf(buffer, sizeof buffer, "%u", readU16(p + 2 * i, ByteOrder::little)); break;
      case kTypeLong: std::snprintf(buffer, sizeof buffer, "%u", readU32(p + 4 * i, ByteOrder::little)); break;
      case 9: std::snprintf(buffer, sizeof buffer, "%d", readI32(p + 4 * i, ByteOrder::little)); break;
      case kTypeRational:
        std::snprintf(buffer, sizeof buffer, "%u/%u", readU32(p + 8 * i, ByteOrder::little),
                      readU32(p + 8 * i + 4, ByteOrder::little));
        break;
      case kTypeSRational:
        std::snprintf(buffer, sizeof buffer, "%d/%d", readI32(p + 8 * i, ByteOrder::little),
                      readI32(p + 8 * i + 4, ByteOrder::little));
        break;
      default: std::snprintf(buffer, sizeof buffer, "%u", p[i]); break;
    }
    text += buffer;
  }
  if (n > kMaxValues) text += ",...";
  return text;
}

}  // namespace pixtrail
