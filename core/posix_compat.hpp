#pragma once
// The few POSIX calls the library makes on files (descriptors, fsync, pread, link, stat on a
// path) and the reentrant time calls, on the Windows C runtime. The Windows build includes this
// header first in every file, so the code keeps one spelling for both systems. Paths there are
// wide strings (std::filesystem::path::c_str()), hence the wchar_t overloads.
#ifdef _WIN32

#ifndef _POSIX_THREAD_SAFE_FUNCTIONS
#define _POSIX_THREAD_SAFE_FUNCTIONS 200112L  // localtime_r, gmtime_r in <time.h>
#endif

#include <fcntl.h>
#include <stdio.h>
#include <io.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

#ifndef O_CLOEXEC
#define O_CLOEXEC 0  // handles are not inherited unless asked
#endif
#ifndef O_DIRECTORY
#define O_DIRECTORY 0x200000  // unknown to the runtime: opening a folder fails, as it must here
#endif

int open(const wchar_t* path, int flags, int mode = 0);
int stat(const wchar_t* path, struct stat* out);
int chmod(const wchar_t* path, int mode);
int unlink(const wchar_t* path);
int link(const wchar_t* existing, const wchar_t* created);
int rename(const wchar_t* from, const wchar_t* to);  // replaces `to`, as POSIX rename does
int fsync(int fd);
// Declared before <cstdio> is first seen, so that std::fopen takes a wide path too.
FILE* fopen(const wchar_t* path, const char* mode);
// Read-only memory streams (the readers that parse a text through a FILE*).
FILE* fmemopen(void* buffer, size_t size, const char* mode);
ssize_t pread(int fd, void* buffer, size_t count, off_t offset);

#endif  // _WIN32
