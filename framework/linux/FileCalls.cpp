#include "FileCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>

#include "Descriptors.h"
#include "FileFaults.h"

namespace {

using file_faults::Kind;

std::atomic<bool> s_armed{false};
std::mutex s_lock; // guards what follows
unsigned long s_counted = 0;
unsigned long s_failing = 0;
Kind s_kind = Kind::None;
bool s_fromThenOn = false;

/// What a call does to the disk, and so which kinds of faults concern it.
enum class Effect { None, Change, Write };

bool concerns(Kind kind, Effect effect) {
    switch (kind) {
        case Kind::Enospc:
        case Kind::Death:
            return effect != Effect::None;
        case Kind::ShortWrite:
            return effect == Effect::Write;
        default:
            return true;
    }
}

/// Counts one call and says what is to happen to it.
Kind draw(Effect effect) {
    if (!s_armed.load(std::memory_order_relaxed)) {
        return Kind::None;
    }
    const std::lock_guard<std::mutex> guard(s_lock);
    if (!concerns(s_kind, effect)) {
        return Kind::None;
    }
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
bool refused(Effect effect, std::size_t* count = nullptr) {
    switch (draw(effect)) {
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
        const decltype(call()) result = refused(Effect::Change) ? -1 : call();
        if (result != -1 || errno != EINTR) {
            return result;
        }
    }
}

/// The same for a call that is worth another try.
template <typename Call>
auto patiently(Effect effect, Call call) -> decltype(call()) {
    for (file_calls::Patience patience;;) {
        const decltype(call()) result = refused(effect) ? -1 : call();
        if (result != -1 || !patience.goesOn()) {
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
        if (piece <= 0) {
            break;
        }
        done += static_cast<std::size_t>(piece);
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

bool Patience::goesOn() {
    if (errno == EINTR) {
        return true;
    }
    const bool mayPass = errno == EIO || errno == ENOMEM || errno == EMFILE || errno == ENFILE;
    if (!mayPass || m_nLeft == 0) {
        return false;
    }
    --m_nLeft;
    const int error = errno;
    const timespec pause = {0, 200000};
    nanosleep(&pause, nullptr);
    errno = error;
    return true;
}

int open(const char* path, int flags, mode_t mode) {
    return patiently((flags & O_CREAT) != 0 ? Effect::Change : Effect::None,
                     [=] { return descriptors::open(path, flags | O_NOCTTY | O_NONBLOCK, mode); });
}

void close(int fd) {
    descriptors::close(fd);
}

int access(const char* path, int mode) {
    return patiently(Effect::None, [=] { return ::access(path, mode); });
}

bool list(const char* folder, int flags, std::vector<std::string>& names) {
    const int fd = open(folder, O_RDONLY | O_DIRECTORY | flags);
    if (fd < 0) {
        return false;
    }
    const auto end = [](DIR* directory) {
        closedir(directory);
        descriptors::refill();
    };
    const std::unique_ptr<DIR, decltype(end)> directory(fdopendir(fd), end);
    if (directory == nullptr) {
        close(fd);
        return false;
    }
    errno = 0;
    while (const dirent* entry = readdir(directory.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    return errno == 0;
}

std::string joined(const std::string& folder, const std::string& name) {
    std::string path = folder;
    return path.append("/").append(name);
}

std::size_t readAll(int fd, void* buffer, std::size_t count) {
    return inPieces(count, [=](std::size_t done, std::size_t size) {
        return patiently(Effect::None,
                         [=] { return ::read(fd, static_cast<char*>(buffer) + done, size); });
    });
}

std::size_t readAllAt(int fd, void* buffer, std::size_t count, off_t offset) {
    return inPieces(count, [=](std::size_t done, std::size_t size) {
        return patiently(Effect::None, [=] {
            return ::pread(fd, static_cast<char*>(buffer) + done, size,
                           offset + static_cast<off_t>(done));
        });
    });
}

std::size_t writeAll(int fd, const void* data, std::size_t count) {
    return inPieces(count, [=](std::size_t done, std::size_t size) {
        ssize_t piece = -1;
        do {
            piece = refused(Effect::Write, &size)
                        ? -1
                        : ::write(fd, static_cast<const char*>(data) + done, size);
        } while (piece < 0 && errno == EINTR);
        return piece;
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
    return patiently(Effect::None, [] { return 0; }) != 0;
}

} // namespace file_calls
