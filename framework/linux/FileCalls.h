#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

/// The system calls the framework's files are made of. Each goes on after an interruption, and each
/// can be made to fail (FileFaults.h). Results and errno are those of the calls they are named
/// after. open, the reads and access also try a few times more, within milliseconds, when the
/// system gives a reason that may pass: EIO, no memory, no descriptor. The others do not: an fsync
/// that is called again after it failed says only that there is nothing left to try.
namespace file_calls {

/// Always adds O_CLOEXEC, O_NOCTTY and O_NONBLOCK: opening a FIFO or a device must not block. What
/// it gives is closed by close().
int open(const char* path, int flags, mode_t mode = 0);
void close(int fd);

int access(const char* path, int mode);

/// The names in a folder, "." and ".." excepted.
/// @param flags  O_NOFOLLOW, or 0
/// @return false when they cannot be read
bool list(const char* folder, int flags, std::vector<std::string>& names);

/// @return "folder/name"
std::string joined(const std::string& folder, const std::string& name);

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

/// Whether to make a call again that gave -1: always after an interruption, and a few times, each
/// after a short pause, where errno may pass.
class Patience {
public:
    bool goesOn();

private:
    int m_nLeft = 3;
};

} // namespace file_calls
