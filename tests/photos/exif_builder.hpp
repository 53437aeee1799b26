#pragma once
// Builds small JPEG files with a hand-made EXIF block, in either byte order, for tests that need
// a structure no camera wrote (a bad header, 1001 entries, odd rationals).

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "core/byte_order.hpp"
#include "tests/support/test_support.hpp"

namespace pixtrail::test {

struct ExifEntry {
  std::uint16_t tag = 0;
  std::uint16_t type = 0;
  std::vector<std::uint32_t> values;  // SHORT/LONG values, or numerator, denominator pairs
  std::string bytes;                  // BYTE, ASCII and UNDEFINED content
};

inline ExifEntry asciiEntry(std::uint16_t tag, const std::string& text) { return {tag, 2, {}, text + '\0'}; }
inline ExifEntry rationalEntry(std::uint16_t tag, std::vector<std::uint32_t> pairs) { return {tag, 5, pairs, {}}; }

struct ExifLayout {
  ByteOrder order = ByteOrder::little;
  std::vector<ExifEntry> ifd0;
  std::vector<ExifEntry> exif;
  std::vector<ExifEntry> gps;
  std::uint32_t ifd0Offset = 8;
  std::string tiffHeader;  // replaces "II*\0" / "MM\0*" when set
};

// The TIFF structure (after "Exif\0\0").
inline std::string buildTiff(const ExifLayout& layout) {
  const ByteOrder o = layout.order;
  std::string t = layout.tiffHeader.empty() ? (o == ByteOrder::little ? std::string("II*\0", 4) : std::string("MM\0*", 4))
                                            : layout.tiffHeader;
  appendU32(t, layout.ifd0Offset, o);
  t.resize(layout.ifd0Offset, '\0');
  auto encode = [&](const ExifEntry& e, std::uint32_t& count) {
    std::string d;
    switch (e.type) {
      case 3: for (auto v : e.values) appendU16(d, static_cast<std::uint16_t>(v), o); count = static_cast<std::uint32_t>(e.values.size()); break;
      case 4: for (auto v : e.values) appendU32(d, v, o); count = static_cast<std::uint32_t>(e.values.size()); break;
      case 5: case 10: for (auto v : e.values) appendU32(d, v, o); count = static_cast<std::uint32_t>(e.values.size() / 2); break;
      default: d = e.bytes; count = static_cast<std::uint32_t>(d.size()); break;
    }
    return d;
  };
  // Directories are laid out one after another; pointers are filled in afterwards.
  std::vector<std::vector<ExifEntry>> dirs = {layout.ifd0, layout.exif, layout.gps};
  if (!layout.exif.empty()) dirs[0].push_back({0x8769, 4, {0}, {}});
  if (!layout.gps.empty()) dirs[0].push_back({0x8825, 4, {0}, {}});
  std::vector<std::size_t> pointerFields(3, 0);
  std::vector<std::uint32_t> starts(3, 0);
  for (std::size_t d = 0; d < dirs.size(); ++d) {
    if (d > 0 && dirs[d].empty()) continue;
    starts[d] = static_cast<std::uint32_t>(t.size());
    appendU16(t, static_cast<std::uint16_t>(dirs[d].size()), o);
    std::vector<std::pair<std::size_t, std::string>> outOfLine;
    for (const ExifEntry& e : dirs[d]) {
      std::uint32_t count = 0;
      const std::string data = encode(e, count);
      appendU16(t, e.tag, o);
      appendU16(t, e.type, o);
      appendU32(t, count, o);
      if (e.tag == 0x8769) pointerFields[1] = t.size();
      if (e.tag == 0x8825) pointerFields[2] = t.size();
      if (data.size() <= 4) {
        std::string v = data;
        v.resize(4, '\0');
        t += v;
      } else {
        outOfLine.emplace_back(t.size(), data);
        t += std::string(4, '\0');
      }
    }
    appendU32(t, 0, o);
    for (auto& [field, data] : outOfLine) {
      std::string offset;
      appendU32(offset, static_cast<std::uint32_t>(t.size()), o);
      t.replace(field, 4, offset);
      t += data;
    }
  }
  for (std::size_t d = 1; d < 3; ++d) {
    if (pointerFields[d] == 0) continue;
    std::string offset;
    appendU32(offset, starts[d], o);
    t.replace(pointerFields[d], 4, offset);
  }
  return t;
}

// SOI, APP1 with the EXIF block, a DQT segment and a few bytes standing for the image.
inline std::string buildJpeg(const ExifLayout& layout, const std::string& imageData = "\xFF\xDB\x00\x04\x01\x02IMAGE\xFF\xD9") {
  const std::string exif = std::string("Exif\0\0", 6) + buildTiff(layout);
  std::string jpeg = "\xFF\xD8\xFF\xE1";
  appendU16(jpeg, static_cast<std::uint16_t>(exif.size() + 2), ByteOrder::big);
  return jpeg + exif + imageData;
}

// A small photo taken at the given EXIF time ("" for none), written into `file`.
inline void writePhoto(const std::filesystem::path& file, const std::string& exifTime) {
  ExifLayout layout;
  layout.ifd0 = {asciiEntry(0x010F, "Maker")};
  if (!exifTime.empty()) layout.exif = {asciiEntry(0x9003, exifTime)};
  writeFileBytes(file, buildJpeg(layout));
}

}  // namespace pixtrail::test
