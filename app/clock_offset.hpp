#pragma once
// Finding the camera clock's error against the tracks, three ways, best evidence first:
// - reference photos that already hold a position (a phone's, or placed by hand): the times the
//   tracks pass nearest each one give candidate offsets; the candidates most references agree on
//   are kept, and a robust line through them (Theil-Sen slope, median intercept) gives the offset
//   and, with references spread over the trip, the drift;
// - photos of the receiver's clock: the time it showed against the camera's time;
// - the photos alone: the zone-like offset (whole and quarter hours) that puts most photos on the
//   tracks, and most of those where the tracks are slow (people stop to take pictures), then the
//   same search in seconds around it. Only ever a suggestion.
// A check built on the same evidence tells when an offset about to be applied looks wrong.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "app/camera_clock.hpp"
#include "app/track_timeline.hpp"
#include "core/TCoord.hpp"

namespace pixtrail {

// One photo as the estimators see it.
struct ClockSample {
  std::string name;
  DateTimeValue clock = 0.0;    // capture time on the timeline's scale (time zone already applied)
  bool hasPosition = false;     // a reference photo
  TCoord position;              // working datum
};

// One photo of the receiver's clock: the camera's raw time and the time on the screen.
struct ClockReading {
  std::string name;
  DateTimeValue cameraClock = 0.0;  // as the camera wrote it
  DateTimeValue lineClock = 0.0;    // the same on the timeline's scale
  double shownSecondsOfDay = 0.0;
  bool shownUtc = false;            // the screen showed UTC, not the zone's local time
};

// How well one candidate offset fits the photos alone.
struct OffsetEvidence {
  double offsetS = 0.0;
  std::size_t covered = 0;  // photos the tracks cover at this offset
  std::size_t stopped = 0;  // of those, photos where the tracks stand still
  double score() const { return static_cast<double>(covered + stopped); }
};

enum class OffsetMethod { None, References, ClockPhoto, Photos };
std::string_view offsetMethodName(OffsetMethod method);

struct OffsetEstimate {
  OffsetMethod method = OffsetMethod::None;
  ClockCorrection correction;
  std::size_t photosUsed = 0;
  double spreadS = 0.0;                 // robust spread (1.4826 x median absolute residual)
  std::vector<std::string> outliers;    // references that disagree, by name, with why
  std::vector<OffsetEvidence> evidence; // photos alone: the best candidates, best first
  bool suggestionOnly = false;          // never to be applied without the user's word
  bool found() const { return method != OffsetMethod::None; }
};

struct OffsetSearchSettings {
  double passRadiusM = 50.0;       // a reference counts as on the track within this distance
  double agreeS = 120.0;           // references agree when their offsets are this close
  double outlierS = 20.0;          // a residual never counts as an outlier below this
  double minDriftSpanH = 2.0;      // drift is only fitted over references at least this far apart
  double maxZoneOffsetH = 14.0;    // the widest zone offset searched from the photos alone
  double stopSpeedMs = 0.5;        // slower than this the track stands still
  double fineStepS = 5.0;          // the search in seconds around the best zone-like offset
};

// The earliest capture time: the moment an estimate's offset holds, drift counted from there.
DateTimeValue earliestClock(const std::vector<ClockSample>& samples);

OffsetEstimate estimateFromReferences(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                                      const OffsetSearchSettings& settings = {});
OffsetEstimate estimateFromClockReadings(const std::vector<ClockReading>& readings, const TimeZone& zone,
                                         DateTimeValue reference, const OffsetSearchSettings& settings = {});
OffsetEstimate estimateFromPhotos(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                                  const OffsetSearchSettings& settings = {});
// Clock readings, else references, else the photos alone.
OffsetEstimate estimateClockOffset(const std::vector<ClockSample>& samples, const std::vector<ClockReading>& readings,
                                   const TrackTimeline& timeline, const TimeZone& zone,
                                   const OffsetSearchSettings& settings = {});

// Scores one offset over the photos alone.
OffsetEvidence scoreOffset(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                           const ClockCorrection& correction, const OffsetSearchSettings& settings = {});

// Whether the correction about to be applied looks wrong: references that put the photos
// elsewhere, another zone-like offset that covers markedly more photos or puts markedly more of
// them at stops, or most photos outside the tracks.
struct OffsetCheck {
  bool looksWrong = false;
  std::string message;
  OffsetEstimate better;  // the likely offset, when one was found
};
OffsetCheck checkOffset(const std::vector<ClockSample>& samples, const TrackTimeline& timeline,
                        const ClockCorrection& applied, const OffsetSearchSettings& settings = {});

}  // namespace pixtrail
