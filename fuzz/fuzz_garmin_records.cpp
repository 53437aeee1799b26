// Every record decoder fed arbitrary data. The first two bytes choose the record type. Beyond not
// crashing: decoded positions are on the globe, and a waypoint that decodes and encodes again
// decodes to the same position.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "devices/TErrorPr.hpp"
#include "devices/garmin_records.hpp"

using namespace pixtrail;

namespace {
constexpr int kTypes[] = {100, 101, 102, 103, 104, 107, 108, 109, 110, 150, 151, 152, 154, 155, 105,
                          200, 201, 202, 210, 300, 301, 302, 303, 304, 310, 311, 312, 600, 700, 800};

void onGlobe(double lat, double lon) {
  if (!(std::fabs(lat) <= 180.0) || !(std::fabs(lon) <= 180.0)) __builtin_trap();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const int type = kTypes[data[0] % std::size(kTypes)];
  const std::string_view record(reinterpret_cast<const char*>(data + 1), size - 1);
  try {
    switch (type / 100) {
      case 1: {
        const GarminWaypoint w = decodeWaypoint(type, record);
        onGlobe(w.lat, w.lon);
        try {
          const GarminWaypoint again = decodeWaypoint(type, encodeWaypoint(type, w));
          if (degreesToSemicircles(again.lat) != degreesToSemicircles(w.lat)) __builtin_trap();
        } catch (const TErrorPr&) {  // texts too long for the record
        }
        break;
      }
      case 2:
        if (type == 210) decodeRouteLink(type, record);
        else decodeRouteHeader(type, record);
        break;
      case 3:
        if (type >= 310) {
          decodeTrackHeader(type, record);
        } else {
          const GarminTrackPoint p = decodeTrackPoint(type, record);
          onGlobe(p.lat, p.lon);
        }
        break;
      case 6: decodeDateTime(type, record); break;
      case 7: decodePosition(type, record); break;
      default: decodePvt(type, record).utc(); break;
    }
  } catch (const TErrorPr&) {
  }
  return 0;
}
