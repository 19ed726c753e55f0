#include "Descriptors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <mutex>

namespace {

/// What one thread holds at most at a time: a file being replaced, the old one or a folder beside
/// it, and for a report the sign file or the log.
constexpr int kReserve = 4;
constexpr char kHeldOpen[] = "/";
constexpr int kHeldFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

std::mutex s_lock; // guards the reserve
int s_reserve[kReserve] = {-1, -1, -1, -1};
std::atomic<int> s_missing{kReserve};

std::mutex s_lowLock; // held while 0 to 2 are taken

/// Takes those of the numbers 0 to 2 that are free, by something that can be neither read nor
/// written, so that they go to no file.
class TakenLowNumbers {
public:
    TakenLowNumbers() : m_guard(s_lowLock) {
        for (int low = STDIN_FILENO; low <= STDERR_FILENO; ++low) {
            int fd = fcntl(low, F_GETFD) == -1 ? ::open(kHeldOpen, kHeldFlags) : -1;
            if (fd > STDERR_FILENO) {
                ::close(fd);
                fd = -1;
            }
            m_fds[low] = fd;
        }
    }
    ~TakenLowNumbers() {
        const int error = errno;
        for (const int fd : m_fds) {
            if (fd >= 0) {
                ::close(fd);
            }
        }
        errno = error;
    }
    TakenLowNumbers(const TakenLowNumbers&) = delete;
    TakenLowNumbers& operator=(const TakenLowNumbers&) = delete;

private:
    std::lock_guard<std::mutex> m_guard;
    int m_fds[STDERR_FILENO + 1];
};

int openHigh(const char* path, int flags, mode_t mode) {
    // Before opening for writing, not after: not a byte that others print may reach the file.
    if ((flags & O_ACCMODE) == O_RDONLY) {
        const int fd = ::open(path, flags, mode);
        if (fd < 0 || fd > STDERR_FILENO) {
            return fd;
        }
        ::close(fd);
    }
    const TakenLowNumbers taken;
    return ::open(path, flags, mode);
}

/// A host that closes every descriptor that it does not know has closed the reserve too, and may
/// have given its numbers to files of its own.
bool isStillOurs(int fd) {
    struct stat held {};
    struct stat expected {};
    return (fcntl(fd, F_GETFL) & O_DIRECTORY) != 0 && fstat(fd, &held) == 0 &&
           stat(kHeldOpen, &expected) == 0 && held.st_dev == expected.st_dev &&
           held.st_ino == expected.st_ino;
}

/// @return false when there was none left in reserve
bool releaseOne() {
    const std::lock_guard<std::mutex> guard(s_lock);
    for (int& fd : s_reserve) {
        if (fd < 0) {
            continue;
        }
        const bool ours = isStillOurs(fd);
        if (ours) {
            ::close(fd);
        }
        fd = -1;
        s_missing.fetch_add(1, std::memory_order_relaxed);
        if (ours) {
            return true;
        }
    }
    return false;
}

} // namespace

namespace descriptors {

int open(const char* path, int flags, mode_t mode) {
    refill();
    for (;;) {
        const int fd = openHigh(path, flags | O_CLOEXEC, mode);
        if (fd >= 0 || (errno != EMFILE && errno != ENFILE)) {
            return fd;
        }
        const int error = errno;
        if (!releaseOne()) {
            errno = error;
            return -1;
        }
    }
}

void close(int fd) {
    const int error = errno;
    ::close(fd);
    refill();
    errno = error;
}

void refill() {
    if (s_missing.load(std::memory_order_relaxed) == 0) {
        return;
    }
    const int error = errno;
    const std::lock_guard<std::mutex> guard(s_lock);
    for (int& fd : s_reserve) {
        if (fd >= 0) {
            continue;
        }
        fd = openHigh(kHeldOpen, kHeldFlags, 0);
        if (fd < 0) {
            break;
        }
        s_missing.fetch_sub(1, std::memory_order_relaxed);
    }
    errno = error;
}

} // namespace descriptors

namespace {

// Before the host can have run out of them.
[[maybe_unused]] const bool s_filled = (descriptors::refill(), true);

} // namespace
