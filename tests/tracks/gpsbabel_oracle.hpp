#pragma once
// gpsbabel as an independent reader of foreign track formats: it converts a file to unicsv, whose
// columns are parsed here without any of our own readers, and the points are compared with ours.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/text.hpp"
#include "tests/support/test_support.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail::test {

struct OraclePoint {
  double lat = 0, lon = 0;
  std::optional<double> altM;
  std::optional<DateTimeValue> time;
  std::map<std::string, std::string> columns;  // every column by its unicsv header name
  std::string column(const std::string& name) const {
    const auto it = columns.find(name);
    return it == columns.end() ? std::string() : it->second;
  }
};

struct OracleRun {
  std::vector<OraclePoint> points;
  std::string errors;  // gpsbabel's stderr: warnings show up here
  int status = -1;
};

// `kind` is "-t" (tracks), "-r" (routes) or "-w" (waypoints); `format` may carry options.
inline OracleRun gpsbabelRead(const std::string& format, const std::filesystem::path& file,
                              const std::string& kind = "-t") {
  OracleRun run;
  const CommandOutput out = runCommand("gpsbabel " + kind + " -i " + format + " -f " +
                                       shellQuote(file.string()) + " -o unicsv,utc=0 -F -");
  run.status = out.status;
  run.errors = out.err;
  std::vector<std::string> header;
  bool first = true;
  std::size_t start = 0;
  while (start < out.out.size()) {
    std::size_t end = out.out.find('\n', start);
    if (end == std::string::npos) end = out.out.size();
    const std::string line(trim(std::string_view(out.out).substr(start, end - start)));
    start = end + 1;
    if (line.empty()) continue;
    std::vector<std::string> cells;
    for (std::string_view c : splitFields(line, ',')) {
      std::string cell(c);
      if (cell.size() >= 2 && cell.front() == '"') cell = cell.substr(1, cell.size() - 2);
      cells.push_back(cell);
    }
    if (first) {
      header = cells;
      first = false;
      continue;
    }
    OraclePoint p;
    for (std::size_t i = 0; i < header.size() && i < cells.size(); ++i) p.columns[header[i]] = cells[i];
    p.lat = parseDouble(p.columns["Latitude"]).value_or(NAN);
    p.lon = parseDouble(p.columns["Longitude"]).value_or(NAN);
    if (auto a = parseDouble(p.columns["Altitude"])) p.altM = *a;
    const std::string date = p.columns["Date"], time = p.columns["Time"];
    if (!date.empty() && !time.empty()) {
      DateTimeRecord r;
      std::string iso = date + "T" + time;
      std::replace(iso.begin(), iso.end(), '/', '-');
      DateTimeValue v = 0;
      if (parseIsoDateTime(iso, r) && r.toValue(v)) p.time = v;
    }
    run.points.push_back(p);
  }
  return run;
}

// Our points against gpsbabel's: position to 1e-6 degrees, altitude to 0.1 m (unicsv prints one
// decimal), time to `timeResolutionS`.
inline void expectSamePoints(const TVolGPS& ours, const OracleRun& theirs, double timeResolutionS,
                             const std::string& what) {
  ASSERT_EQ(theirs.status, 0) << what << ": " << theirs.errors;
  ASSERT_EQ(ours.pointCount(), theirs.points.size()) << what;
  for (std::size_t i = 0; i < ours.pointCount(); ++i) {
    const TPuntVol& p = ours.point(i);
    const OraclePoint& o = theirs.points[i];
    EXPECT_NEAR(p.position.lat, o.lat, 1e-6) << what << " point " << i;
    EXPECT_NEAR(p.position.lon, o.lon, 1e-6) << what << " point " << i;
    const float alt = p.altitude(true);
    EXPECT_EQ(hasAltitude(alt), o.altM.has_value()) << what << " point " << i;
    if (hasAltitude(alt) && o.altM) {
      EXPECT_NEAR(alt, *o.altM, 0.1) << what << " point " << i;
    }
    DateTimeValue t = 0;
    const bool hasTime = p.time.toValue(t);
    EXPECT_EQ(hasTime, o.time.has_value()) << what << " point " << i;
    if (hasTime && o.time) {
      EXPECT_NEAR(t * kSecondsPerDay, *o.time * kSecondsPerDay, timeResolutionS)
          << what << " point " << i;
    }
  }
}

}  // namespace pixtrail::test
