#pragma once
// IGC flight logs (FAI's logger format): the B fix records give the track, HFDTE the date, and a
// fix whose time of day runs backwards starts the next day. Other records (unknown H lines, I/J
// extension definitions, C, D, E, F, G, L) are passed over. A B record carries the pressure
// altitude (kept as the barometric altitude) and the GNSS altitude (kept as the GPS altitude).
#include <optional>
#include <string>
#include <string_view>

#include "core/DateTimeRecord.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

// One decoded B record: "B" HHMMSS DDMMmmm(N|S) DDDMMmmm(E|W) (A|V) PPPPP GGGGG [extensions].
struct IgcFix {
  int hour = 0, minute = 0, second = 0;
  double lat = 0.0, lon = 0.0;
  bool valid3d = false;  // 'A'; 'V' is a 2D fix or none
  int pressureAltM = 0;
  int gnssAltM = 0;
};
std::optional<IgcFix> decodeIgcFix(std::string_view line);

// The date of an "HFDTE" record, old ("HFDTE160701") or new ("HFDTEDATE:160701,01") form.
std::optional<DateTimeRecord> decodeIgcDate(std::string_view line);

// The fix record of one point: time of day, position, validity, pressure and GNSS altitudes.
std::string igcFixRecord(const TPuntVol& point);

bool readIgcTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                      std::string& message);
std::string igcTrackText(const TVolGPS& track);

}  // namespace pixtrail
