#pragma once
// The POSIX calls the library makes on files (descriptors, fsync, pread, link, stat on a path,
// the *at calls relative to an open folder) and the reentrant time calls, on the Windows C runtime
// and the Win32 file API. The Windows build includes this header first in every file, and puts
// core/posix_compat/ (sys/file.h, sys/random.h) on its include path, so the code keeps one spelling
// for both systems. Paths there are wide strings (std::filesystem::path::c_str()), hence the wchar_t
// overloads; names given to the *at calls are UTF-8, as std::filesystem::path::string() gives them.
//
// What Windows cannot give: owners (fchown does nothing; every file belongs to the user), a full
// inode number (st_ino is the runtime's 16 bits, folded from the file index), and locks on folders
// (see sys/file.h).
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

#include <dirent.h>

#ifndef O_CLOEXEC
#define O_CLOEXEC 0  // handles are not inherited unless asked
#endif
// Flags the runtime does not know, in bits it does not use; open() and openat() act on them and
// hand the runtime the rest.
#define O_DIRECTORY 0x200000
#define O_NOFOLLOW 0x400000
#define O_NONBLOCK 0x800000  // only regular files and folders open here, so nothing can block
#define O_PATH 0x1000000
#define O_NOCTTY 0

#define AT_FDCWD (-100)
#define AT_SYMLINK_NOFOLLOW 0x100
#define AT_EACCESS 0x200
#define RENAME_NOREPLACE 1

// A symbolic link or junction (a reparse point), reported only by fstatat without following it.
#define S_IFLNK 0xA000
#define S_ISLNK(m) (((m) & S_IFMT) == S_IFLNK)
#ifndef S_IWOTH
#define S_IWOTH (S_IWGRP >> 3)
#endif

#define F_GETFL 3
#define F_SETFL 4

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

// Relative to a folder opened with open(path, O_DIRECTORY), or AT_FDCWD.
int openat(int folder, const char* name, int flags, int mode = 0);
int fstatat(int folder, const char* name, struct stat* out, int flags);
int faccessat(int folder, const char* name, int mode, int flags);
int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags);
int renameat(int fromFolder, const char* from, int toFolder, const char* to);
int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags);
int unlinkat(int folder, const char* name, int flags);
DIR* fdopendir(int folder);  // takes the descriptor over, as POSIX says

int fchown(int fd, int owner, int group);
int fchmod(int fd, int mode);  // only the owner's write bit means anything: the read-only attribute
int futimens(int fd, const struct timespec times[2]);
int fcntl(int fd, int command, ...);  // F_GETFL and F_SETFL only, with nothing to change

// The runtime's fstat knows neither links nor file identity; this one fills st_nlink, and st_dev
// and st_ino as fstatat does.
int pixtrail_fstat(int fd, struct stat* out);
#define fstat(fd, out) pixtrail_fstat(fd, out)

#endif  // _WIN32
