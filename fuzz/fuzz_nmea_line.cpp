// The NMEA line parser and the dialect sentence readers on arbitrary bytes.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/angles.hpp"
#include "devices/TComandaNMEA.hpp"

using namespace pixtrail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  TComandaNMEA_Rx s;
  TErrorNMEA error;
  if (!s.Parse(line, error)) {
    if (error.message.empty()) __builtin_trap();  // a refusal always says why
    return 0;
  }
  if (s.fieldCount() == 0 || (s.checksumCorrect() && s.checksumText().size() != 2)) __builtin_trap();
  NmeaWaypoint w;
  NmeaTrackPoint p;
  NmeaRouteMessage r;
  s.ParsePMGNWPL(w, error);
  s.ParseWPL(w, error);
  s.ParsePMLR(w, error);
  s.ParseWPR(w, error);
  if (s.ParsePMGNTRK(p, error) || s.ParseGGATrackPoint(p, error)) {
    if (!isPlausibleLatLon(p.position.lat, p.position.lon))
      __builtin_trap();
  }
  if (s.ParsePMGNRTE(r, error) || s.ParseRTE(r, error)) {
    std::vector<NmeaWaypoint> out;
    resolveRouteWaypoints(r, {w}, NmeaDialect::kMagellan, out, error);
  }
  return 0;
}
