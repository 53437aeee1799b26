#ifdef _WIN32

#include <windows.h>
#include <ntsecapi.h>  // RtlGenRandom

#include <cerrno>
#include <cstdarg>
#include <string>
#include <sys/file.h>
#include <sys/random.h>

#include "core/posix_compat.hpp"

namespace {

// Bits of ours that the runtime's open must not see.
constexpr int kOwnOpenFlags = O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_PATH;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
// FILETIME counts 100 ns steps from 1601-01-01; time_t seconds from 1970-01-01.
constexpr long long kFileTimeUnixEpoch = 116444736000000000LL;
constexpr long long kFileTimeStepsPerSecond = 10000000LL;

int failWith(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME: errno = ENOENT; break;
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS: errno = EEXIST; break;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION: errno = EACCES; break;
    case ERROR_LOCK_VIOLATION:
    case ERROR_IO_PENDING: errno = EWOULDBLOCK; break;
    case ERROR_NOT_SAME_DEVICE: errno = EXDEV; break;
    case ERROR_DIRECTORY: errno = ENOTDIR; break;
    case ERROR_TOO_MANY_LINKS: errno = EMLINK; break;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL: errno = ENOSPC; break;
    case ERROR_WRITE_PROTECT: errno = EROFS; break;
    case ERROR_INVALID_HANDLE: errno = EBADF; break;
    // FAT and many network shares have no hard links.
    case ERROR_INVALID_FUNCTION:
    case ERROR_NOT_SUPPORTED: errno = EOPNOTSUPP; break;
    default: errno = EIO;
  }
  return -1;
}

HANDLE handleOf(int fd) { return reinterpret_cast<HANDLE>(::_get_osfhandle(fd)); }

bool widen(const char* utf8, std::wstring& out) {
  const int n = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, nullptr, 0);
  if (n <= 0) {
    errno = EINVAL;
    return false;
  }
  out.assign(static_cast<std::size_t>(n), L'\0');
  ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8, -1, out.data(), n);
  out.pop_back();
  return true;
}

// The folder an O_DIRECTORY descriptor was opened on (empty for AT_FDCWD).
bool folderPathOf(int folder, std::wstring& out) {
  out.clear();
  if (folder == AT_FDCWD) return true;
  const HANDLE h = handleOf(folder);
  if (h == INVALID_HANDLE_VALUE) {
    errno = EBADF;
    return false;
  }
  const DWORD n = ::GetFinalPathNameByHandleW(h, nullptr, 0, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
  if (n == 0) return failWith(::GetLastError()) == 0;
  out.assign(n, L'\0');
  const DWORD written = ::GetFinalPathNameByHandleW(h, out.data(), n, FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
  if (written == 0 || written >= n) return failWith(::GetLastError()) == 0;
  out.resize(written);
  return true;
}

bool resolve(int folder, const char* name, std::wstring& path) {
  std::wstring base, leaf;
  if (!folderPathOf(folder, base) || !widen(name, leaf)) return false;
  path = base.empty() ? leaf : base + L'\\' + leaf;
  return true;
}

time_t unixTime(const FILETIME& t) {
  const long long steps = static_cast<long long>((static_cast<unsigned long long>(t.dwHighDateTime) << 32) |
                                                 t.dwLowDateTime);
  return static_cast<time_t>((steps - kFileTimeUnixEpoch) / kFileTimeStepsPerSecond);
}

FILETIME fileTime(const struct timespec& t) {
  const unsigned long long steps = static_cast<unsigned long long>(
      kFileTimeUnixEpoch + static_cast<long long>(t.tv_sec) * kFileTimeStepsPerSecond + t.tv_nsec / 100);
  return FILETIME{static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
}

// What fstat and fstatat report, from the handle: the file index and volume stand in for the inode
// and device (folded to the runtime's 16-bit st_ino), so that two names of one file compare equal.
int fillStat(HANDLE h, bool isLink, struct stat* out) {
  BY_HANDLE_FILE_INFORMATION info{};
  if (!::GetFileInformationByHandle(h, &info)) return failWith(::GetLastError());
  *out = {};
  const unsigned long long index = (static_cast<unsigned long long>(info.nFileIndexHigh) << 32) | info.nFileIndexLow;
  out->st_ino = static_cast<decltype(out->st_ino)>(index ^ (index >> 16) ^ (index >> 32) ^ (index >> 48));
  out->st_dev = static_cast<decltype(out->st_dev)>(info.dwVolumeSerialNumber);
  int mode = S_IREAD | ((info.dwFileAttributes & FILE_ATTRIBUTE_READONLY) ? 0 : S_IWRITE);
  if (isLink) mode = S_IFLNK | 0777;
  else if (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) mode |= S_IFDIR | S_IEXEC;
  else mode |= S_IFREG;
  out->st_mode = static_cast<unsigned short>(mode);
  out->st_nlink = static_cast<short>(info.nNumberOfLinks);
  out->st_size = static_cast<decltype(out->st_size)>((static_cast<unsigned long long>(info.nFileSizeHigh) << 32) |
                                                     info.nFileSizeLow);
  out->st_atime = unixTime(info.ftLastAccessTime);
  out->st_mtime = unixTime(info.ftLastWriteTime);
  out->st_ctime = unixTime(info.ftCreationTime);
  return 0;
}

DWORD attributesOf(const std::wstring& path) { return ::GetFileAttributesW(path.c_str()); }

// Windows refuses to replace or delete a read-only file, where POSIX only asks about the folder:
// the attribute is cleared for the step and put back if the step fails.
template <typename Step>
BOOL evenIfReadOnly(const std::wstring& path, Step step) {
  if (step()) return TRUE;
  const DWORD error = ::GetLastError();
  const DWORD attributes = attributesOf(path);
  if (error != ERROR_ACCESS_DENIED || attributes == INVALID_FILE_ATTRIBUTES ||
      !(attributes & FILE_ATTRIBUTE_READONLY) || !::SetFileAttributesW(path.c_str(), attributes & ~FILE_ATTRIBUTE_READONLY))
    return ::SetLastError(error), FALSE;
  if (step()) return TRUE;
  const DWORD again = ::GetLastError();
  ::SetFileAttributesW(path.c_str(), attributes);
  ::SetLastError(again);
  return FALSE;
}

int descriptorOf(HANDLE h, int flags) {
  if (h == INVALID_HANDLE_VALUE) return failWith(::GetLastError());
  const int fd = ::_open_osfhandle(reinterpret_cast<intptr_t>(h), flags);
  if (fd < 0) ::CloseHandle(h);
  return fd;
}

}  // namespace

int pixtrail_fstat(int fd, struct stat* out) {
  const HANDLE h = handleOf(fd);
  if (h != INVALID_HANDLE_VALUE && ::GetFileType(h) == FILE_TYPE_DISK) return fillStat(h, false, out);
  struct _stat64 info;
  if (::_fstat64(fd, &info) != 0) return -1;
  *out = {};
  out->st_mode = info.st_mode;
  out->st_nlink = 1;
  out->st_size = static_cast<decltype(out->st_size)>(info.st_size);
  return 0;
}

int open(const wchar_t* path, int flags, int mode) {
  const DWORD attributes = ::GetFileAttributesW(path);
  const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
  const bool folder = exists && (attributes & FILE_ATTRIBUTE_DIRECTORY);
  if ((flags & O_NOFOLLOW) && exists && (attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
    errno = ELOOP;
    return -1;
  }
  if (flags & (O_DIRECTORY | O_PATH) || folder) {
    if (!folder) {
      errno = exists ? ENOTDIR : ENOENT;
      return -1;
    }
    if (flags & (O_WRONLY | O_RDWR)) {
      errno = EISDIR;
      return -1;
    }
    // A folder opens only through its handle, for the *at calls.
    return descriptorOf(::CreateFileW(path, FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS, nullptr),
                        _O_RDONLY);
  }
  if ((flags & (O_WRONLY | O_RDWR | O_CREAT)) == 0) {
    // Readers share deletion, so that a file can be replaced while someone reads or locks it.
    return descriptorOf(::CreateFileW(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                      nullptr),
                        _O_RDONLY | _O_BINARY);
  }
  return ::_wopen(path, (flags & ~kOwnOpenFlags) | _O_BINARY, mode ? (_S_IREAD | _S_IWRITE) : 0);
}

int stat(const wchar_t* path, struct stat* out) {
  struct _stat64 info;
  if (::_wstat64(path, &info) != 0) return -1;
  *out = {};
  out->st_mode = info.st_mode;
  out->st_size = static_cast<decltype(out->st_size)>(info.st_size);
  out->st_mtime = static_cast<decltype(out->st_mtime)>(info.st_mtime);
  return 0;
}

int chmod(const wchar_t* path, int mode) { return ::_wchmod(path, mode & (_S_IREAD | _S_IWRITE)); }

int unlink(const wchar_t* path) { return ::_wunlink(path); }

int link(const wchar_t* existing, const wchar_t* created) {
  return ::CreateHardLinkW(created, existing, nullptr) ? 0 : failWith(::GetLastError());
}

int rename(const wchar_t* from, const wchar_t* to) {
  return ::MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ? 0 : failWith(::GetLastError());
}

int fsync(int fd) { return ::_commit(fd); }

FILE* fopen(const wchar_t* path, const char* mode) {
  wchar_t wide[16] = {};
  for (int i = 0; i < 15 && mode[i]; ++i) wide[i] = static_cast<wchar_t>(mode[i]);
  return ::_wfopen(path, wide);
}

FILE* fmemopen(void* buffer, size_t size, const char* mode) {
  // The runtime has no memory streams: a temporary file (deleted on close) holds the bytes.
  if (mode[0] != 'r') {
    errno = EINVAL;
    return nullptr;
  }
  FILE* file = ::tmpfile();
  if (!file) return nullptr;
  if (::fwrite(buffer, 1, size, file) != size) {
    ::fclose(file);
    return nullptr;
  }
  ::rewind(file);
  return file;
}

ssize_t pread(int fd, void* buffer, size_t count, off_t offset) {
  // Descriptors are not shared between threads here, so seeking first is safe.
  if (::_lseeki64(fd, offset, SEEK_SET) < 0) return -1;
  return ::_read(fd, buffer, static_cast<unsigned>(count));
}

int openat(int folder, const char* name, int flags, int mode) {
  std::wstring path;
  return resolve(folder, name, path) ? open(path.c_str(), flags, mode) : -1;
}

int fstatat(int folder, const char* name, struct stat* out, int flags) {
  std::wstring path;
  if (!resolve(folder, name, path)) return -1;
  const DWORD attributes = attributesOf(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return failWith(::GetLastError());
  const bool link = (flags & AT_SYMLINK_NOFOLLOW) && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
  const HANDLE h = ::CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS | (link ? FILE_FLAG_OPEN_REPARSE_POINT : 0), nullptr);
  if (h == INVALID_HANDLE_VALUE) return failWith(::GetLastError());
  const int result = fillStat(h, link, out);
  ::CloseHandle(h);
  return result;
}

int faccessat(int folder, const char* name, int mode, int) {
  std::wstring path;
  return resolve(folder, name, path) ? ::_waccess(path.c_str(), mode) : -1;
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int) {
  std::wstring source, target;
  if (!resolve(fromFolder, from, source) || !resolve(toFolder, to, target)) return -1;
  return link(source.c_str(), target.c_str());
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) {
  std::wstring source, target;
  if (!resolve(fromFolder, from, source) || !resolve(toFolder, to, target)) return -1;
  return evenIfReadOnly(target, [&] {
           if (::MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
             return TRUE;
           // A target that is open (a reader, or the writer's own lock on it) cannot be renamed
           // over; ReplaceFile moves it aside first, which its openers' FILE_SHARE_DELETE allows.
           const DWORD error = ::GetLastError();
           if (error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION) return FALSE;
           if (::ReplaceFileW(target.c_str(), source.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr,
                              nullptr))
             return TRUE;
           ::SetLastError(error);
           return FALSE;
         })
             ? 0
             : failWith(::GetLastError());
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  if (!(flags & RENAME_NOREPLACE)) return renameat(fromFolder, from, toFolder, to);
  std::wstring source, target;
  if (!resolve(fromFolder, from, source) || !resolve(toFolder, to, target)) return -1;
  // Without MOVEFILE_REPLACE_EXISTING the move fails, in one step, when the name is taken.
  return ::MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_WRITE_THROUGH) ? 0 : failWith(::GetLastError());
}

int unlinkat(int folder, const char* name, int) {
  std::wstring path;
  if (!resolve(folder, name, path)) return -1;
  return evenIfReadOnly(path, [&] { return ::DeleteFileW(path.c_str()); }) ? 0 : failWith(::GetLastError());
}

DIR* fdopendir(int folder) {
  std::wstring path;
  if (!folderPathOf(folder, path)) return nullptr;
  if (path.rfind(L"\\\\?\\", 0) == 0) path.erase(0, 4);
  // The runtime lists folders by their name in the ANSI code page; one it cannot spell is not
  // listed rather than listed wrongly.
  BOOL lossy = FALSE;
  const int n = ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, path.c_str(), -1, nullptr, 0, nullptr, &lossy);
  if (n <= 0 || lossy) {
    errno = ENOENT;
    return nullptr;
  }
  std::string narrow(static_cast<std::size_t>(n), '\0');
  ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, path.c_str(), -1, narrow.data(), n, nullptr, nullptr);
  DIR* dir = ::opendir(narrow.c_str());
  if (dir) ::_close(folder);
  return dir;
}

int fchown(int, int, int) { return 0; }

int fchmod(int fd, int mode) {
  FILE_BASIC_INFO info{};
  const HANDLE h = handleOf(fd);
  if (!::GetFileInformationByHandleEx(h, FileBasicInfo, &info, sizeof info)) return failWith(::GetLastError());
  DWORD attributes = info.FileAttributes;
  attributes = (mode & S_IWRITE) ? attributes & ~FILE_ATTRIBUTE_READONLY : attributes | FILE_ATTRIBUTE_READONLY;
  info.FileAttributes = attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes;
  return ::SetFileInformationByHandle(h, FileBasicInfo, &info, sizeof info) ? 0 : failWith(::GetLastError());
}

int futimens(int fd, const struct timespec times[2]) {
  const FILETIME accessed = fileTime(times[0]), modified = fileTime(times[1]);
  return ::SetFileTime(handleOf(fd), nullptr, &accessed, &modified) ? 0 : failWith(::GetLastError());
}

int fcntl(int fd, int command, ...) {
  if (handleOf(fd) == INVALID_HANDLE_VALUE) {
    errno = EBADF;
    return -1;
  }
  if (command == F_GETFL || command == F_SETFL) return 0;
  errno = EINVAL;
  return -1;
}

int flock(int fd, int operation) {
  const HANDLE h = handleOf(fd);
  BY_HANDLE_FILE_INFORMATION info{};
  if (h == INVALID_HANDLE_VALUE || !::GetFileInformationByHandle(h, &info)) return failWith(::GetLastError());
  if (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return 0;
  // The last byte a file could ever have: past the content, so the lock never blocks a reader.
  OVERLAPPED where{};
  where.Offset = 0xFFFFFFFE;
  where.OffsetHigh = 0x7FFFFFFF;
  if (operation & LOCK_UN) return ::UnlockFileEx(h, 0, 1, 0, &where) ? 0 : failWith(::GetLastError());
  const DWORD how = ((operation & LOCK_EX) ? LOCKFILE_EXCLUSIVE_LOCK : 0) |
                    ((operation & LOCK_NB) ? LOCKFILE_FAIL_IMMEDIATELY : 0);
  return ::LockFileEx(h, how, 0, 1, 0, &where) ? 0 : failWith(::GetLastError());
}

ssize_t getrandom(void* buffer, size_t length, unsigned) {
  if (!RtlGenRandom(buffer, static_cast<ULONG>(length))) {
    errno = EIO;
    return -1;
  }
  return static_cast<ssize_t>(length);
}

#endif  // _WIN32
