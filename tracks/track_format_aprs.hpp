#pragma once
// APRS position logs, as TNC programs and APRS-IS clients keep them: one packet per line,
// "SOURCE>DEST,PATH:payload", optionally after the time it was heard ("2024-05-01 12:00:03 ",
// "2024-05-01T12:00:03Z ", "20240501120003," or a Unix time and a colon). Position payloads read
// (APRS 1.0.1): "!" and "=" without a time stamp, "/" and "@" with one (DDHHMMz or HHMMSSh), the
// position uncompressed ("4903.50N/07201.75W>") or compressed (base 91), then a course/speed
// extension "ccc/sss" (knots) and an altitude "/A=nnnnnn" (feet) in the comment. Mic-E and other
// packet types are passed over. The track is the first station's; other stations are counted.
#include <optional>
#include <string>
#include <string_view>

#include "core/DateTimeRecord.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

struct AprsPosition {
  std::string source;
  double lat = 0.0, lon = 0.0;
  std::optional<double> altFeet;
  std::optional<double> courseDeg, speedKnots;
  std::optional<DateTimeRecord> heard;   // the log's own time stamp of the line
  std::optional<DateTimeRecord> stamp;   // the packet's time stamp; date fields 0 when it has none
};
std::optional<AprsPosition> decodeAprsLine(std::string_view line);

bool readAprsTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                       std::string& message);

}  // namespace pixtrail
