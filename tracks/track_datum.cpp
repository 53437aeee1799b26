#include "tracks/track_datum.hpp"

#include "core/messages.hpp"
#include "core/text.hpp"

namespace pixtrail {

namespace {
constexpr std::string_view kWgs84Name = "WGS 84";
}

bool datumNameForFile(int index, std::string& name, std::string& message) {
  if (index != kDatumWgs84 && index != kWorkingDatum) {
    appendMessage(message, "Unknown datum index " + std::to_string(index));
    return false;
  }
  name = kWgs84Name;
  return true;
}

bool datumFromFileName(std::string_view name, int& index, std::string& message) {
  if (!equalsIgnoreCase(trim(name), kWgs84Name)) {
    appendMessage(message, "Unknown datum: " + std::string(name));
    return false;
  }
  index = kDatumWgs84;
  return true;
}

TCoord toFileDatum(const TCoord& working, int) { return working; }
TCoord fromFileDatum(const TCoord& inFile, int) { return inFile; }

}  // namespace pixtrail
