// The language file reader on arbitrary text.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "app/LanguageFile.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  pixtrail::LanguageFile language;
  language.loadText(std::string_view(reinterpret_cast<const char*>(data), size));
  language.format(51, "file.trk");
  language.text(291);
  return 0;
}
