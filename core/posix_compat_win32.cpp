#ifdef _WIN32

#include <windows.h>

#include <cerrno>

#include "core/posix_compat.hpp"

namespace {

int failWith(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND: errno = ENOENT; break;
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS: errno = EEXIST; break;
    case ERROR_ACCESS_DENIED: errno = EACCES; break;
    case ERROR_NOT_SAME_DEVICE: errno = EXDEV; break;
    default: errno = EIO;
  }
  return -1;
}

}  // namespace

int open(const wchar_t* path, int flags, int mode) {
  return ::_wopen(path, flags | _O_BINARY, mode ? (_S_IREAD | _S_IWRITE) : 0);
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

#endif  // _WIN32
