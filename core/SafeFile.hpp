#pragma once
// Replacing files without ever losing the old one: the new content is written to a temporary file
// in the same folder, flushed to disk, and only then renamed over the target. A failure at any step
// leaves the previous file as it was.

#include <filesystem>
#include <string>
#include <string_view>

namespace pixtrail {

struct SafeWriteOptions {
  // Refuse to write when the target exists (the new file is linked in atomically, so a file that
  // appears meanwhile is not overwritten either).
  bool mustNotExist = false;
  // Keep the previous content as NAME with its extension replaced by ".bak".
  bool keepBackup = false;
  // Name of the temporary file: the target's name plus this suffix, in the same folder.
  std::string_view temporarySuffix = ".tmp";
};

// Writes `content` to `target` safely. On failure appends a message naming the file and the
// system's reason, removes the temporary file and returns false.
bool writeFileSafely(const std::filesystem::path& target, std::string_view content,
                     const SafeWriteOptions& options, std::string& message);

// Reads a whole file; false with "Error opening <name>" when it cannot be read.
bool readWholeFile(const std::filesystem::path& file, std::string& content, std::string& message);

}  // namespace pixtrail
