#pragma once
// The text of a JSON document for the command line's output. File names and texts from files are
// bytes, not always UTF-8: a byte that is not part of a valid UTF-8 sequence becomes U+FFFD, so the
// document stays valid JSON whatever the names hold.

#include <nlohmann/json.hpp>
#include <string>

namespace pixtrail::cli {

inline std::string jsonText(const nlohmann::json& document) {
  return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace pixtrail::cli
