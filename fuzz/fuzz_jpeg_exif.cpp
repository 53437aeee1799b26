// Whole files through the JPEG walk, the EXIF reader and the writer. What we write must read back.
#include <cstddef>
#include <cstdint>
#include <string>

#include "photos/TJpegExif.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  pixtrail::TJpegExif exif;
  std::string message;
  if (!exif.ReadBytes(bytes, message)) return 0;
  pixtrail::DateTimeRecord time;
  exif.ReadDateTime(time, message);
  pixtrail::ExifGpsPosition gps;
  exif.ReadGps(gps, message);
  exif.SetGpsWgs84({-3.7, 40.4, 650.5f});
  std::string jpeg;
  if (!exif.RenderBytes(bytes, jpeg, message)) return 0;
  pixtrail::TJpegExif back;
  if (!back.ReadBytes(jpeg, message) || !back.ReadGps(gps, message)) __builtin_trap();
  return 0;
}
