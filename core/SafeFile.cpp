#include "core/SafeFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

#include "core/messages.hpp"

namespace pixtrail {

namespace {

std::string systemReason() { return std::strerror(errno); }

bool writeAll(int fd, std::string_view content) {
  const char* p = content.data();
  std::size_t left = content.size();
  while (left > 0) {
    const ssize_t n = ::write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    p += n;
    left -= static_cast<std::size_t>(n);
  }
  return true;
}

// Makes the rename itself durable.
void syncFolder(const std::filesystem::path& folder) {
  const std::filesystem::path where = folder.empty() ? std::filesystem::path(".") : folder;
  const int fd = ::open(where.c_str(), O_RDONLY | O_DIRECTORY);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

}  // namespace

bool writeFileSafely(const std::filesystem::path& target, std::string_view content,
                     const SafeWriteOptions& options, std::string& message) {
  std::error_code ec;
  if (options.mustNotExist && std::filesystem::exists(std::filesystem::symlink_status(target, ec))) {
    appendMessage(message, "File already exists: " + target.string());
    return false;
  }
  std::filesystem::path temporary = target;
  temporary += std::string(options.temporarySuffix);
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    appendMessage(message, "Error creating " + temporary.string() + ": " + systemReason());
    return false;
  }
  const bool written = writeAll(fd, content) && ::fsync(fd) == 0;
  const std::string writeReason = written ? "" : systemReason();
  if (::close(fd) != 0 || !written) {
    appendMessage(message, "Error writing " + temporary.string() + ": " +
                               (written ? systemReason() : writeReason));
    ::unlink(temporary.c_str());
    return false;
  }
  // Keep the permissions of the file being replaced.
  struct stat old {};
  if (::stat(target.c_str(), &old) == 0) ::chmod(temporary.c_str(), old.st_mode & 07777);

  if (options.mustNotExist) {
    // link() fails if the name exists, so a file created meanwhile is never replaced.
    if (::link(temporary.c_str(), target.c_str()) != 0) {
      appendMessage(message, "Error saving " + target.string() + ": " + systemReason());
      ::unlink(temporary.c_str());
      return false;
    }
    ::unlink(temporary.c_str());
  } else {
    if (options.keepBackup && std::filesystem::exists(target, ec)) {
      std::filesystem::path backup = target;
      backup.replace_extension(".bak");
      std::filesystem::remove(backup, ec);
      if (::link(target.c_str(), backup.c_str()) != 0) {
        appendMessage(message, "Error keeping backup " + backup.string() + ": " + systemReason());
        ::unlink(temporary.c_str());
        return false;
      }
    }
    if (::rename(temporary.c_str(), target.c_str()) != 0) {
      appendMessage(message, "Error saving " + target.string() + ": " + systemReason());
      ::unlink(temporary.c_str());
      return false;
    }
  }
  syncFolder(target.parent_path());
  return true;
}

bool readWholeFile(const std::filesystem::path& file, std::string& content, std::string& message) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    appendMessage(message, "Error opening " + file.string());
    return false;
  }
  std::ostringstream buffer;
  buffer << in.rdbuf();
  if (in.bad()) {
    appendMessage(message, "Error reading " + file.string());
    return false;
  }
  content = std::move(buffer).str();
  return true;
}

}  // namespace pixtrail
