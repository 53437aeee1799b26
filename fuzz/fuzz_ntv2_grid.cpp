// The NTv2 grid reader (overview header, sub-grids on first use, interpolation) on arbitrary bytes.
#include <cstddef>
#include <cstdint>
#include <string>

#include "coords/TDatumFileNTV2.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto grid = pixtrail::TDatumFileNTV2::fromBytes(std::string(reinterpret_cast<const char*>(data), size));
  std::string message;
  if (!grid->readHeader(message)) return 0;
  // Points inside the first sub-grids (if any) and a few fixed ones.
  for (const pixtrail::TDatumSubRejilla& s : grid->subGrids()) {
    pixtrail::TCoord p{-(s.eLong + s.wLong) / 7200.0, (s.sLat + s.nLat) / 7200.0, 0.0f};
    grid->applyForward(p);
    grid->applyReverse(p);
  }
  for (double lat : {-45.0, 0.0, 52.5}) {
    pixtrail::TCoord p{5.5, lat, 0.0f};
    grid->applyForward(p);
    grid->applyReverse(p);
  }
  return 0;
}
