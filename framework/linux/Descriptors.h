#pragma once

#include <sys/types.h>

/// The framework's descriptors. They are never 0 to 2: in a process that closed those, what others
/// print would land in the file. A few are kept in reserve, so that a process (or a system) that
/// has run out of them can still read and save what the camera needs. Any thread.
namespace descriptors {

/// open(), with O_CLOEXEC added. Results and errno are those of open().
int open(const char* path, int flags, mode_t mode = 0);

/// close(), which fills the reserve again before anyone else gets the number.
void close(int fd);

/// Fills the reserve after something else has closed a descriptor, for example fclose().
void refill();

} // namespace descriptors
