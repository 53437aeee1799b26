#pragma once
// A walking trip whose truth is known: where the walker was every second, a receiver's track of it
// (a fix every 5 s, half a metre of noise), and photos whose capture times come from a camera clock
// set wrong on purpose. The walker stops for a minute and a half to four minutes every quarter to
// half hour and takes a photo there; between stops some photos carry the true position, as a
// phone's photos would.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "core/DateTimeRecord.hpp"
#include "core/TCoord.hpp"
#include "tracks/TVolGPS.hpp"

namespace pixtrail::test {

struct TripOptions {
  int days = 2;                  // 2026-10-24 and on: Madrid's clocks go back in the night to the 25th
  int cyclesPerDay = 24;         // a walk and a stop
  bool cameraFollowsMadrid = true;  // camera on Madrid's wall clock, summer time and winter time
  double cameraUtcOffsetS = 0.0;    // otherwise on UTC plus this
  double clockErrorS = 0.0;      // the camera shows true time + this at the first photo ...
  double driftSPerHour = 0.0;    // ... gaining this much per hour
  bool references = true;        // a photo with its true position while walking, each cycle
};

struct TripPhoto {
  std::string name;
  DateTimeRecord camera;          // what the camera wrote, whole seconds
  DateTimeValue trueUtc = 0.0;
  TCoord truePosition;            // lon, lat
  bool reference = false;         // carries its true position
};

struct Trip {
  std::unique_ptr<TVolGPS> track;  // UTC, file name "trip.gpx"
  std::vector<TripPhoto> photos;
};

Trip makeTrip(const TripOptions& options);
// Madrid's offset east of UTC in October 2026, written out by hand: summer time until 01:00 UTC
// on the 25th.
double madridOffsetS(DateTimeValue utc);
// The track as GPX 1.1 (UTC times), and each photo as a copy of `baseJpeg` with its capture time
// (and, for references, the true position) written in.
void writeTripGpx(const Trip& trip, const std::filesystem::path& file);
void writeTripPhotos(const Trip& trip, const std::filesystem::path& folder, const std::filesystem::path& baseJpeg);
// Metres between two WGS 84 positions (flat, fine over metres).
double metresBetween(double lat1, double lon1, double lat2, double lon2);

}  // namespace pixtrail::test
