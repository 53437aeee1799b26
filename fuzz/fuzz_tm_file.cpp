// Transverse Mercator definition files: any text is read or refused, never a crash; what is read
// projects and unprojects a point.
#include <cstddef>
#include <cstdint>
#include <string>

#include "coords/TListaDatums.hpp"
#include "coords/TProyeccionTransversalMercator.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool loaded = [] {
    std::string message;
    return pixtrail::datumTable().load(PIXTRAIL_BUILD_DATA_DIR, message);
  }();
  if (!loaded) return 0;
  pixtrail::TProyeccion_TM_File projection;
  std::string message;
  if (projection.parse(std::string_view(reinterpret_cast<const char*>(data), size), message)) {
    pixtrail::GridCoord grid;
    pixtrail::TCoord back;
    if (projection.project({1.5, 45.0}, 0, grid, message)) (void)projection.unproject(grid, 0, back, message);
  }
  return 0;
}
