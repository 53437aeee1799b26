// The NMEA line parser, the sentence records and the dialect sentence readers on arbitrary bytes.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/angles.hpp"
#include "devices/TComandaNMEA.hpp"
#include "devices/magellan_sentences.hpp"

using namespace pixtrail;

namespace {
bool onEarth(const std::optional<TCoord>& p) {
  return !p || isPlausibleLatLon(p->lat, p->lon);
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  TComandaNMEA_Rx s;
  TErrorNMEA error;
  if (!s.Parse(line, error)) {
    if (error.message.empty()) __builtin_trap();  // a refusal always says why
    return 0;
  }
  if (s.fieldCount() == 0 || (s.checksumCorrect() && s.checksumText().size() != 2)) __builtin_trap();
  if (!onEarth(NmeaGga(s).position()) || !onEarth(NmeaRmc(s).position()) || !onEarth(NmeaGll(s).position()))
    __builtin_trap();
  const NmeaGga gga(s);
  const NmeaRmc rmc(s);
  (void)gga.time(), (void)gga.altitudeM(), (void)rmc.date(), (void)NmeaZda(s).date();
  NmeaWaypoint w;
  NmeaTrackPoint p;
  NmeaRouteMessage r;
  MagellanRouteMessage m;
  s.ParsePMGNWPL(w, error);
  s.ParseWPL(w, error);
  s.ParsePMLR(w, error);
  s.ParseWPR(w, error);
  if (decodePmgntrk(s, p, error) || s.ParseGGATrackPoint(p, error)) {
    if (!onEarth(p.position)) __builtin_trap();
  }
  readMagellanRouteMessage(s, magellanRouteLayoutOf(s), m, error);
  if (s.ParseRTE(r, error)) {
    std::vector<NmeaWaypoint> out;
    resolveRouteWaypoints(r, {w}, NmeaDialect::kMagellan, out, error);
  }
  return 0;
}
