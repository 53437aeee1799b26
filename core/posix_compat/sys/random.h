#pragma once
// getrandom() for the Windows build, from the system's random number generator.
#include <stddef.h>
#include <sys/types.h>

ssize_t getrandom(void* buffer, size_t length, unsigned flags);
