#pragma once
// Every bound on what is read from outside the program, in one place. Each is far above what real
// files hold (a day of 1 Hz logging is about 10 MB of GPX; the deepest real KML nests a few dozen
// folders), and low enough that a hostile or endless input ends in a message instead of exhausting
// memory or time.

#include <cstddef>

namespace pixtrail::limits {

inline constexpr std::size_t kMiB = std::size_t{1} << 20;

// A whole file read into memory: tracks, waypoints, photos, grids, tables.
inline constexpr std::size_t kMaxFileBytes = 512 * kMiB;
// Settings and language files: a few kilobytes in practice.
inline constexpr std::size_t kMaxSettingsFileBytes = 16 * kMiB;
// The log unpacked from an IGZ archive (held in memory; a zip bomb stops here).
inline constexpr std::size_t kMaxUnpackedBytes = kMaxFileBytes;
// One line of a text stream read piecewise (NMEA from a file, a pipe or a receiver).
inline constexpr std::size_t kMaxLineBytes = 1 * kMiB;
// One XML element handed to the parser whole (a KML LineString of a long track is the largest).
inline constexpr std::size_t kMaxXmlElementBytes = 64 * kMiB;
// An XML tag or attribute name.
inline constexpr std::size_t kMaxXmlNameBytes = 4096;
// XML elements open at once.
inline constexpr std::size_t kMaxXmlDepth = 256;

// How long a writer waits for another program writing the same file before it gives up.
inline constexpr int kLockWaitMs = 30'000;

}  // namespace pixtrail::limits
