// The clock texts a user or a photo gives: EXIF UTC offsets, receiver clock readings, typed
// offsets and PHOTO=TIME arguments; whatever reads back must format and read again the same.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "app/GeotagJob.hpp"
#include "app/OffsetJob.hpp"
#include "app/camera_clock.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  double seconds = 0.0;
  if (pixtrail::parseUtcOffset(text, seconds) && std::fabs(seconds) > 14 * 3600.0) std::abort();
  bool utc = false;
  if (pixtrail::parseClockReading(text, seconds, utc) && (seconds < 0.0 || seconds >= 86400.0)) std::abort();
  if (pixtrail::parseClockOffset(text, seconds) && std::isfinite(seconds) && std::fabs(seconds) < 1e9) {
    double again = 0.0;
    if (!pixtrail::parseClockOffset(pixtrail::formatSignedClock(seconds), again) || std::fabs(again - seconds) > 1e-3)
      std::abort();
  }
  std::filesystem::path photo;
  std::string reading;
  (void)pixtrail::splitClockPhotoArgument(text, photo, reading);
  return 0;
}
