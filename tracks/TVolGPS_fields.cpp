// Track-wide values by identifier and the information tree of a track.
//
// Field identifiers of Retorna_Val_Campo_Global (TrackField), units as stored:
//   1 points            2 segments          3 distance, m        4 duration, s
//   5 moving time, s    6 average speed, m/s (distance / duration)
//   7 moving speed, m/s (distance of moving steps / moving time)     8 maximum speed, m/s
//   9 lowest altitude, m (10000 when none)  10 highest altitude, m (-10000 when none)
//  11 altitude gain, m  12 altitude loss, m 13 fastest climb, m/s  14 fastest descent, m/s
//  15 start, 16 end: date-time values (days since 1899-12-30; 0 when the track has no times)
//  17-20 bounding box: lowest latitude, lowest longitude, highest latitude, highest longitude
//  21 time offset of the track's clock against UTC, s

#include <array>
#include <cstdio>
#include <exception>

#include "core/messages.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail {

namespace {
using Getter = double (*)(const TVolGPS&);

struct FieldRow {
  TrackField id;
  Getter get;
};

constexpr std::array kFields = {
    FieldRow{TrackField::Points, [](const TVolGPS& t) { return static_cast<double>(t.pointCount()); }},
    FieldRow{TrackField::Segments, [](const TVolGPS& t) { return static_cast<double>(t.summary().segments); }},
    FieldRow{TrackField::DistanceM, [](const TVolGPS& t) { return t.summary().distanceM; }},
    FieldRow{TrackField::DurationS, [](const TVolGPS& t) { return t.summary().durationS; }},
    FieldRow{TrackField::MovingTimeS, [](const TVolGPS& t) { return t.summary().movingTimeS; }},
    FieldRow{TrackField::AverageSpeedMs, [](const TVolGPS& t) { return t.summary().averageSpeedMs; }},
    FieldRow{TrackField::MovingSpeedMs, [](const TVolGPS& t) { return t.summary().movingSpeedMs; }},
    FieldRow{TrackField::MaxSpeedMs, [](const TVolGPS& t) { return t.summary().maxSpeedMs; }},
    FieldRow{TrackField::AltitudeMinM, [](const TVolGPS& t) { return t.summary().altitudeMinM; }},
    FieldRow{TrackField::AltitudeMaxM, [](const TVolGPS& t) { return t.summary().altitudeMaxM; }},
    FieldRow{TrackField::GainM, [](const TVolGPS& t) { return t.summary().gainM; }},
    FieldRow{TrackField::LossM, [](const TVolGPS& t) { return t.summary().lossM; }},
    FieldRow{TrackField::MaxClimbMs, [](const TVolGPS& t) { return t.summary().maxClimbMs; }},
    FieldRow{TrackField::MaxSinkMs, [](const TVolGPS& t) { return t.summary().maxSinkMs; }},
    FieldRow{TrackField::StartTime, [](const TVolGPS& t) { return t.summary().hasTimes ? t.summary().start : 0.0; }},
    FieldRow{TrackField::EndTime, [](const TVolGPS& t) { return t.summary().hasTimes ? t.summary().end : 0.0; }},
    FieldRow{TrackField::MinLat, [](const TVolGPS& t) { return t.summary().minLat; }},
    FieldRow{TrackField::MinLon, [](const TVolGPS& t) { return t.summary().minLon; }},
    FieldRow{TrackField::MaxLat, [](const TVolGPS& t) { return t.summary().maxLat; }},
    FieldRow{TrackField::MaxLon, [](const TVolGPS& t) { return t.summary().maxLon; }},
    FieldRow{TrackField::TimeOffsetS, [](const TVolGPS& t) { return t.hasTimeOffset ? t.timeOffsetS : 0.0; }},
};

std::string number(double value, const char* format) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

// "#RRGGBB" from the red-low layout.
std::string colourText(std::uint32_t colour) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "#%02X%02X%02X", colour & 0xFFu, (colour >> 8) & 0xFFu, (colour >> 16) & 0xFFu);
  return buffer;
}

std::string duration(double seconds) {
  const long long s = static_cast<long long>(seconds + 0.5);
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%lld:%02lld:%02lld", s / 3600, s / 60 % 60, s % 60);
  return buffer;
}
}  // namespace

bool TVolGPS::Retorna_Val_Campo_Global(int fieldId, double& value, std::string& message) const {
  try {
    for (const FieldRow& row : kFields) {
      if (static_cast<int>(row.id) == fieldId) {
        value = row.get(*this);
        return true;
      }
    }
  } catch (const std::exception&) {
  }
  appendMessage(message, "Undef. error in TVolGPS::Retorna_Val_Campo_Global");
  return false;
}

std::vector<TrackInfoNode> TVolGPS::informationTree() const {
  const TrackSummary& s = summary_;
  constexpr double kMsToKmh = 3.6;
  std::vector<TrackInfoNode> tree;
  tree.push_back({"Trk:Track Data", "Track Data", 0, {{"File", fileName}, {"Name", headerText('P')}}});
  tree.push_back({"Trk:Time", "Time", 0,
                  {{"Start", s.hasTimes ? formatIsoDateTime(DateTimeRecord::fromValue(s.start)) : ""},
                   {"End", s.hasTimes ? formatIsoDateTime(DateTimeRecord::fromValue(s.end)) : ""},
                   {"Duration", duration(s.durationS)},
                   {"Moving time", duration(s.movingTimeS)}}});
  tree.push_back({"Trk:Points", "Points", 0,
                  {{"Points", std::to_string(pointCount())}, {"Segments", std::to_string(s.segments)}}});
  tree.push_back({"Trk:View", "View", 0,
                  {{"Colour", colourText(colour)}, {"Width", std::to_string(width)}}});
  tree.push_back({"Trk:GPS", "GPS", 0,
                  {{"Time offset", hasTimeOffset ? number(timeOffsetS, "%.0f s") : "none"}}});
  tree.push_back({"Trk:Dist", "Distance", 0, {{"Length", number(s.distanceM, "%.1f m")}}});
  tree.push_back({"Trk:Vels", "Speeds", 0,
                  {{"Average", number(s.averageSpeedMs * kMsToKmh, "%.2f Km/h")},
                   {"Moving average", number(s.movingSpeedMs * kMsToKmh, "%.2f Km/h")},
                   {"Maximum", number(s.maxSpeedMs * kMsToKmh, "%.2f Km/h")}}});
  tree.push_back({"Trk:Alts", "Altitudes", 0,
                  s.hasAltitudes
                      ? std::vector<std::pair<std::string, std::string>>{
                            {"Minimum", number(s.altitudeMinM, "%.1f m")},
                            {"Maximum", number(s.altitudeMaxM, "%.1f m")},
                            {"Gain", number(s.gainM, "%.1f m")},
                            {"Loss", number(s.lossM, "%.1f m")},
                            {"Fastest climb", number(s.maxClimbMs, "%.2f m/s")},
                            {"Fastest descent", number(s.maxSinkMs, "%.2f m/s")}}
                      : std::vector<std::pair<std::string, std::string>>{}});
  tree.push_back({"Trk:igc", "IGC", 0, {}});
  tree.push_back({"Trk:energy", "Energy", 0, {}});
  if (s.hasCadence) tree.push_back({"TrkPnt:velcad", "Speed/Cadence", msg::kSpeedCadenceNode, {}});
  return tree;
}

}  // namespace pixtrail
