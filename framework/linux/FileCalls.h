#pragma once

#include <sys/types.h>

#include <cstddef>

/// The system calls DKFile is made of: each goes on after an interruption, and each can be made to
/// fail (FileFaults.h). Results and errno are those of the calls they are named after.
namespace file_calls {

/// Always adds O_CLOEXEC, O_NOCTTY and O_NONBLOCK: opening a FIFO or a device must not block.
int open(const char* path, int flags, mode_t mode = 0);

/// Read on to the count or the end of the file, from the file's position or from an offset.
/// @return the bytes read; fewer than count at the end of the file or after an error
std::size_t readAll(int fd, void* buffer, std::size_t count);
std::size_t readAllAt(int fd, void* buffer, std::size_t count, off_t offset);

/// @return the bytes written; fewer than count after an error
std::size_t writeAll(int fd, const void* data, std::size_t count);

int fdatasync(int fd);
int fsync(int fd);
int rename(const char* from, const char* to);
int unlink(const char* path);

/// Asked before a line is read from a stream: whether this read is to fail.
bool lineReadFails();

} // namespace file_calls
