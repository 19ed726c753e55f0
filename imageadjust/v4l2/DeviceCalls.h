#pragma once

#include <poll.h>

#include <cstddef>

namespace image_adjust::v4l2 {

/// The system calls that reach a device. One object of this class makes them; tests put others in
/// its place, for the failures that a driver gives only in an accident. Thread-safe.
class DeviceCalls {
public:
    virtual ~DeviceCalls() = default;

    /// Opens a node for reading and writing, without blocking. @return its number, or -errno
    virtual int open(const char* path);
    virtual void close(int fd);

    /// One ioctl. @return 0 or more, or -errno
    virtual int control(int fd, unsigned long request, void* data);

    /// poll. @return how many are ready, or -errno
    virtual int wait(pollfd* waits, unsigned int count, int milliseconds);

    /// Maps a buffer of the device. @return null when it cannot be
    virtual unsigned char* map(std::size_t bytes, int fd, long offset);
    virtual void unmap(unsigned char* memory, std::size_t bytes);
};

/// control(), made again while signals interrupt it.
int control(DeviceCalls& calls, int fd, unsigned long request, void* data);

} // namespace image_adjust::v4l2
