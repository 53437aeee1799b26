// The program's own track formats whose layout is not documented: the packed track ("FPT"), the
// compact track ("CMP") and the Fugawi export it reads under "FugawiKK". Guessing a binary layout
// would turn a user's file into wrong points, so these slots say plainly that they cannot read it.

#include <string>
#include <string_view>

#include "core/messages.hpp"
#include "tracks/track_formats_foreign.hpp"

namespace pixtrail {

namespace {
bool undocumented(std::string_view extension, std::string_view what, std::string& message) {
  appendMessage(message, std::string(extension) + " track files cannot be read or written: " +
                             std::string(what) + " is not documented");
  return false;
}
}  // namespace

bool readPackedTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string& m) {
  return undocumented("FPT", "the program's packed track format", m);
}
bool writePackedTrack(const TVolGPS&, const std::filesystem::path&, const TrackFileSettings&, std::string& m) {
  return undocumented("FPT", "the program's packed track format", m);
}
bool readCompactTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string& m) {
  return undocumented("CMP", "the program's compact track format", m);
}
bool readFugawiTrack(const std::filesystem::path&, TVolGPS&, const TrackFileSettings&, std::string& m) {
  return undocumented("FugawiKK", "the layout of this Fugawi track export", m);
}

}  // namespace pixtrail
