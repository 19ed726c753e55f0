#include "DeviceCalls.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace image_adjust::v4l2 {
namespace {

// A device that is interrupted for ever is to be given up, not waited for.
constexpr int mostInterruptions = 100;

} // namespace

int DeviceCalls::open(const char* path) {
    const int fd = ::open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    return fd >= 0 ? fd : -errno;
}

void DeviceCalls::close(int fd) {
    ::close(fd);
}

int DeviceCalls::control(int fd, unsigned long request, void* data) {
    const int result = ioctl(fd, request, data);
    return result >= 0 ? result : -errno;
}

int DeviceCalls::wait(pollfd* waits, unsigned int count, int milliseconds) {
    const int ready = poll(waits, count, milliseconds);
    return ready >= 0 ? ready : -errno;
}

unsigned char* DeviceCalls::map(std::size_t bytes, int fd, long offset) {
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, offset);
    return memory == MAP_FAILED ? nullptr : static_cast<unsigned char*>(memory);
}

void DeviceCalls::unmap(unsigned char* memory, std::size_t bytes) {
    munmap(memory, bytes);
}

int control(DeviceCalls& calls, int fd, unsigned long request, void* data) {
    int result = -EINTR;
    for (int i = 0; result == -EINTR && i < mostInterruptions; ++i) {
        result = calls.control(fd, request, data);
    }
    return result;
}

} // namespace image_adjust::v4l2
