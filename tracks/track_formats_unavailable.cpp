// Slots of the dispatchers whose format has no reader or writer in this build. Each fails cleanly
// with a message naming the format, so the dispatch order and messages hold meanwhile.

#include <string_view>

#include "core/messages.hpp"
#include "tracks/track_formats_foreign.hpp"

namespace pixtrail {

namespace {
bool unavailable(std::string_view format, std::string& message) {
  appendMessage(message, std::string(format) + " track files are not available");
  return false;
}
}  // namespace

#define PIXTRAIL_UNAVAILABLE_READER(function, format)                                              \
  bool function(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string& m) { \
    return unavailable(format, m);                                                                 \
  }
#define PIXTRAIL_UNAVAILABLE_WRITER(function, format)                                                    \
  bool function(const TVolGPS&, const std::filesystem::path&, const TrackFileSettings&, std::string& m) { \
    return unavailable(format, m);                                                                       \
  }


PIXTRAIL_UNAVAILABLE_WRITER(writeVectorTrack, "Vector export of")

#undef PIXTRAIL_UNAVAILABLE_READER
#undef PIXTRAIL_UNAVAILABLE_WRITER

}  // namespace pixtrail
