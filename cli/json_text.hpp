#pragma once
// The text of a JSON document for the command line's output. File names and texts from files are
// bytes, not always UTF-8: a byte that is not part of a valid UTF-8 sequence becomes U+FFFD, so the
// document stays valid JSON whatever the names hold.

#include <charconv>
#include <nlohmann/json.hpp>
#include <string>

namespace pixtrail::cli {

inline std::string jsonText(const nlohmann::json& document) {
  return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

// A quantity summed or divided from trigonometry (lengths, speeds) to the digits a float holds.
// Each system's maths library may round the last bit of a double its own way; these digits are
// the same everywhere, and still finer than any receiver measures.
inline double measuredValue(double value) {
  char text[32];
  const auto written = std::to_chars(text, text + sizeof text, static_cast<float>(value));
  double shown = value;
  std::from_chars(text, written.ptr, shown);
  return shown;
}

}  // namespace pixtrail::cli
