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
#include "photos/exif_tags.hpp"
#include "photos/jpeg_segments.hpp"
#include "photos/tiff_reader.hpp"

namespace pixtrail {

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
  // Only the EXIF segment is read. EntriesOnly leaves out what only a rewrite needs (thumbnail,
  // maker note plan), for lists of many photos.
  bool Read(const std::filesystem::path& file, std::string& message, TiffScope scope = TiffScope::Everything);
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
  // Only the new head (SOI and the rebuilt EXIF segment); the source is read up to its EXIF
  // segment's end.
  bool RenderHead(std::string& head, std::string& message);
  // The same from the source's bytes already in memory.
  bool RenderBytes(std::string_view source, std::string& jpeg, std::string& message);
  // Renders and writes through a temporary file and a rename; with mustNotExist an existing
  // target is never replaced; `write` says what else to keep or refuse. The image data after the
  // EXIF segment is copied file to file by the kernel. With a batch, a replacement takes effect at
  // its commit. On success the object takes the target as its file name.
  bool Write(const std::filesystem::path& target, bool mustNotExist, std::string& message,
             const SafeWriteOptions& write = {}, SafeBatch* batch = nullptr);

  // Finds the entry by key whatever its directory (the system's lookup) and replaces it, else adds it.
  TTifTag& SetTag(std::uint32_t directory, std::uint16_t key, std::uint16_t type,
                  std::uint32_t count, std::string_view data);
  // The same, but only an entry of `directory` is replaced.
  TTifTag& SetTagInDirectory(std::uint32_t directory, std::uint16_t key, std::uint16_t type,
                             std::uint32_t count, std::string_view data);
  int FindTag(std::uint32_t directory, std::uint16_t key) const;
  int CountTags(std::uint32_t directory) const;

  // Forgets everything read; the GPS quirks setting stays.
  void clear();

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
  const std::string& thumbnail() const { return carried_.thumbnail; }

 private:
  bool readTiff(std::string_view segment, std::string& message, TiffScope scope = TiffScope::Everything);
  // SOI and the rebuilt EXIF segment, from the source's bytes up to the end of its EXIF segment.
  bool renderHead(std::string_view prefix, const App1Location& app1, std::string& head, std::string& message);
  bool stampDateTime(std::string& message);

  bool intel_ = true;
  GpsQuirks quirks_ = GpsQuirks::Safe;
  std::vector<std::string> dropped_;
  VectorI<TTifTag> tags_;
  std::filesystem::path fileName_;
  TiffCarried carried_;  // what lives at offsets of the source block, copied when rebuilt
};

// The capture-time text of EXIF ("YYYY:MM:DD HH:MM:SS"); empty record when it has no date.
DateTimeRecord parseExifDateTime(std::string_view text);

}  // namespace pixtrail
