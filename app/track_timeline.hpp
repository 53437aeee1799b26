#pragma once
// The tracks of a geotagging run seen on the photos' time line: with a camera time zone that line
// is UTC and tracks that hold local time are read through the same zone; without one every time
// is taken as it stands. Answers where the tracks are at a time, how fast they move there and when
// they pass near a place.

#include <cstddef>
#include <vector>

#include "app/camera_clock.hpp"
#include "core/VectorP.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

class TrackTimeline {
 public:
  // `scales` has one entry per track (missing entries count as UTC). The tracks and the zone must
  // outlive the timeline; tracks added later are not seen.
  TrackTimeline(const VectorP<TVolGPS>& tracks, std::vector<TrackTimeScale> scales, const TimeZone& zone,
                const TrackSettings& settings);

  std::size_t trackCount() const { return tracks_.size(); }
  const TVolGPS& track(std::size_t i) const { return tracks_[i]; }
  DateTimeValue toTrackTime(std::size_t track, DateTimeValue lineTime) const;
  DateTimeValue toLineTime(std::size_t track, DateTimeValue trackTime) const;

  struct Hit {
    std::size_t track = 0;
    DateTimeValue trackTime = 0.0;
    PositionAtTime where;
  };
  // The first track that covers the time; false when none does.
  bool locate(DateTimeValue lineTime, Hit& out) const;
  // Ground speed around the time (over kSpeedWindowS either side), m/s; negative when not covered.
  double speedAt(DateTimeValue lineTime) const;
  // Each time a track passes within radiusM of the place: the middle of the stretch that comes
  // closest (a stop counts once, at its middle), on the line's time scale.
  struct Pass {
    DateTimeValue lineTime = 0.0;
    double distanceM = 0.0;
  };
  std::vector<Pass> passesNear(const TCoord& place, double radiusM) const;

  static constexpr double kSpeedWindowS = 30.0;

 private:
  // Bounding boxes of runs of kChunk steps (the point before each run included), so a search for
  // passes skips the stretches of track that never come near.
  static constexpr std::size_t kChunk = 64;
  struct Box {
    double minLat, maxLat, minLon, maxLon;
  };
  const VectorP<TVolGPS>& tracks_;
  std::vector<std::vector<Box>> boxes_;
  std::vector<std::size_t> boxedPoints_;  // a track that changed since is searched without its boxes
  std::vector<TrackTimeScale> scales_;
  const TimeZone& zone_;
  TrackSettings settings_;
};

}  // namespace pixtrail
