#include "Replacement.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>

#include "FileCalls.h"
#include "HostPath.h"
#include "LinuxFramework.h"

namespace {

// A hidden name: no pattern of the device's readers and removers (sensor*) matches it.
constexpr char kTemporaryPrefix[] = ".~";

/// The writer of a temporary holds its lock, so that anyone can tell a living writer from a dead
/// one; process ids cannot, as a camera gives out the same ones after every start.
/// @return true also where the file system knows no locks
bool lockForWriting(int fd) {
    struct stat status {};
    if (flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return false;
    }
    return fstat(fd, &status) == 0 && status.st_nlink > 0;
}

/// Whether a name is one that createTemporary makes: other programs have their own ".~" files.
bool isTemporary(const std::string& name) {
    const std::string::size_type end = name.find_last_not_of("0123456789");
    if (name.compare(0, 2, kTemporaryPrefix) != 0 || end + 1 == name.size() || name[end] != '.') {
        return false;
    }
    const std::string::size_type number = name.find_last_not_of("0123456789", end - 1);
    return number != std::string::npos && number + 1 < end && name[number] == '.';
}

void removeLeftoversOnHost(const std::string& folder) {
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr) {
        return;
    }
    while (const dirent* entry = readdir(directory)) {
        if (!isTemporary(entry->d_name)) {
            continue;
        }
        const std::string path = folder + "/" + entry->d_name;
        const int fd = file_calls::open(path.c_str(), O_RDONLY | O_NOFOLLOW);
        if (fd < 0) {
            continue;
        }
        struct stat status {};
        if (flock(fd, LOCK_EX | LOCK_NB) == 0 && fstat(fd, &status) == 0 &&
            S_ISREG(status.st_mode)) {
            file_calls::unlink(path.c_str());
        }
        close(fd);
    }
    closedir(directory);
}

void removeLeftoversOnce(const std::string& folder) {
    static std::mutex lock;
    static std::set<std::string>& seen = *new std::set<std::string>;
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (!seen.insert(folder).second) {
            return;
        }
    }
    removeLeftoversOnHost(folder);
}

/// The file that a name stands for: what a symbolic link points to, or the name itself.
/// @return false for a link that leads nowhere or out of the device root
bool resolve(const char* hostPath, std::string& target) {
    struct stat status {};
    char resolved[PATH_MAX];
    if (lstat(hostPath, &status) != 0 || !S_ISLNK(status.st_mode)) {
        target = hostPath;
        return true;
    }
    if (realpath(hostPath, resolved) == nullptr || !linux_framework::insideRoot(resolved)) {
        return false;
    }
    target = resolved;
    return true;
}

} // namespace

namespace linux_framework {

void removeLeftovers(const char* folder) {
    const HostPath host(folder);
    if (host.valid) {
        removeLeftoversOnHost(host.text);
    }
}

int Replacement::begin(const char* hostPath) {
    if (!resolve(hostPath, m_strTarget)) {
        return -1;
    }
    struct stat old {};
    const bool exists = stat(m_strTarget.c_str(), &old) == 0;
    if (exists ? !S_ISREG(old.st_mode) || access(m_strTarget.c_str(), W_OK) != 0
               : errno != ENOENT) {
        return -1;
    }
    const std::string::size_type slash = m_strTarget.rfind('/');
    const std::string folder =
        slash == std::string::npos ? "." : m_strTarget.substr(0, slash == 0 ? 1 : slash);
    const std::string name = m_strTarget.substr(slash == std::string::npos ? 0 : slash + 1);
    if (name.empty()) {
        return -1;
    }
    removeLeftoversOnce(folder);
    if (!createTemporary(folder, name, 0644)) {
        return -1;
    }
    if (exists) {
        fchmod(m_nFd, old.st_mode & 07777U); // some file systems keep no modes, and refuse
    }
    return m_nFd;
}

bool Replacement::createTemporary(const std::string& folder, const std::string& name,
                                  unsigned int mode) {
    static std::atomic<unsigned int> s_serial{0};
    // A name that is taken is a dead writer's, one that cannot be locked is just being removed.
    for (int attempt = 0; attempt < 100; ++attempt) {
        const unsigned int serial = s_serial.fetch_add(1, std::memory_order_relaxed);
        // Cut, so that the longest of names still fits NAME_MAX.
        m_strTemporary = folder + "/" + kTemporaryPrefix + name.substr(0, 200) + "." +
                         std::to_string(getpid()) + "." + std::to_string(serial);
        m_nFd = file_calls::open(m_strTemporary.c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
        if (m_nFd >= 0) {
            if (lockForWriting(m_nFd)) {
                return true;
            }
            close(m_nFd);
            m_nFd = -1;
        } else if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

bool Replacement::targetHoldsTheSame() const {
    struct stat written {};
    struct stat old {};
    if (fstat(m_nFd, &written) != 0 || stat(m_strTarget.c_str(), &old) != 0 ||
        !S_ISREG(old.st_mode) || old.st_size != written.st_size) {
        return false;
    }
    const int fd = file_calls::open(m_strTarget.c_str(), O_RDONLY);
    if (fd < 0) {
        return false;
    }
    char oldPart[4096];
    char newPart[sizeof oldPart];
    off_t at = 0;
    while (at < written.st_size) {
        const std::size_t count = file_calls::readAllAt(m_nFd, newPart, sizeof newPart, at);
        if (count == 0 || file_calls::readAllAt(fd, oldPart, count, at) != count ||
            std::memcmp(oldPart, newPart, count) != 0) {
            break;
        }
        at += static_cast<off_t>(count);
    }
    close(fd);
    return at == written.st_size;
}

bool Replacement::finish() {
    // EINVAL: the file system has nothing to bring anywhere.
    const bool same = targetHoldsTheSame();
    if (same || (file_calls::fdatasync(m_nFd) != 0 && errno != EINVAL) ||
        file_calls::rename(m_strTemporary.c_str(), m_strTarget.c_str()) != 0) {
        abandon();
        return same;
    }
    const std::string::size_type slash = m_strTarget.rfind('/');
    if (slash != std::string::npos) {
        m_strTarget.resize(slash + 1);
    } else {
        m_strTarget = ".";
    }
    const int fd = file_calls::open(m_strTarget.c_str(), O_RDONLY);
    if (fd >= 0) {
        file_calls::fsync(fd);
        close(fd);
    }
    close(m_nFd);
    m_nFd = -1;
    return true;
}

void Replacement::abandon() {
    const int error = errno;
    file_calls::unlink(m_strTemporary.c_str());
    close(m_nFd);
    m_nFd = -1;
    errno = error;
}

bool replaceHostFile(const std::string& path, const std::string& text) {
    char real[PATH_MAX];
    Replacement replacement;
    const int fd = replacement.begin(realpath(path.c_str(), real) != nullptr ? real : path.c_str());
    if (fd < 0) {
        return false;
    }
    if (file_calls::writeAll(fd, text.data(), text.size()) != text.size()) {
        replacement.abandon();
        return false;
    }
    return replacement.finish();
}

} // namespace linux_framework
