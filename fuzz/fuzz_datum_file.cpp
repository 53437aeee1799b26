// The datum table loader (datumsb.dat / datumsbp.dat layout) on arbitrary bytes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "coords/TListaDatums.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<pixtrail::TDatum> rows;
  std::string message;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (pixtrail::TListaDatums::decodeRows(bytes, rows, message)) {
    // What loaded must be usable: shift a point between the first rows and the hub.
    pixtrail::TListaDatums table;
    table.appendDatum(pixtrail::TDatum());
    for (pixtrail::TDatum& d : rows) table.appendDatum(std::move(d));
    for (int i = 1; i < table.size() && i < 8; ++i) {
      pixtrail::TCoord p{10.0, 45.0, 0.0f};
      table.Transforma_Grados_Datum(p, i, 0, message);
      table.findByName(table.datum(i).name);
    }
    table.encodeRows(0);
  }
  return 0;
}
