#pragma once
// The NMEA 0183 checksum: the XOR of every byte between "$" and "*", written as two upper-case
// hexadecimal digits.

#include <array>
#include <cstdint>
#include <string_view>

namespace pixtrail {

constexpr std::uint8_t nmeaChecksum(std::string_view body) {
  std::uint8_t sum = 0;
  for (const char c : body) sum ^= static_cast<std::uint8_t>(c);
  return sum;
}

// Without a length the body runs to its terminating zero.
constexpr std::uint8_t nmeaChecksum(const char* body) {
  std::uint8_t sum = 0;
  while (*body != '\0') sum ^= static_cast<std::uint8_t>(*body++);
  return sum;
}

// "%02X" without going through printf.
constexpr std::array<char, 2> nmeaChecksumText(std::uint8_t sum) {
  constexpr char kHex[] = "0123456789ABCDEF";
  return {kHex[sum >> 4], kHex[sum & 0x0F]};
}

}  // namespace pixtrail
