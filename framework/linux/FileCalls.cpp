#include "FileCalls.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <mutex>

#include "FileFaults.h"

namespace {

using file_faults::Kind;

std::atomic<bool> s_armed{false};
std::mutex s_lock; // guards what follows
unsigned long s_counted = 0;
unsigned long s_failing = 0;
Kind s_kind = Kind::None;
bool s_fromThenOn = false;

/// Counts one call and says what is to happen to it.
Kind draw() {
    if (!s_armed.load(std::memory_order_relaxed)) {
        return Kind::None;
    }
    const std::lock_guard<std::mutex> guard(s_lock);
    const unsigned long number = ++s_counted;
    bool fails = s_failing != 0 && number == s_failing;
    if (s_failing != 0 && s_fromThenOn && number > s_failing) {
        // An interrupted call is tried again, and must get through some time.
        fails = s_kind != Kind::Eintr || (number - s_failing) % 2 == 0;
    }
    return fails ? s_kind : Kind::None;
}

/// @param count  the bytes of a write, which a short write halves; null for other calls
/// @return true when the call is not to be made; errno says why
bool refused(std::size_t* count = nullptr) {
    switch (draw()) {
        case Kind::None:
            return false;
        case Kind::ShortWrite:
            if (count != nullptr) {
                *count -= *count / 2;
            }
            return false;
        case Kind::Eio:
            errno = EIO;
            return true;
        case Kind::Enospc:
            errno = ENOSPC;
            return true;
        case Kind::Eintr:
            errno = EINTR;
            return true;
        case Kind::Death:
            _exit(137);
    }
    return false;
}

/// Makes a call until it is not interrupted.
template <typename Call>
auto uninterrupted(Call call) -> decltype(call()) {
    for (;;) {
        const decltype(call()) result = refused() ? -1 : call();
        if (result != -1 || errno != EINTR) {
            return result;
        }
    }
}

/// Adds up the results of calls on the part of a buffer that is still to do.
template <typename Call>
std::size_t inPieces(std::size_t count, Call call) {
    constexpr std::size_t kMost = 1U << 30U; // beyond SSIZE_MAX the result is not defined
    std::size_t done = 0;
    while (done < count) {
        const ssize_t piece = call(done, std::min(count - done, kMost));
        if (piece > 0) {
            done += static_cast<std::size_t>(piece);
        } else if (piece == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

} // namespace

namespace file_faults {

void failNth(unsigned long n, Kind kind, bool fromThenOn) {
    const std::lock_guard<std::mutex> guard(s_lock);
    s_counted = 0;
    s_failing = n;
    s_kind = kind;
    s_fromThenOn = fromThenOn;
    s_armed.store(true, std::memory_order_relaxed);
}

void clear() {
    s_armed.store(false, std::memory_order_relaxed);
}

unsigned long operations() {
    const std::lock_guard<std::mutex> guard(s_lock);
    return s_counted;
}

} // namespace file_faults

namespace file_calls {

int open(const char* path, int flags, mode_t mode) {
    return uninterrupted(
        [=] { return ::open(path, flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, mode); });
}

std::size_t readAll(int fd, void* buffer, std::size_t count) {
    return inPieces(count, [=](std::size_t done, std::size_t size) -> ssize_t {
        return refused() ? -1 : ::read(fd, static_cast<char*>(buffer) + done, size);
    });
}

std::size_t readAllAt(int fd, void* buffer, std::size_t count, off_t offset) {
    return inPieces(count, [=](std::size_t done, std::size_t size) -> ssize_t {
        return refused() ? -1
                         : ::pread(fd, static_cast<char*>(buffer) + done, size,
                                   offset + static_cast<off_t>(done));
    });
}

std::size_t writeAll(int fd, const void* data, std::size_t count) {
    return inPieces(count, [=](std::size_t done, std::size_t size) -> ssize_t {
        return refused(&size) ? -1 : ::write(fd, static_cast<const char*>(data) + done, size);
    });
}

int fdatasync(int fd) {
    return uninterrupted([=] { return ::fdatasync(fd); });
}

int fsync(int fd) {
    return uninterrupted([=] { return ::fsync(fd); });
}

int rename(const char* from, const char* to) {
    return uninterrupted([=] { return std::rename(from, to); });
}

int unlink(const char* path) {
    return uninterrupted([=] { return ::unlink(path); });
}

bool lineReadFails() {
    return uninterrupted([] { return 0; }) != 0;
}

} // namespace file_calls
