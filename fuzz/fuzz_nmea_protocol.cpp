// The protocol object fed arbitrary lines. Beyond not crashing: a refused or unchecked sentence
// never changes the fix, and a fix is never held as valid outside the world or after a sentence
// that said there is none.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/angles.hpp"
#include "devices/TProtocoloNMEA.hpp"

using namespace pixtrail;

namespace {

bool sameFix(const TDatosGPSActual& a, const TDatosGPSActual& b) {
  return a.position == b.position && a.fixValid == b.fixValid && a.satellites == b.satellites &&
         a.speedMs == b.speedMs && a.time == b.time && a.changed == b.changed && a.gsvText == b.gsvText;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // The first byte picks the settings.
  static const char* const kPreferred[] = {"", "GGA", "RMC", "GLL"};
  const NmeaSettings settings{(data[0] & 1) == 0, kPreferred[(data[0] >> 1) & 3]};
  TProtocoloNMEA protocol(settings);
  TDatosGPSActual fix;
  int count = 0;
  std::string previous;
  std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
  while (!rest.empty()) {
    const std::size_t lf = rest.find('\n');
    const std::string_view line = rest.substr(0, lf);
    rest = lf == std::string_view::npos ? std::string_view{} : rest.substr(lf + 1);
    const TDatosGPSActual before = fix;
    const bool changed = protocol.processLine(line, fix, count, previous);
    const TComandaNMEA_Rx& s = protocol.lastSentence();
    if (!protocol.lastParsed() || (settings.useChecksum && !s.checksumCorrect())) {
      if (changed || !sameFix(before, fix)) __builtin_trap();
      continue;
    }
    if (fix.fixValid) {
      if (!isPlausibleLatLon(fix.position.lat, fix.position.lon))
        __builtin_trap();
      const std::string_view type = s.type();
      if (type == "GGA" && changed && (s.field(6).empty() || s.field(6) == "0")) __builtin_trap();
      if (type == "RMC" && changed && s.field(2) != "A") __builtin_trap();
      if (type == "GLL" && changed && s.field(6) != "A") __builtin_trap();
    }
    if (count < 0) __builtin_trap();
  }
  return 0;
}
