#pragma once
// The vocabulary of the EXIF block: directories, TIFF field types, the keys entries are held
// under, and one directory entry.

#include <cstddef>
#include <cstdint>
#include <string>

namespace pixtrail {

// Directory an entry belongs to.
inline constexpr std::uint32_t kIfd0 = 0;
inline constexpr std::uint32_t kExifIfd = 1;
inline constexpr std::uint32_t kGpsIfd = 2;
inline constexpr std::uint32_t kIfd1 = 3;
inline constexpr std::uint32_t kInteropDirectory = 4;  // kept beside the four, never in the entry list

// TIFF field types used when writing.
inline constexpr std::uint16_t kTypeByte = 1;
inline constexpr std::uint16_t kTypeAscii = 2;
inline constexpr std::uint16_t kTypeShort = 3;
inline constexpr std::uint16_t kTypeLong = 4;
inline constexpr std::uint16_t kTypeRational = 5;
inline constexpr std::uint16_t kTypeUndefined = 7;
inline constexpr std::uint16_t kTypeSRational = 10;
inline constexpr std::uint16_t kMaxTiffType = 11;

// Entry keys as held: GPS entries keep their tag number, every other directory's tag number has
// its two bytes swapped (DateTime 0x0132 is held as 0x3201). Lookups by key ignore the directory,
// so a GPS key may meet another directory's swapped key; that is the system's behaviour, kept.
inline constexpr std::uint16_t kKeyDateTime = 0x3201;
inline constexpr std::uint16_t kKeyDateTimeOriginal = 0x0390;
inline constexpr std::uint16_t kKeyDateTimeDigitized = 0x0490;
inline constexpr std::uint16_t kKeySoftware = 0x3101;
inline constexpr std::uint16_t kKeyExifIfdPointer = 0x6987;
inline constexpr std::uint16_t kKeyGpsIfdPointer = 0x2588;
inline constexpr std::uint16_t kKeyThumbnailOffset = 0x0102;
inline constexpr std::uint16_t kKeyThumbnailLength = 0x0202;
inline constexpr std::uint16_t kKeyInteropPointer = 0x05A0;
inline constexpr std::uint16_t kKeyMakerNote = 0x7C92;
inline constexpr std::uint16_t kKeyMake = 0x0F01;
inline constexpr std::uint16_t kKeyStripOffsets = 0x1101;     // 0x0111 as held
inline constexpr std::uint16_t kKeyStripByteCounts = 0x1701;  // 0x0117 as held
inline constexpr std::uint16_t kGpsVersionId = 0, kGpsLatitudeRef = 1, kGpsLatitude = 2,
                               kGpsLongitudeRef = 3, kGpsLongitude = 4, kGpsAltitudeRef = 5,
                               kGpsAltitude = 6, kGpsMapDatum = 18;

// Bytes per value of a TIFF type. Types 8 and 11 count one byte, unlike TIFF; kept on purpose.
std::size_t tiffTypeSize(std::uint16_t type);

// Tag number written to the file for a held key in a directory (the swap undone).
std::uint16_t tagNumberOf(std::uint32_t directory, std::uint16_t key);
std::uint16_t keyOf(std::uint32_t directory, std::uint16_t tagNumber);

// One directory entry.
struct TTifTag {
  std::uint16_t key = 0;
  std::uint16_t type = 0;
  std::uint32_t count = 0;
  std::uint32_t value = 0;  // the 4-byte value field as read: value or offset
  std::uint32_t directory = 0;
  std::string data;  // count x type size bytes, little-endian whatever the file used
  std::uint32_t writePosition = 0;

  std::uint16_t tagNumber() const { return tagNumberOf(directory, key); }
  // The value as text: ASCII as text, numbers joined by ",", rationals as n/d.
  std::string valueText() const;
};

}  // namespace pixtrail
