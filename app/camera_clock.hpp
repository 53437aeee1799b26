#pragma once
// What a camera's clock says, turned into the time scale of a track: the clock's time zone (with
// the daylight-saving rules in force on each photo's own date, from the system's time-zone
// database), a UTC offset the photo carries itself, a fixed offset and a linear drift.

#include <string>
#include <string_view>

#include "core/DateTimeRecord.hpp"

namespace date {
class time_zone;
}

namespace pixtrail {

class TJpegExif;

// Whether a track format stores its times in UTC or in the local time of wherever it was recorded.
enum class TrackTimeScale { Utc, Local };
// By the file's extension (without the dot, any case); unknown extensions count as UTC.
TrackTimeScale trackTimeScaleOf(std::string_view extension);
std::string_view trackTimeScaleName(TrackTimeScale scale);

// A time zone of the system's database, or none (times are taken as they are).
class TimeZone {
 public:
  // "" (none), "local" (the system's zone), "UTC" or an IANA name such as "Europe/Madrid".
  // False with a message naming the zone when the database does not know it.
  bool set(std::string_view name, std::string& message);
  bool isSet() const { return zone_ != nullptr; }
  const std::string& name() const { return name_; }

  // Local wall-clock time to UTC. A time the clocks skipped (spring forward) is moved on by the
  // gap; a time they showed twice (fall back) is taken the first time, as a camera that is being
  // read once an hour earlier cannot tell the two apart.
  DateTimeValue toUtc(DateTimeValue local) const;
  DateTimeValue toLocal(DateTimeValue utc) const;
  // Seconds east of UTC in force at that UTC time.
  double utcOffsetSecondsAt(DateTimeValue utc) const;

 private:
  const date::time_zone* zone_ = nullptr;
  std::string name_;
};

// EXIF's "+HH:MM" / "-HH:MM" (OffsetTime tags; "Z" also taken) into seconds east of UTC. False for
// anything else, and for the blank "   :  " that cameras write when they do not know.
bool parseUtcOffset(std::string_view text, double& secondsEast);
// The photo's own offset: OffsetTimeOriginal, else OffsetTime. False when it has neither.
bool readPhotoUtcOffset(const TJpegExif& exif, double& secondsEast);

// A receiver's clock as read off a photo of its screen: "HH:MM:SS[.sss]", with "Z" at the end when
// the screen showed UTC. False on anything else.
bool parseClockReading(std::string_view text, double& secondsOfDay, bool& utc);

// Camera clock error: track time = clock time + offset + drift x hours since `reference`.
struct ClockCorrection {
  double offsetS = 0.0;
  double driftSPerHour = 0.0;
  DateTimeValue reference = 0.0;  // where the offset holds; drift counts from here
  DateTimeValue apply(DateTimeValue clock) const;
  double offsetAt(DateTimeValue clock) const;
};

// "+01:02:03" style text of a signed number of seconds (fractions to the millisecond when present).
std::string formatSignedClock(double seconds);

}  // namespace pixtrail
