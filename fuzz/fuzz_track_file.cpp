// A whole native track file: never crashes; what it reads writes and reads back to the same text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tracks/track_file_native.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace pixtrail;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  TVolGPS track;
  FileCoordinates file;
  std::string message;
  if (!parseNativeTrack(text, track, file, message)) return 0;
  TrackSettings settings;
  track.Recalculate(settings, message);
  NativeTrackWriteOptions options;
  options.file = file;
  std::string once;
  if (!formatNativeTrack(track, options, once, message)) return 0;
  TVolGPS reread;
  FileCoordinates file2;
  if (!parseNativeTrack(once, reread, file2, message)) std::abort();
  if (reread.pointCount() != track.pointCount()) std::abort();
  std::string twice;
  formatNativeTrack(reread, options, twice, message);
  if (once != twice) std::abort();
  return 0;
}
