#include "tracks/track_datum.hpp"

#include "coords/TListaDatums.hpp"
#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

namespace {
// Row 0 of every datum table is WGS 84, so files in it are read and written even before a table
// is loaded (file tools, fuzzing).
constexpr std::string_view kWgs84Name = "WGS 84";
constexpr int kRefinements = 3;  // each gains about four digits

int workingDatumIndex() { return datumTableLoaded() ? datumTable().workingDatum() : kDatumWgs84; }
}  // namespace

bool datumTableLoaded() { return datumTable().size() > 0; }

bool datumNameForFile(int index, std::string& name, std::string& message) {
  if (!datumTableLoaded()) {
    if (index != kDatumWgs84 && index != kWorkingDatum) {
      appendMessage(message, "Unknown datum index " + std::to_string(index));
      return false;
    }
    name = kWgs84Name;
    return true;
  }
  if (index != kWorkingDatum && (index < 0 || index >= datumTable().size())) {
    appendMessage(message, "Unknown datum index " + std::to_string(index));
    return false;
  }
  name = datumTable().datum(index).name;
  return true;
}

bool datumFromFileName(std::string_view name, int& index, std::string& message) {
  const std::string_view n = trim(name);
  const int found = datumTableLoaded() ? datumTable().findByName(n)
                                  : (equalsIgnoreCase(n, kWgs84Name) ? kDatumWgs84 : -1);
  if (found < 0) {
    appendMessage(message, "Unknown datum: " + std::string(n));
    return false;
  }
  index = found;
  return true;
}

TCoord toFileDatum(const TCoord& working, int fileDatum) {
  const int from = workingDatumIndex();
  const int to = fileDatum == kWorkingDatum ? from : fileDatum;
  if (from == to) return working;
  TCoord c = working;
  datumTable().changePointDatum(c, from, to);
  return c;
}

// The shift there and back is not exact (Molodensky is a first-order formula), so the position
// read is refined until shifting it to the file's datum gives the file's numbers again: a file read
// and written again then keeps its digits.
TCoord fromFileDatum(const TCoord& inFile, int fileDatum) {
  const int to = workingDatumIndex();
  const int from = fileDatum == kWorkingDatum ? to : fileDatum;
  if (from == to) return inFile;
  TCoord c = inFile;
  datumTable().changePointDatum(c, from, to);
  for (int k = 0; k < kRefinements; ++k) {
    TCoord back = c;
    datumTable().changePointDatum(back, to, from);
    c.lat += inFile.lat - back.lat;
    c.lon += inFile.lon - back.lon;
  }
  return c;
}

}  // namespace pixtrail
