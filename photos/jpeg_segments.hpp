#pragma once
// The JPEG walk shared by the EXIF reader and writer: from SOI to the first APP1 segment, over a
// file or over bytes in memory.

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/byte_order.hpp"
#include "core/messages.hpp"

namespace pixtrail {

inline constexpr std::string_view kErrSoi = "Error in SOI";
inline constexpr std::string_view kErrApp1 = "Error APP1 header";
inline constexpr std::string_view kErrDqt = "Error Define Quantization Table";
// What an EXIF APP1 segment starts with, before its TIFF structure.
inline constexpr std::string_view kExifHeader{"Exif\0\0", 6};

// Random access to the source, whether a file or bytes in memory.
struct MemorySource {
  std::string_view bytes;
  bool read(std::uint64_t pos, unsigned char* out, std::size_t n) const {
    if (pos > bytes.size() || n > bytes.size() - pos) return false;
    std::copy_n(bytes.data() + pos, n, out);
    return true;
  }
};

struct FileSource {
  int fd = -1;
  bool read(std::uint64_t pos, unsigned char* out, std::size_t n) const {
    std::size_t done = 0;
    while (done < n) {
      const ssize_t got = ::pread(fd, out + done, n - done, static_cast<off_t>(pos + done));
      if (got <= 0) return false;
      done += static_cast<std::size_t>(got);
    }
    return true;
  }
};

struct App1Location {
  std::uint64_t marker = 0;  // offset of 0xFF 0xE1
  std::uint16_t length = 0;  // the segment's length field
  std::uint64_t contentStart() const { return marker + 4; }
  std::uint64_t contentLength() const { return length > 5 ? length - 2u : 0u; }
};

// Finds the first APP1 segment before the quantisation tables. Only APP1 and DQT are special;
// every other marker is skipped by its length without checking its 0xFF prefix.
template <typename Source>
bool walkToApp1(const Source& source, App1Location& out, std::string& message) {
  unsigned char b[2];
  if (!source.read(0, b, 2) || b[0] != 0xFF || b[1] != 0xD8) {
    appendMessage(message, kErrSoi);
    return false;
  }
  std::uint64_t pos = 2;
  while (true) {
    if (!source.read(pos, b, 2)) {
      appendMessage(message, kErrDqt);  // ran out of file without meeting APP1
      return false;
    }
    if (b[0] == 0xFF && b[1] == 0xE1) break;
    if (b[0] == 0xFF && b[1] == 0xDB) {
      appendMessage(message, kErrDqt);
      return false;
    }
    if (!source.read(pos + 2, b, 2)) {
      appendMessage(message, kErrDqt);
      return false;
    }
    pos += 2 + readU16(b, ByteOrder::big);
  }
  if (!source.read(pos + 2, b, 2) || readU16(b, ByteOrder::big) == 0) {
    appendMessage(message, kErrApp1);
    return false;
  }
  out.marker = pos;
  out.length = readU16(b, ByteOrder::big);
  return true;
}

}  // namespace pixtrail
