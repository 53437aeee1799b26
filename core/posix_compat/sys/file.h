#pragma once
// flock() for the Windows build. A file is locked with LockFileEx on a byte far past its end, so
// that the lock keeps other writers out without stopping anyone from reading the content. A folder
// cannot be locked there: its locks always succeed, which is safe because Windows refuses to
// delete a file that is still open, the temporary files a folder lock protects included.
#define LOCK_SH 1
#define LOCK_EX 2
#define LOCK_NB 4
#define LOCK_UN 8

int flock(int fd, int operation);
