#include "app/LanguageFile.hpp"

#include "core/SafeFile.hpp"
#include "core/text.hpp"

namespace pixtrail {

bool LanguageFile::load(const std::filesystem::path& file, std::string& message) {
  std::string content;
  if (!readWholeFile(file, content, message, limits::kMaxSettingsFileBytes)) return false;
  return loadText(content);
}

bool LanguageFile::loadText(std::string_view text) {
  std::map<int, std::string> texts;
  for (std::string_view line : splitFields(text, '\n')) {
    line = trim(line);
    if (line.empty() || line.front() == '#') continue;
    const std::size_t eq = line.find('=');
    if (eq == std::string_view::npos) continue;
    const auto number = parseInteger(line.substr(0, eq));
    if (!number || *number < 0 || *number > 1'000'000) continue;
    // The file is UTF-8 for its editors; the program keeps 8-bit text.
    texts[static_cast<int>(*number)] = utf8ToLatin1(line.substr(eq + 1));
  }
  texts_ = std::move(texts);
  return true;
}

std::string LanguageFile::text(int number) const {
  const auto it = texts_.find(number);
  return it == texts_.end() ? "[" + std::to_string(number) + "]" : it->second;
}

std::string LanguageFile::format(int number, std::string_view argument) const {
  return fillMessage(text(number), argument);
}

}  // namespace pixtrail
