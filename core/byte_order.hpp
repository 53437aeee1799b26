#pragma once
// Reading and writing fixed-size numbers in a stated byte order, independent of the host.
// Binary formats here (datum table, NTv2 grids, EXIF, Garmin packets) use both orders.

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>

namespace pixtrail {

enum class ByteOrder { little, big };

template <typename T>
T readUnsigned(const unsigned char* p, ByteOrder order) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    const std::size_t shift = order == ByteOrder::little ? 8 * i : 8 * (sizeof(T) - 1 - i);
    value |= static_cast<T>(static_cast<T>(p[i]) << shift);
  }
  return value;
}

inline std::uint16_t readU16(const unsigned char* p, ByteOrder o) { return readUnsigned<std::uint16_t>(p, o); }
inline std::uint32_t readU32(const unsigned char* p, ByteOrder o) { return readUnsigned<std::uint32_t>(p, o); }
inline std::uint64_t readU64(const unsigned char* p, ByteOrder o) { return readUnsigned<std::uint64_t>(p, o); }
inline std::int32_t readI32(const unsigned char* p, ByteOrder o) { return static_cast<std::int32_t>(readU32(p, o)); }
inline float readF32(const unsigned char* p, ByteOrder o) { return std::bit_cast<float>(readU32(p, o)); }
inline double readF64(const unsigned char* p, ByteOrder o) { return std::bit_cast<double>(readU64(p, o)); }

template <typename T>
void appendUnsigned(std::string& out, T value, ByteOrder order) {
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    const std::size_t shift = order == ByteOrder::little ? 8 * i : 8 * (sizeof(T) - 1 - i);
    out += static_cast<char>((value >> shift) & 0xFF);
  }
}

inline void appendU16(std::string& out, std::uint16_t v, ByteOrder o) { appendUnsigned(out, v, o); }
inline void appendU32(std::string& out, std::uint32_t v, ByteOrder o) { appendUnsigned(out, v, o); }
inline void appendI32(std::string& out, std::int32_t v, ByteOrder o) { appendUnsigned(out, static_cast<std::uint32_t>(v), o); }
inline void appendF32(std::string& out, float v, ByteOrder o) { appendUnsigned(out, std::bit_cast<std::uint32_t>(v), o); }
inline void appendF64(std::string& out, double v, ByteOrder o) { appendUnsigned(out, std::bit_cast<std::uint64_t>(v), o); }

}  // namespace pixtrail
