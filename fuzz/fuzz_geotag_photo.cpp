// The geotag path as a run takes it, on disk: a photo is loaded, placed, written in place through
// the safe replacement (maker notes moved with the rest of the EXIF data), and read back. Whatever
// the bytes, the photo on disk is afterwards either the input untouched or a tagged photo.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "app/Startup.hpp"
#include "coords/TListaDatums.hpp"
#include "photos/TCjtoFotos.hpp"

namespace {

std::filesystem::path folder;

std::string fileBytes(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::string message;
  pixtrail::datumTable().load(pixtrail::defaultDataDir(), message);
  folder = std::filesystem::temp_directory_path() / ("pixtrail-fuzz-geotag-" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace pixtrail;
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::filesystem::path file = folder / "photo.jpg";
  {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << input;
  }
  TFoto photo;
  std::string message;
  if (!photo.load(file, message)) return 0;
  photo.position = {-3.7, 40.4, 650.5f};
  photo.datum = kDatumWgs84;
  photo.hasPosition = true;
  // Half the inputs go the way of a long list: the entries let go and read again when written,
  // through a batch that commits the replacement.
  const bool batched = size % 2 == 1;
  if (batched) photo.forgetExif();
  SafeBatch batch;
  bool saved = photo.Save(file, message, {}, batched ? &batch : nullptr);
  if (batched && saved) saved = batch.commit().empty();
  const std::string after = fileBytes(file);
  if (!saved) {
    if (after != input) std::abort();  // a failed write must leave the photo as it was
    return 0;
  }
  TJpegExif back;
  ExifGpsPosition gps;
  if (!back.Read(file, message) || !back.ReadGps(gps, message)) std::abort();
  return 0;
}
