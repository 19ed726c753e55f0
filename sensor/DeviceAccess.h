#pragma once

#include <unistd.h>

/// The mode that opens a DKFile for reading; frameworks agree on its number, not on its name.
constexpr unsigned char kOpenForReading = 1;

/// POSIX access() on a path below a device root that need not be "/". Only a process that has such
/// a root brings it along, so the library must load without it.
int sy_access(char const* path, int mode) __attribute__((weak));

/// @return whether there is a file, or anything else, at a device path
inline bool existsOnDevice(const char* path) {
    return (sy_access != nullptr ? sy_access(path, F_OK) : access(path, F_OK)) == 0;
}
