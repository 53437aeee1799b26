#include "core/SafeFile.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "core/messages.hpp"

namespace pixtrail {

namespace {

namespace fs = std::filesystem;

// ".pixtrail-XXXXXXXX.tmp": short enough beside a 255-byte name, hidden, and recognisable.
constexpr std::string_view kTemporaryPrefix = ".pixtrail-";
constexpr std::string_view kTemporarySuffix = ".tmp";
constexpr std::size_t kTemporaryRandomChars = 8;
constexpr std::string_view kNameChars = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
constexpr int kTemporaryAttempts = 64;
constexpr int kLockPollMs = 20;
// A target replaced while we waited for its lock is locked again; this many times at most.
constexpr int kLockAttempts = 16;

std::string systemReason(int error) { return std::strerror(error); }

// Closes a descriptor when it goes out of scope.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { reset(); }
  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  void reset(int fd = -1) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }
  int release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }

 private:
  int fd_;
};

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

std::string randomName() {
  std::array<unsigned char, kTemporaryRandomChars> bytes{};
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    // Without entropy the name is only unpredictable, not secret; O_EXCL keeps it safe anyway.
    const auto seed = static_cast<unsigned long long>(
        std::chrono::steady_clock::now().time_since_epoch().count() ^ (static_cast<long long>(::getpid()) << 32));
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(seed >> (i * 7));
  }
  std::string name(kTemporaryPrefix);
  for (unsigned char b : bytes) name += kNameChars[b % kNameChars.size()];
  name += kTemporarySuffix;
  return name;
}

fs::path folderOf(const fs::path& target) {
  const fs::path parent = target.parent_path();
  return parent.empty() ? fs::path(".") : parent;
}

// The folder for the *at calls. Reading rights are needed for its lock; without them the write
// still works, unlocked (no leftover is then removed either).
int openFolder(const fs::path& folder, bool& lockable) {
  int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  lockable = fd >= 0;
  if (fd < 0 && errno == EACCES) fd = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  return fd;
}

// Waits for an exclusive lock on `fd` for at most `waitMs`.
bool lockExclusive(int fd, int waitMs) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(waitMs);
  for (;;) {
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) return false;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(kLockPollMs));
  }
}

bool sameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

bool isReadOnly(int folder, const std::string& name, const struct stat& st) {
  if ((st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return true;  // root too: the user meant it
  return ::faccessat(folder, name.c_str(), W_OK, AT_EACCESS) != 0;
}

// Everything a write needs to know and hold about the file it replaces.
struct Target {
  std::string name;     // inside the folder
  bool exists = false;
  struct stat st {};
  Descriptor lock;  // the old file, locked while it is replaced
};

// Checks what stands at the target's name and locks it. False with the message when it must not be
// replaced (or another writer holds it too long).
bool inspectTarget(int folder, const fs::path& target, const SafeWriteOptions& options, Target& t,
                   std::string& message) {
  for (int attempt = 0; attempt < kLockAttempts; ++attempt) {
    if (::fstatat(folder, t.name.c_str(), &t.st, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno != ENOENT) {
        appendMessage(message, "Error opening " + target.string() + ": " + systemReason(errno));
        return false;
      }
      t.exists = false;
      return true;
    }
    t.exists = true;
    if (options.mustNotExist) {
      appendMessage(message, "File already exists: " + target.string());
      return false;
    }
    if (S_ISLNK(t.st.st_mode)) {
      appendMessage(message, "Not replacing a symbolic link (write to the file it points to): " + target.string());
      return false;
    }
    if (!S_ISREG(t.st.st_mode)) {
      appendMessage(message, "Not a regular file: " + target.string());
      return false;
    }
    if (t.st.st_nlink > 1) {
      appendMessage(message, "Not replacing a file with other hard links (they would keep the old content): " +
                                 target.string());
      return false;
    }
    if (!options.allowReadOnly && isReadOnly(folder, t.name, t.st)) {
      appendMessage(message, "File is read-only: " + target.string());
      return false;
    }
    t.lock.reset(::openat(folder, t.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!t.lock.valid()) {
      if (errno == ENOENT) continue;  // removed meanwhile: look again
      return true;                    // unreadable: replaced without a lock
    }
    if (!lockExclusive(t.lock.get(), options.lockWaitMs)) {
      appendMessage(message, "File is being written by another program: " + target.string());
      return false;
    }
    // The writer we waited for has replaced the file: lock what is there now.
    struct stat locked {};
    struct stat now {};
    if (::fstat(t.lock.get(), &locked) == 0 && ::fstatat(folder, t.name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
        sameFile(locked, now)) {
      t.st = now;
      return true;
    }
  }
  appendMessage(message, "File is being written by another program: " + target.string());
  return false;
}

// Gives the replacement what the user had: owner, group, permissions and, when asked, times.
bool carryOver(int fd, const fs::path& target, const Target& t, const SafeWriteOptions& options, std::string& message) {
  struct stat mine {};
  if (::fstat(fd, &mine) != 0) {
    appendMessage(message, "Error writing " + target.string() + ": " + systemReason(errno));
    return false;
  }
  if ((mine.st_uid != t.st.st_uid || mine.st_gid != t.st.st_gid) && ::fchown(fd, t.st.st_uid, t.st.st_gid) != 0) {
    appendMessage(message, "Cannot keep the owner and group of " + target.string() + ": " + systemReason(errno));
    return false;
  }
  // After fchown, which clears set-id bits.
  if (::fchmod(fd, t.st.st_mode & 07777) != 0) {
    appendMessage(message, "Cannot keep the permissions of " + target.string() + ": " + systemReason(errno));
    return false;
  }
  if (options.keepModificationTime) {
#ifdef _WIN32
    // The runtime's stat holds whole seconds only.
    const std::array<struct timespec, 2> times = {timespec{t.st.st_atime, 0}, timespec{t.st.st_mtime, 0}};
#else
    const std::array<struct timespec, 2> times = {t.st.st_atim, t.st.st_mtim};
#endif
    if (::futimens(fd, times.data()) != 0) {
      appendMessage(message, "Cannot keep the modification time of " + target.string() + ": " + systemReason(errno));
      return false;
    }
  }
  return true;
}

// File systems without hard links (FAT on memory cards and USB sticks, many network shares).
bool noHardLinks(int error) { return error == EPERM || error == EOPNOTSUPP || error == ENOTSUP || error == EMLINK; }

// Gives the complete temporary the target's name only if that name is still free.
bool linkInAsNew(int folder, const std::string& temporary, const std::string& name, int& error) {
  if (::linkat(folder, temporary.c_str(), folder, name.c_str(), 0) == 0) {
    ::unlinkat(folder, temporary.c_str(), 0);
    return true;
  }
  error = errno;
  if (!noHardLinks(error)) return false;
  if (::renameat2(folder, temporary.c_str(), folder, name.c_str(), RENAME_NOREPLACE) == 0) return true;
  error = errno;
  if (error != EINVAL && error != ENOSYS) return false;
  // Neither is supported: the check and the rename are two steps, the best such a file system allows.
  struct stat st {};
  if (::fstatat(folder, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
    error = EEXIST;
    return false;
  }
  if (::renameat(folder, temporary.c_str(), folder, name.c_str()) == 0) return true;
  error = errno;
  return false;
}

std::size_t sweepFolder(int folder) {
  const int copy = ::dup(folder);
  if (copy < 0) return 0;
  DIR* dir = ::fdopendir(copy);
  if (dir == nullptr) {
    ::close(copy);
    return 0;
  }
  std::size_t removed = 0;
  while (const dirent* entry = ::readdir(dir)) {
    if (!isTemporaryFileName(entry->d_name)) continue;
    struct stat st {};
    if (::fstatat(folder, entry->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
    // A link planted under such a name goes too; unlinking never touches what it points to.
    if (!S_ISREG(st.st_mode) && !S_ISLNK(st.st_mode)) continue;
    if (::unlinkat(folder, entry->d_name, 0) == 0) ++removed;
  }
  ::closedir(dir);
  return removed;
}

}  // namespace

bool isTemporaryFileName(std::string_view name) {
  if (name.size() != kTemporaryPrefix.size() + kTemporaryRandomChars + kTemporarySuffix.size()) return false;
  if (!name.starts_with(kTemporaryPrefix) || !name.ends_with(kTemporarySuffix)) return false;
  const std::string_view middle = name.substr(kTemporaryPrefix.size(), kTemporaryRandomChars);
  return middle.find_first_not_of(kNameChars) == std::string_view::npos;
}

std::size_t removeLeftoverTemporaries(const fs::path& folder) {
  Descriptor dir(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!dir.valid() || ::flock(dir.get(), LOCK_EX | LOCK_NB) != 0) return 0;
  return sweepFolder(dir.get());
}

namespace {

bool checkName(const fs::path& target, std::string& name, std::string& message) {
  name = target.filename().string();
  if (name.empty() || name == "." || name == "..") {
    appendMessage(message, "Error creating " + target.string() + ": not a file name");
    return false;
  }
  return true;
}

bool createTemporary(int folder, const fs::path& folderPath, const fs::path& target, bool replacing,
                     std::string& temporary, Descriptor& fd, std::string& message) {
  for (int attempt = 0; attempt < kTemporaryAttempts && !fd.valid(); ++attempt) {
    temporary = randomName();
    // Private until complete; a new file then gets the usual permissions.
    fd.reset(::openat(folder, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                      replacing ? 0600 : 0666));
    if (!fd.valid() && errno != EEXIST) break;
  }
  if (fd.valid()) return true;
  appendMessage(message, "Error creating a temporary file in " + folderPath.string() + " for " + target.string() +
                             ": " + systemReason(errno));
  return false;
}

// The rest of another file, copied by the kernel where it can (no pass through the program, and
// shared blocks on file systems that clone), else through a buffer.
bool copyRange(int from, std::uint64_t offset, std::uint64_t length, int to, int& error) {
#if defined(__linux__)
  auto in = static_cast<off_t>(offset);
  while (length > 0) {
    const std::size_t chunk = static_cast<std::size_t>(std::min<std::uint64_t>(length, std::uint64_t{1} << 30));
    const ssize_t n = ::copy_file_range(from, &in, to, nullptr, chunk, 0);
    if (n > 0) {
      length -= static_cast<std::uint64_t>(n);
      continue;
    }
    if (n == 0) {
      error = EIO;  // the source ended before its measured size: it changed while being copied
      return false;
    }
    if (errno == EINTR) continue;
    if (errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP && errno != EPERM) {
      error = errno;
      return false;
    }
    break;  // not between these files: copy through a buffer from where it stopped
  }
  offset = static_cast<std::uint64_t>(in);
#endif
  constexpr std::size_t kBuffer = 256 * 1024;
  std::string buffer(static_cast<std::size_t>(std::min<std::uint64_t>(length, kBuffer)), '\0');
  while (length > 0) {
    const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(length, buffer.size()));
    const ssize_t n = ::pread(from, buffer.data(), want, static_cast<off_t>(offset));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      error = n == 0 ? EIO : errno;
      return false;
    }
    if (!writeAll(to, std::string_view(buffer.data(), static_cast<std::size_t>(n)))) {
      error = errno;
      return false;
    }
    offset += static_cast<std::uint64_t>(n);
    length -= static_cast<std::uint64_t>(n);
  }
  return true;
}

bool fill(int fd, const FileContent& content, const fs::path& target, std::string& message) {
  int error = 0;
  if (!writeAll(fd, content.head)) error = errno;
  if (error == 0 && content.sourceFd >= 0 && content.sourceLength > 0)
    copyRange(content.sourceFd, content.sourceOffset, content.sourceLength, fd, error);
  if (error == 0) return true;
  appendMessage(message, "Error writing " + target.string() + ": " + systemReason(error));
  return false;
}

// Gives the complete temporary the target's name: as a new file (never replacing one that appeared
// meanwhile), or over the old file, kept as a backup when asked. The temporary goes on failure.
bool install(int folder, const std::string& temporary, const fs::path& target, const Target& t,
             const SafeWriteOptions& options, std::string& message) {
  const auto discard = [&] { ::unlinkat(folder, temporary.c_str(), 0); };
  if (options.mustNotExist || !t.exists) {
    int error = 0;
    if (!linkInAsNew(folder, temporary, t.name, error)) {
      discard();
      appendMessage(message, error == EEXIST ? "File already exists: " + target.string()
                                             : "Error saving " + target.string() + ": " + systemReason(error));
      return false;
    }
    return true;
  }
  if (options.keepBackup) {
    fs::path backup = target;
    backup.replace_extension(".bak");
    const std::string backupName = backup.filename().string();
    if (backupName != t.name) {
      ::unlinkat(folder, backupName.c_str(), 0);
      // A hard link keeps the target in place until the rename; without them, the old file
      // moves aside first.
      if (::linkat(folder, t.name.c_str(), folder, backupName.c_str(), 0) != 0 &&
          !(noHardLinks(errno) && ::renameat(folder, t.name.c_str(), folder, backupName.c_str()) == 0)) {
        appendMessage(message, "Error keeping backup " + backup.string() + ": " + systemReason(errno));
        discard();
        return false;
      }
    }
  }
  if (::renameat(folder, temporary.c_str(), folder, t.name.c_str()) != 0) {
    appendMessage(message, "Error saving " + target.string() + ": " + systemReason(errno));
    discard();
    return false;
  }
  return true;
}

}  // namespace

bool writeFileSafely(const fs::path& target, std::string_view content, const SafeWriteOptions& options,
                     std::string& message) {
  return writeFileSafely(target, FileContent{content}, options, message);
}

bool writeFileSafely(const fs::path& target, const FileContent& content, const SafeWriteOptions& options,
                     std::string& message) {
  Target t;
  if (!checkName(target, t.name, message)) return false;
  const fs::path folderPath = folderOf(target);
  if (options.removeLeftovers) removeLeftoverTemporaries(folderPath);
  bool lockable = false;
  Descriptor folder(openFolder(folderPath, lockable));
  if (!folder.valid()) {
    appendMessage(message, "Error creating " + target.string() + ": " + systemReason(errno));
    return false;
  }
  // Shared: many writers at once, but no sweep while our temporary exists.
  if (lockable) ::flock(folder.get(), LOCK_SH);
  if (!inspectTarget(folder.get(), target, options, t, message)) return false;

  std::string temporary;
  Descriptor fd;
  if (!createTemporary(folder.get(), folderPath, target, t.exists, temporary, fd, message)) return false;
  const auto discard = [&] { ::unlinkat(folder.get(), temporary.c_str(), 0); };
  if (!fill(fd.get(), content, target, message)) {
    discard();
    return false;
  }
  if (::fsync(fd.get()) != 0) {
    appendMessage(message, "Error writing " + target.string() + ": " + systemReason(errno));
    discard();
    return false;
  }
  if (t.exists && !carryOver(fd.get(), target, t, options, message)) {
    discard();
    return false;
  }
  if (::close(fd.release()) != 0) {
    appendMessage(message, "Error writing " + target.string() + ": " + systemReason(errno));
    discard();
    return false;
  }
  if (!install(folder.get(), temporary, target, t, options, message)) return false;
  // Makes the rename itself durable.
  if (lockable) ::fsync(folder.get());
  return true;
}

namespace {

bool changedSince(const struct stat& before, const struct stat& now) {
  if (!sameFile(before, now) || before.st_mode != now.st_mode || before.st_uid != now.st_uid ||
      before.st_gid != now.st_gid)
    return true;
#ifdef _WIN32
  return before.st_mtime != now.st_mtime;  // whole seconds only there
#else
  return before.st_mtim.tv_sec != now.st_mtim.tv_sec || before.st_mtim.tv_nsec != now.st_mtim.tv_nsec;
#endif
}

// Starts writing the file out now, without waiting, so that the batch's one flush finds little left.
void startWriteback(int fd) {
#if defined(__linux__)
  ::sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);
#else
  (void)fd;
#endif
}

}  // namespace

struct SafeBatch::State {
  struct Folder {
    fs::path path;
    Descriptor fd;
    bool lockable = false;
    dev_t device = 0;
  };
  // A replacement waiting for the commit.
  struct Pending {
    Folder* folder;
    fs::path target;
    std::string name;
    std::string temporary;
    struct stat st;
    SafeWriteOptions options;
  };

  Flush flush;
  std::mutex lock;
  std::map<fs::path, std::unique_ptr<Folder>> folders;
  std::vector<Pending> pending;
  std::vector<std::pair<Folder*, std::string>> created;  // new files, named already
  std::size_t written = 0;
  std::function<void(Step, std::size_t)> observer;

  void tell(Step step, std::size_t index) const {
    if (observer) observer(step, index);
  }

  Folder* folderFor(const fs::path& path, const fs::path& target, std::string& message) {
    const std::lock_guard guard(lock);
    auto& entry = folders[path];
    if (!entry) {
      auto folder = std::make_unique<Folder>();
      folder->path = path;
      folder->fd.reset(openFolder(path, folder->lockable));
      struct stat st {};
      if (!folder->fd.valid() || ::fstat(folder->fd.get(), &st) != 0) {
        appendMessage(message, "Error creating " + target.string() + ": " + systemReason(errno));
        folders.erase(path);
        return nullptr;
      }
      folder->device = st.st_dev;
      // Held until the batch ends: its temporaries are in use until then.
      if (folder->lockable) ::flock(folder->fd.get(), LOCK_SH);
      entry = std::move(folder);
    }
    return entry.get();
  }

  // Every file written so far, durable: one flush per file system where the system has one.
  bool flushAll() {
#if defined(__linux__)
    std::set<dev_t> done;
    bool ok = true;
    for (const auto& [path, folder] : folders)
      if (done.insert(folder->device).second && ::syncfs(folder->fd.get()) != 0) ok = false;
    if (ok) return true;
#endif
    bool ok2 = true;
    auto flushOne = [&](const Folder& folder, const std::string& name) {
      Descriptor fd(::openat(folder.fd.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
      if (!fd.valid() || ::fsync(fd.get()) != 0) ok2 = false;
    };
    for (const Pending& p : pending) flushOne(*p.folder, p.temporary);
    for (const auto& [folder, name] : created) flushOne(*folder, name);
    return ok2;
  }
};

SafeBatch::SafeBatch(Flush flush) : state_(std::make_unique<State>()) { state_->flush = flush; }

SafeBatch::~SafeBatch() {
  for (const State::Pending& p : state_->pending) ::unlinkat(p.folder->fd.get(), p.temporary.c_str(), 0);
}

void SafeBatch::observeSteps(std::function<void(Step, std::size_t)> observer) { state_->observer = std::move(observer); }

bool SafeBatch::write(const fs::path& target, const FileContent& content, const SafeWriteOptions& options,
                      std::string& message) {
  Target t;
  if (!checkName(target, t.name, message)) return false;
  const fs::path folderPath = folderOf(target);
  State::Folder* folder = state_->folderFor(folderPath, target, message);
  if (folder == nullptr) return false;
  const int dir = folder->fd.get();
  if (!inspectTarget(dir, target, options, t, message)) return false;

  std::string temporary;
  Descriptor fd;
  if (!createTemporary(dir, folderPath, target, t.exists, temporary, fd, message)) return false;
  const auto discard = [&] { ::unlinkat(dir, temporary.c_str(), 0); };
  if (!fill(fd.get(), content, target, message) || (t.exists && !carryOver(fd.get(), target, t, options, message))) {
    discard();
    return false;
  }
  if (state_->flush == Flush::AtEnd) startWriteback(fd.get());
  if (::close(fd.release()) != 0) {
    appendMessage(message, "Error writing " + target.string() + ": " + systemReason(errno));
    discard();
    return false;
  }
  const bool now = options.mustNotExist || !t.exists;
  if (now && !install(dir, temporary, target, t, options, message)) return false;
  std::size_t index = 0;
  {
    const std::lock_guard guard(state_->lock);
    if (now) state_->created.emplace_back(folder, t.name);
    else state_->pending.push_back({folder, target, t.name, temporary, t.st, options});
    index = state_->written++;
  }
  state_->tell(Step::Written, index);
  return true;
}

std::vector<std::pair<fs::path, std::string>> SafeBatch::commit() {
  State& s = *state_;
  const bool flush = s.flush == Flush::AtEnd;
  std::vector<std::pair<fs::path, std::string>> failed;
  if (flush && !s.flushAll()) {
    // Nothing is renamed over what the user has unless it is known to be on disk.
    for (const State::Pending& p : s.pending) {
      ::unlinkat(p.folder->fd.get(), p.temporary.c_str(), 0);
      failed.emplace_back(p.target, "Error writing " + p.target.string() + ": " + systemReason(errno));
    }
    s.pending.clear();
  }
  s.tell(Step::Flushed, 0);
  for (std::size_t i = 0; i < s.pending.size(); ++i) {
    const State::Pending& p = s.pending[i];
    const int dir = p.folder->fd.get();
    Target t;
    t.name = p.name;
    std::string message;
    bool ok = inspectTarget(dir, p.target, p.options, t, message);
    if (ok && t.exists && changedSince(p.st, t.st)) {
      // Replaced or changed since the temporary was made: what the user has now is what is kept.
      Descriptor fd(::openat(dir, p.temporary.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
      ok = fd.valid() && carryOver(fd.get(), p.target, t, p.options, message) && (!flush || ::fsync(fd.get()) == 0);
      if (!ok && message.empty()) appendMessage(message, "Error writing " + p.target.string() + ": " + systemReason(errno));
    }
    if (ok) ok = install(dir, p.temporary, p.target, t, p.options, message);
    else ::unlinkat(dir, p.temporary.c_str(), 0);
    if (!ok) failed.emplace_back(p.target, message);
    s.tell(Step::Renamed, i);
  }
  s.pending.clear();
  if (flush)
    for (const auto& [path, folder] : s.folders)
      if (folder->lockable) ::fsync(folder->fd.get());
  s.tell(Step::FoldersFlushed, 0);
  return failed;
}

namespace {

int openRegular(const fs::path& file, std::string& message, std::size_t maxBytes, std::size_t* size) {
  // Non-blocking, so that opening a FIFO does not wait for a writer before it can be refused.
  Descriptor fd(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (!fd.valid()) {
    appendMessage(message, "Error opening " + file.string());
    return -1;
  }
  struct stat st {};
  if (::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) {
    appendMessage(message, "Not a regular file: " + file.string());
    return -1;
  }
  if (static_cast<std::uintmax_t>(st.st_size) > maxBytes) {
    appendMessage(message, "File too large: " + file.string() + " (over " + std::to_string(maxBytes / limits::kMiB) +
                               " MiB)");
    return -1;
  }
  const int flags = ::fcntl(fd.get(), F_GETFL);
  if (flags >= 0) ::fcntl(fd.get(), F_SETFL, flags & ~O_NONBLOCK);
  if (size) *size = static_cast<std::size_t>(st.st_size);
  return fd.release();
}

}  // namespace

bool readWholeFile(const fs::path& file, std::string& content, std::string& message, std::size_t maxBytes) {
  std::size_t size = 0;
  Descriptor fd(openRegular(file, message, maxBytes, &size));
  if (!fd.valid()) return false;
  std::string bytes;
  bytes.resize(size);
  std::size_t have = 0;
  for (;;) {
    if (have == bytes.size()) {
      // The file may have grown since it was measured.
      if (bytes.size() >= maxBytes + 1) break;
      bytes.resize(std::min(maxBytes + 1, std::max<std::size_t>(bytes.size() * 2, 4096)));
    }
    const ssize_t n = ::read(fd.get(), bytes.data() + have, bytes.size() - have);
    if (n < 0) {
      if (errno == EINTR) continue;
      appendMessage(message, "Error reading " + file.string());
      return false;
    }
    if (n == 0) break;
    have += static_cast<std::size_t>(n);
  }
  if (have > maxBytes) {
    appendMessage(message, "File too large: " + file.string() + " (over " + std::to_string(maxBytes / limits::kMiB) +
                               " MiB)");
    return false;
  }
  bytes.resize(have);
  content = std::move(bytes);
  return true;
}

int openRegularDescriptor(const fs::path& file, std::string& message, std::uint64_t& size, std::size_t maxBytes) {
  std::size_t bytes = 0;
  const int fd = openRegular(file, message, maxBytes, &bytes);
  size = bytes;
  return fd;
}

std::FILE* openRegularFile(const fs::path& file, std::string& message, std::size_t maxBytes) {
  Descriptor fd(openRegular(file, message, maxBytes, nullptr));
  if (!fd.valid()) return nullptr;
  std::FILE* stream = ::fdopen(fd.get(), "rb");
  if (stream == nullptr) {
    appendMessage(message, "Error opening " + file.string());
    return nullptr;
  }
  fd.release();
  return stream;
}

}  // namespace pixtrail
