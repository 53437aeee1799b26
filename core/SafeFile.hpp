#pragma once
// Replacing files without ever losing the old one. The new content goes to a temporary file of a
// fresh, unpredictable name in the target's folder (created exclusively, never through a link),
// is flushed to disk, and only then renamed over the target; the folder is flushed after. A
// failure at any step leaves the previous file as it was.
//
// What the user had is kept or the write is refused: the replacement gets the old file's owner,
// group and permissions (refused when they cannot be kept); a symbolic link, a file with other hard
// links, something that is not a regular file, and a read-only file (unless asked) are not replaced.
//
// Concurrent writers: each target is locked while it is replaced, so a second writer waits (and
// gives up after a while with a message); a temporary file exists only while its writer holds the
// folder's shared lock, so a temporary found while holding the folder exclusively was left by a
// killed run and is removed.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/input_limits.hpp"

namespace pixtrail {

struct SafeWriteOptions {
  // Refuse to write when the target exists (the new file is linked in atomically, so a file that
  // appears meanwhile is not overwritten either).
  bool mustNotExist = false;
  // Keep the previous content as NAME with its extension replaced by ".bak".
  bool keepBackup = false;
  // Replace a file whose write permission is off.
  bool allowReadOnly = false;
  // The replacement keeps the old file's access and modification times.
  bool keepModificationTime = false;
  // Remove temporaries of killed runs from the folder before writing. Batch writers turn this off
  // and call removeLeftoverTemporaries once per folder.
  bool removeLeftovers = true;
  // How long to wait for another writer of the same file.
  int lockWaitMs = limits::kLockWaitMs;
};

// What a file is written with: bytes in memory, then a range of another open file, which the
// kernel copies without it passing through the program (sharing blocks where the file system can).
struct FileContent {
  std::string_view head;
  int sourceFd = -1;
  std::uint64_t sourceOffset = 0;
  std::uint64_t sourceLength = 0;
};

// Writes `content` to `target` safely. On failure appends a message naming the file and the
// system's reason, removes the temporary file and returns false.
bool writeFileSafely(const std::filesystem::path& target, std::string_view content,
                     const SafeWriteOptions& options, std::string& message);
bool writeFileSafely(const std::filesystem::path& target, const FileContent& content,
                     const SafeWriteOptions& options, std::string& message);

// Many files written as one batch, with the safety of writeFileSafely paid for once rather than
// once per file. A new file (mustNotExist) gets its name as soon as it is complete: nothing of the
// user's is at risk. A replacement waits as a temporary until commit(), which makes every
// temporary durable together (one flush per file system), renames them, then flushes each folder
// once. Killed at any moment, every target is either untouched or completely replaced; the
// temporaries left behind are removed by the next write to the folder.
class SafeBatch {
 public:
  enum class Flush { AtEnd, None };  // None: nothing is flushed, as a plain copy does
  // Steps a commit goes through, told to the observer (fault-injection tests stop the process there).
  enum class Step { Written, Flushed, Renamed, FoldersFlushed };

  explicit SafeBatch(Flush flush = Flush::AtEnd);
  ~SafeBatch();  // temporaries never committed are removed
  SafeBatch(const SafeBatch&) = delete;
  SafeBatch& operator=(const SafeBatch&) = delete;

  // Thread-safe. False with the message when the target must not be written or the write failed.
  bool write(const std::filesystem::path& target, const FileContent& content, const SafeWriteOptions& options,
             std::string& message);
  // Returns the replacements that could not be made, each with its message.
  std::vector<std::pair<std::filesystem::path, std::string>> commit();

  void observeSteps(std::function<void(Step, std::size_t index)> observer);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// True for the names writeFileSafely gives its temporary files.
bool isTemporaryFileName(std::string_view name);

// Removes the temporaries that killed runs left in `folder`; the number removed. Does nothing while
// another program is writing there (its temporary may still be in use).
std::size_t removeLeftoverTemporaries(const std::filesystem::path& folder);

// Reads a whole file of at most `maxBytes`; false with "Error opening <name>" when it cannot be
// read, and a message when it is not a regular file (a FIFO or a device would never end) or larger.
bool readWholeFile(const std::filesystem::path& file, std::string& content, std::string& message,
                   std::size_t maxBytes = limits::kMaxFileBytes);

// Opens a regular file for reading at offsets; -1 with the same messages as readWholeFile.
int openRegularDescriptor(const std::filesystem::path& file, std::string& message, std::uint64_t& size,
                          std::size_t maxBytes = limits::kMaxFileBytes);

// Opens a regular file for reading piecewise; nullptr with the same messages as readWholeFile.
std::FILE* openRegularFile(const std::filesystem::path& file, std::string& message,
                           std::size_t maxBytes = limits::kMaxFileBytes);

}  // namespace pixtrail
