#pragma once
// The language file: the user-visible messages that the program takes by number. One message
// per line, "NUMBER=TEXT"; lines starting with "#" and blank lines are ignored. "%s" in a text
// is replaced by the argument given when the message is formatted.

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "core/messages.hpp"

namespace pixtrail {

class LanguageFile {
 public:
  // Replaces the loaded messages. False with "Error opening NAME" when the file cannot be read;
  // a line that is not NUMBER=TEXT is skipped.
  bool load(const std::filesystem::path& file, std::string& message);
  bool loadText(std::string_view text);
  // The message, or "[NUMBER]" when the file has none (so a missing text shows, not crashes).
  std::string text(int number) const;
  // The message with its "%s" replaced by `argument`.
  std::string format(int number, std::string_view argument) const;
  std::size_t size() const { return texts_.size(); }

 private:
  std::map<int, std::string> texts_;
};

}  // namespace pixtrail
