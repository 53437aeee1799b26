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

PIXTRAIL_UNAVAILABLE_READER(readOziExplorerTrack, "PLT")
PIXTRAIL_UNAVAILABLE_READER(readIgcTrack, "IGC")
PIXTRAIL_UNAVAILABLE_READER(readGpxTrack, "GPX")
PIXTRAIL_UNAVAILABLE_READER(readPackedTrack, "FPT")
PIXTRAIL_UNAVAILABLE_READER(readCompactTrack, "CMP")
PIXTRAIL_UNAVAILABLE_READER(readFugawiTrack, "FugawiKK")
PIXTRAIL_UNAVAILABLE_READER(readMapSourceTextTrack, "TXT")
PIXTRAIL_UNAVAILABLE_READER(readHeartRateTrack, "HRM")
PIXTRAIL_UNAVAILABLE_READER(readCsvTrack, "CSV")
PIXTRAIL_UNAVAILABLE_READER(readAprsTrack, "APRS")
PIXTRAIL_UNAVAILABLE_READER(readNmeaTrack, "NMEA")
PIXTRAIL_UNAVAILABLE_READER(readMagellanTrack, "LOG")

PIXTRAIL_UNAVAILABLE_WRITER(writeIgcTrack, "IGC")
PIXTRAIL_UNAVAILABLE_WRITER(writeOziExplorerTrack, "PLT")
PIXTRAIL_UNAVAILABLE_WRITER(writeGpxTrack, "GPX")
PIXTRAIL_UNAVAILABLE_WRITER(writeMagellanTrack, "LOG")
PIXTRAIL_UNAVAILABLE_WRITER(writePackedTrack, "FPT")
PIXTRAIL_UNAVAILABLE_WRITER(writeVectorTrack, "Vector export of")

#undef PIXTRAIL_UNAVAILABLE_READER
#undef PIXTRAIL_UNAVAILABLE_WRITER

}  // namespace pixtrail
