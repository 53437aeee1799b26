#include "tracks/track_format_hrm.hpp"

#include <vector>

#include "core/messages.hpp"
#include "core/text.hpp"
#include "tracks/track_format_common.hpp"

namespace pixtrail {

namespace {

constexpr int kVersionWithPower = 106;
constexpr double kSpeedUnitKmh = 0.1;

// SMode digits, counted from the left.
enum SModeDigit { kSpeed = 0, kCadence = 1, kAltitude = 2, kPower = 3, kUsUnits = 7 };

bool smodeOn(std::string_view smode, SModeDigit digit) {
  return static_cast<std::size_t>(digit) < smode.size() && smode[digit] == '1';
}

struct Params {
  std::optional<DateTimeRecord> start;
  double intervalS = 0.0;
  int version = kVersionWithPower;
  std::string smode;
};

bool readParam(std::string_view key, std::string_view value, Params& p) {
  if (key == "Date") {
    const auto v = parseInteger(value);
    if (!v) return false;
    DateTimeRecord r = p.start.value_or(DateTimeRecord{});
    r.year = static_cast<int>(*v / 10000);
    r.month = static_cast<int>(*v / 100 % 100);
    r.day = static_cast<int>(*v % 100);
    p.start = r;
  } else if (key == "StartTime") {
    const std::vector<std::string_view> t = splitFields(value, ':');
    if (t.size() != 3) return false;
    const auto h = parseInteger(t[0]), m = parseInteger(t[1]);
    const auto s = parseDouble(t[2]);
    if (!h || !m || !s) return false;
    DateTimeRecord r = p.start.value_or(DateTimeRecord{});
    r.hour = static_cast<int>(*h);
    r.minute = static_cast<int>(*m);
    r.seconds = *s;
    p.start = r;
  } else if (key == "Interval") {
    p.intervalS = parseDouble(value).value_or(0.0);
  } else if (key == "Version") {
    p.version = static_cast<int>(parseInteger(value).value_or(kVersionWithPower));
  } else if (key == "SMode") {
    p.smode = std::string(value);
  }
  return true;
}

}  // namespace

bool readHeartRateTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                            std::string& message) {
  Params params;
  std::string section;
  std::vector<std::string_view> samples;
  forEachLine(text, [&](std::string_view raw) {
    const std::string_view line = trim(raw);
    if (line.starts_with("[") && line.ends_with("]")) {
      section = std::string(line);
    } else if (section == "[Params]") {
      const std::size_t eq = line.find('=');
      if (eq != std::string_view::npos) readParam(trim(line.substr(0, eq)), trim(line.substr(eq + 1)), params);
    } else if (section == "[HRData]" && !line.empty()) {
      samples.push_back(line);
    }
    return true;
  });
  if (!params.start || !params.start->isValid() || params.intervalS <= 0) {
    appendMessage(message, fileName + ": no Date, StartTime and Interval in the [Params] section");
    return false;
  }
  // Interval 238 marks R-R recordings: each sample is a beat-to-beat time, not a fixed step.
  const bool rrIntervals = params.intervalS == 238;
  if (rrIntervals) {
    appendMessage(message, fileName + ": R-R interval recordings are not read");
    return false;
  }
  const bool speed = smodeOn(params.smode, kSpeed), cadence = smodeOn(params.smode, kCadence);
  const bool altitude = smodeOn(params.smode, kAltitude);
  const bool power = params.version >= kVersionWithPower && smodeOn(params.smode, kPower);
  const double altScale = smodeOn(params.smode, kUsUnits) ? kFeetToMetres : 1.0;
  TVolGPS loaded;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::vector<std::string_view> c = splitOnBlanks(samples[i]);
    std::size_t col = 0;
    auto next = [&]() -> std::optional<double> { return col < c.size() ? parseDouble(c[col++]) : std::nullopt; };
    const auto hr = next();
    if (!hr) continue;
    auto p = makePoint(0.0, 0.0, kUnknownAltitude, shiftedBySeconds(*params.start, i * params.intervalS));
    if (*hr > 0 && *hr < 32768) p->heartRate = static_cast<std::int16_t>(*hr);
    if (speed)
      if (const auto v = next()) p->speedMs = static_cast<float>(*v * kSpeedUnitKmh * kKmhToMs);
    if (cadence)
      if (const auto v = next()) p->cadenceRpm = static_cast<float>(*v);
    if (altitude)
      if (const auto v = next()) p->setAltitude(static_cast<float>(*v * altScale));
    if (power)
      if (const auto v = next()) p->powerW = static_cast<float>(*v);
    loaded.appendPoint(std::move(p));
  }
  if (loaded.pointCount() == 0) {
    appendMessage(message, fileName + ": no samples in the [HRData] section");
    return false;
  }
  track.points = std::move(loaded.points);
  return true;
}

}  // namespace pixtrail
