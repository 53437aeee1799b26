#pragma once
// The track model: a track (TVolGPS) holding its points (tracks/TPuntVol.hpp) in file order, with
// the header values of the native file, the summaries computed by Recalculate and the lookup of the
// position at a time used by photo geotagging.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"
#include "core/VectorP.hpp"
#include "tracks/TPuntVol.hpp"

namespace pixtrail {

// User settings the track model reads. The application fills them from its configuration; the
// defaults are those of a fresh configuration.
struct TrackSettings {
  // Altitude rule, last step: with both a GPS and a barometric altitude, use the GPS one.
  bool preferGpsAltitude = true;
  // Position at a time: two points further apart than this (seconds) leave the time between them
  // uncovered, and the track ends reach out no further than this. 1800 s is the usual
  // geotagging default; a receiver switched off for longer must not produce invented positions.
  double maxGapSeconds = 1800.0;
};

// A point object beside the track, such as a photo placed on it. Marks never change the points.
struct TrackMark {
  std::string name;
  TCoord position;  // working datum
  TPuntTiempo time;
};

// The summaries Recalculate keeps. Minimum-seeking values start at 10000 as the system does.
struct TrackSummary {
  static constexpr double kMinimumStart = 10000.0;
  std::size_t segments = 0;
  double distanceM = 0.0;          // along the points, segment breaks not bridged
  double durationS = 0.0;          // last valid time minus first valid time
  double movingTimeS = 0.0;        // time of steps faster than kMovingSpeedMs
  double maxSpeedMs = 0.0;
  double averageSpeedMs = 0.0;     // distance over duration
  double movingSpeedMs = 0.0;      // moving distance over moving time
  double maxClimbMs = 0.0;         // vertical speeds over steps of at least kMinVerticalStepS
  double maxSinkMs = 0.0;          // positive number: fastest descent
  double altitudeMinM = kMinimumStart;
  double altitudeMaxM = -kMinimumStart;
  double gainM = 0.0;
  double lossM = 0.0;
  double minLat = kMinimumStart, minLon = kMinimumStart;
  double maxLat = -kMinimumStart, maxLon = -kMinimumStart;
  bool hasTimes = false;
  DateTimeValue start = 0.0, end = 0.0;
  bool hasAltitudes = false;
  bool hasCadence = false;         // adds the speed/cadence node to the information tree
};

// Display settings of the "V" line.
struct TrackDisplaySettings {
  float value1 = 0.0f, value2 = 0.0f;
  std::int32_t value3 = 0, value4 = 0, value5 = 0, value6 = 0;
  double value7 = 0.0;
  float value8 = 0.0f;
  std::uint8_t flag = 0;
  friend bool operator==(const TrackDisplaySettings&, const TrackDisplaySettings&) = default;
};

// The "E" line: three one-byte flags, a start date-time and a duration.
struct TrackHeaderRecord {
  std::array<std::uint8_t, 3> flags{};
  TPuntTiempo start;
  double durationS = 0.0;
  friend bool operator==(const TrackHeaderRecord&, const TrackHeaderRecord&) = default;
};

// Result of the position at a time.
struct PositionAtTime {
  enum class Status { Interpolated, AtEnd, NotCovered };
  Status status = Status::NotCovered;
  long index = -1;                   // the later point of the enclosing pair (or the end used)
  TCoord position;                   // alt: interpolated altitude or kUnknownAltitude
  double courseDeg = -1.0;           // negative: unknown
  double speedMs = -1.0;             // negative: unknown
  double fraction = 0.0;             // place between the two points, 0 to 1
  bool beyondTrack = false;          // more than a day after the last point
  bool covered() const { return status != Status::NotCovered; }
};

// One node of the information tree: a fixed key, its caption and the rows shown under it.
struct TrackInfoNode {
  std::string_view key;
  std::string_view caption;
  int messageNumber = 0;  // localized caption number, 0 when the caption is fixed
  std::vector<std::pair<std::string, std::string>> rows;
};

// Identifiers of Retorna_Val_Campo_Global: the track-wide values.
enum class TrackField : int {
  Points = 1, Segments = 2, DistanceM = 3, DurationS = 4, MovingTimeS = 5, AverageSpeedMs = 6,
  MovingSpeedMs = 7, MaxSpeedMs = 8, AltitudeMinM = 9, AltitudeMaxM = 10, GainM = 11, LossM = 12,
  MaxClimbMs = 13, MaxSinkMs = 14, StartTime = 15, EndTime = 16, MinLat = 17, MinLon = 18,
  MaxLat = 19, MaxLon = 20, TimeOffsetS = 21,
};

// A track: its points in file order, split into segments, the header of the native file and the
// summaries Recalculate derives. Distances on the WGS 84 ellipsoid, accuracy and method in
// tracks/TVolGPS.cpp; the position at a time interpolates between the two enclosing points.
class TVolGPS {
 public:
  // Header text letters of the native file, in the order the writer emits them ('M', the comment,
  // is held apart because it spans lines).
  static constexpr std::string_view kHeaderLetters = "PQNJIbDdZRsijkgef";
  static constexpr double kMovingSpeedMs = 0.5;     // slower steps count as standing still
  static constexpr double kMinVerticalStepS = 1.0;  // shorter steps make vertical speed noise
  static constexpr double kAltitudeHysteresisM = 3.0;  // gain/loss ignore wiggles below this

  TVolGPS() = default;
  virtual ~TVolGPS() = default;
  TVolGPS(TVolGPS&&) noexcept = default;
  TVolGPS& operator=(TVolGPS&&) noexcept = default;

  std::string fileName;
  VectorP<TPuntVol> points;
  std::vector<TrackMark> marks;  // in the order they were added
  std::string comment;  // lines separated by CR LF
  std::uint32_t colour = 0x0000FF;  // red in the low byte
  std::int32_t width = 2;
  double drawParameter = 0.0;
  bool hasTimeOffset = false;
  double timeOffsetS = 0.0;
  TrackDisplaySettings display;
  TrackHeaderRecord headerRecord;
  std::optional<std::array<double, 4>> zValues;
  bool backupOnIgcSave = false;
  bool readWithFLine = false;

  // One of kHeaderLetters; any other letter is a programming error.
  const std::string& headerText(char letter) const;
  std::string& headerText(char letter);

  std::size_t pointCount() const { return points.size(); }
  TPuntVol& point(std::size_t i) { return points[i]; }
  const TPuntVol& point(std::size_t i) const { return points[i]; }
  TPuntVol& appendPoint(std::unique_ptr<TPuntVol> p) { return points.add(std::move(p)); }

  // Recomputes the summaries, the segment start of the first point and every point's derived
  // value. Returns false and appends "Exception in TVolGPS::Recalculate()" if it failed.
  bool Recalculate(const TrackSettings& settings, std::string& message);
  const TrackSummary& summary() const { return summary_; }

  // Segments as [first, end) index ranges, in track order.
  std::vector<std::pair<std::size_t, std::size_t>> segments() const;
  // A copy of segment k as a track of its own, named after this track plus "_subtrack.TRK".
  std::unique_ptr<TVolGPS> segmentAsTrack(std::size_t k) const;

  // Lookup by time, binary search. Mode 0: the index i of the point ending the pair enclosing t
  // (0 when t is the first point's time), negative when t lies outside the track's times.
  // Mode 1: as mode 0, but before the first point gives 0 and after the last gives the last index.
  // Points are taken to be in time order; points without a valid time sort first.
  long indexAtTime(DateTimeValue t, int mode) const;
  PositionAtTime positionAtTime(DateTimeValue t, const TrackSettings& settings) const;
  // The time of point i, or -infinity when the point has no valid time.
  DateTimeValue pointTime(std::size_t i) const;

  // Track-wide value by identifier (TrackField). False with the system's message on an unknown id.
  bool Retorna_Val_Campo_Global(int fieldId, double& value, std::string& message) const;

  std::vector<TrackInfoNode> informationTree() const;

 private:
  std::array<std::string, kHeaderLetters.size()> headerTexts_;
  TrackSummary summary_;
};

// Copies the name without its extension and appends the subtrack suffix.
std::string subtrackFileName(std::string_view trackFileName);

// Geodesic distance in metres between two WGS 84 positions close to each other (see TVolGPS.cpp).
double stepDistanceM(const TCoord& a, const TCoord& b);
// Initial bearing from a to b, degrees 0 to 360.
double bearingDeg(const TCoord& a, const TCoord& b);

}  // namespace pixtrail
