#pragma once
// Polar heart-rate files (HRM): an INI-like text with sections. [Params] gives "Date" (yyyymmdd),
// "StartTime" (hh:mm:ss.s), "Interval" (seconds between samples), "Version" and "SMode" (which
// columns the samples carry); [HRData] holds one sample per line, heart rate first. From version
// 106 on the further columns are, each when its SMode digit is 1: speed (0.1 km/h), cadence (rpm),
// altitude (m, or ft when SMode digit 8 says US units) and power (W); earlier versions carry
// speed, cadence and altitude by the same digits. The samples have no position: the points keep
// 0/0 and are meant to be joined with a GPS track by time.
#include <string>
#include <string_view>

#include "tracks/TVolGPS.hpp"

namespace pixtrail {

bool readHeartRateTrackText(std::string_view text, const std::string& fileName, TVolGPS& track,
                            std::string& message);

}  // namespace pixtrail
