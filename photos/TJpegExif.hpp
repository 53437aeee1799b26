#pragma once
// The EXIF block of a JPEG photograph: its capture time, any GPS position already in it, and
// writing a position back. Only one APP1 segment with IFD0, the EXIF IFD, the GPS IFD and IFD1 (with
// its JPEG thumbnail) is understood; tag values are kept as raw bytes and only the date and GPS tags
// are interpreted. Output is always Intel byte order.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/SafeFile.hpp"
#include "core/TCoord.hpp"
#include "core/VectorP.hpp"
#include "photos/exif_maker_notes.hpp"

namespace pixtrail {

// Directory an entry belongs to.
inline constexpr std::uint32_t kIfd0 = 0;
inline constexpr std::uint32_t kExifIfd = 1;
inline constexpr std::uint32_t kGpsIfd = 2;
inline constexpr std::uint32_t kIfd1 = 3;

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

// How GPS entries are found and written. Exact follows the system byte for byte, quirks included:
// lookups by key across directories (GPS tag 1 then meets ImageWidth, whose held key is also 1), a
// negative altitude as a negative numerator with reference 0, an unknown altitude written as it
// is, the entries of an older fix left beside the new position, thousandths truncated from the
// binary value. Safe (what users get) looks in the GPS directory only, writes a negative altitude
// as its absolute value with reference 1, leaves an unknown altitude out, removes the older fix's
// entries and encodes decimals as they were given; every other byte is the same.
enum class GpsQuirks { Safe, Exact };

// A position decoded from the GPS entries, before the datum name is looked up.
struct ExifGpsPosition {
  double lat = 0.0;
  double lon = 0.0;
  double altM = 0.0;
  std::string datumName;
};

class TJpegExif {
 public:
  // Walks the JPEG and reads the TIFF structure and the four directories.
  bool Read(const std::filesystem::path& file, std::string& message);
  // The same from bytes already in memory (the file name is kept for messages and Write).
  bool ReadBytes(std::string_view jpeg, std::string& message);

  bool ReadDateTime(DateTimeRecord& out, std::string& message) const;
  // Decodes the GPS entries; ReadPosition adds the datum lookup.
  bool ReadGps(ExifGpsPosition& out, std::string& message) const;
  bool ReadPosition(TCoord& point, int& datum, std::string& message) const;

  // Adds or replaces the GPS entries from a WGS 84 position (SetGpsPosition converts first).
  void SetGpsWgs84(const TCoord& wgs84);
  bool SetGpsPosition(const TCoord& point, int datum, std::string& message);

  // Builds the new JPEG from the source file: rebuilt APP1 segment, then the rest byte for byte.
  bool Render(std::string& jpeg, std::string& message);
  // The same from the source's bytes already in memory.
  bool RenderBytes(std::string_view source, std::string& jpeg, std::string& message);
  // Renders and writes through a temporary file and a rename; with mustNotExist an existing
  // target is never replaced; `write` says what else to keep or refuse. On success the object takes
  // the target as its file name.
  bool Write(const std::filesystem::path& target, bool mustNotExist, std::string& message,
             const SafeWriteOptions& write = {});

  // Finds the entry by key whatever its directory (the system's lookup) and replaces it, else adds it.
  TTifTag& SetTag(std::uint32_t directory, std::uint16_t key, std::uint16_t type,
                  std::uint32_t count, std::string_view data);
  // The same, but only an entry of `directory` is replaced.
  TTifTag& SetTagInDirectory(std::uint32_t directory, std::uint16_t key, std::uint16_t type,
                             std::uint32_t count, std::string_view data);
  int FindTag(std::uint32_t directory, std::uint16_t key) const;
  int CountTags(std::uint32_t directory) const;

  // Diagnostic dump, one line per entry.
  std::string Dump() const;

  void setGpsQuirks(GpsQuirks quirks) { quirks_ = quirks; }
  GpsQuirks gpsQuirks() const { return quirks_; }
  // What the last render had to leave out of the photo, one short name each; empty when nothing.
  const std::vector<std::string>& dropped() const { return dropped_; }

  bool isIntel() const { return intel_; }
  const VectorI<TTifTag>& tags() const { return tags_; }
  const std::filesystem::path& fileName() const { return fileName_; }
  void setFileName(const std::filesystem::path& file) { fileName_ = file; }
  const std::string& thumbnail() const { return thumbnail_; }

 private:
  bool readTiff(std::string_view segment, std::string& message);
  bool stampDateTime(std::string& message);
  std::string buildExifSegment();

  bool intel_ = true;
  GpsQuirks quirks_ = GpsQuirks::Safe;
  std::vector<std::string> dropped_;
  VectorI<TTifTag> tags_;
  std::filesystem::path fileName_;
  std::string thumbnail_;
  bool thumbnailValid_ = false;  // a zero-length thumbnail is valid; an unreadable one is not
  std::vector<std::string> strips_;  // an uncompressed thumbnail's strips
  bool stripsValid_ = false;
  // Kept beside the four directories so their pointers stay valid when the block is rebuilt.
  VectorI<TTifTag> interop_;
  bool interopValid_ = false;
  // The maker note as read and how it is to be rebuilt; planned while the source TIFF is at hand.
  std::string makerNoteSource_;
  MakerNotePlan makerPlan_;
};

// The capture-time text of EXIF ("YYYY:MM:DD HH:MM:SS"); empty record when it has no date.
DateTimeRecord parseExifDateTime(std::string_view text);

}  // namespace pixtrail
