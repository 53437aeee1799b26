// The TIFF structure of an EXIF block: directories, entries, offsets, rationals, dates.
#include <cstddef>
#include <cstdint>
#include <string>

#include "photos/TJpegExif.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 0xFFF0) return 0;  // an APP1 segment holds at most 64 KB
  const std::string tiff(reinterpret_cast<const char*>(data), size);
  const std::string exifData = std::string("Exif\0\0", 6) + tiff;
  std::string jpeg = "\xFF\xD8\xFF\xE1";
  jpeg += static_cast<char>(((exifData.size() + 2) >> 8) & 0xFF);
  jpeg += static_cast<char>((exifData.size() + 2) & 0xFF);
  jpeg += exifData;
  jpeg += "\xFF\xDB\x00\x02\xFF\xD9";
  pixtrail::TJpegExif exif;
  std::string message;
  if (!exif.ReadBytes(jpeg, message)) return 0;
  pixtrail::DateTimeRecord time;
  exif.ReadDateTime(time, message);
  pixtrail::ExifGpsPosition gps;
  exif.ReadGps(gps, message);
  (void)exif.Dump();
  exif.SetGpsWgs84({151.2, -33.9, -5.5f});
  std::string out;
  if (exif.RenderBytes(jpeg, out, message)) {
    pixtrail::TJpegExif back;
    if (!back.ReadBytes(out, message)) __builtin_trap();
  }
  return 0;
}
