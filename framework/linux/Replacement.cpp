#include "Replacement.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>
#include <vector>

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

/// @param prefix  what the temporaries' names begin with
void removeLeftoversOnHost(const std::string& folder, const std::string& prefix) {
    std::vector<std::string> names;
    file_calls::list(folder.c_str(), O_NOFOLLOW, names);
    for (const std::string& name : names) {
        if (name.compare(0, prefix.size(), prefix) != 0 || !isTemporary(name)) {
            continue;
        }
        const std::string path = file_calls::joined(folder, name);
        const int fd = file_calls::open(path.c_str(), O_RDONLY | O_NOFOLLOW);
        if (fd < 0) {
            continue;
        }
        struct stat status {};
        if (flock(fd, LOCK_EX | LOCK_NB) == 0 && fstat(fd, &status) == 0 &&
            S_ISREG(status.st_mode)) {
            file_calls::unlink(path.c_str());
        }
        file_calls::close(fd);
    }
}

/// In a folder for everybody only the name's own: the others may be anybody's.
void removeLeftoversOnce(const std::string& folder, const std::string& name) {
    static std::mutex lock;
    static std::set<std::string>& seen = *new std::set<std::string>;
    std::string prefix = kTemporaryPrefix;
    if (linux_framework::isShared(folder.c_str())) {
        prefix += name + ".";
    }
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (!seen.insert(folder + "/" + prefix).second) {
            return;
        }
    }
    removeLeftoversOnHost(folder, prefix);
}

} // namespace

namespace linux_framework {

void removeLeftovers(const char* folder) {
    const HostPath host(folder);
    char resolved[PATH_MAX];
    if (host.valid && realpath(host.text, resolved) != nullptr && insideRoot(resolved)) {
        removeLeftoversOnHost(resolved, kTemporaryPrefix);
    }
}

bool Replacement::begin(const char* hostPath) {
    std::string target;
    if (!resolveForWriting(hostPath, target)) {
        return false;
    }
    m_strFolder.assign(target, 0, std::max<std::size_t>(target.rfind('/'), 1));
    m_strName.assign(target, target.rfind('/') + 1);
    removeLeftoversOnce(m_strFolder, m_strName);
    return beginTarget();
}

bool Replacement::beginOnHost(const char* hostPath, mode_t mode) {
    m_nNewMode = mode;
    char real[PATH_MAX];
    struct stat link {};
    const bool exists = realpath(hostPath, real) != nullptr;
    if (!exists && (errno != ENOENT || lstat(hostPath, &link) == 0)) {
        return false; // also for a link to nothing
    }
    const std::string target = exists ? real : hostPath;
    const std::string::size_type slash = target.rfind('/');
    m_strFolder = slash == std::string::npos ? "." : target.substr(0, slash == 0 ? 1 : slash);
    m_strName.assign(target, slash + 1); // npos + 1 is 0
    if ((mode & 077U) == 0) {
        // Secrets that a killed write has left; whatever else is named like that may be anybody's.
        removeLeftoversOnHost(m_strFolder, kTemporaryPrefix + m_strName + ".");
    }
    return beginTarget();
}

bool Replacement::beginTarget() {
    m_strTarget = file_calls::joined(m_strFolder, m_strName);
    struct stat old {};
    if (lstat(m_strTarget.c_str(), &old) != 0 && errno != ENOENT) {
        return false;
    }
    // A link that still stands here is to be replaced, not followed.
    if (S_ISREG(old.st_mode)) {
        m_nMode = old.st_mode & 07777U;
        if (file_calls::access(m_strTarget.c_str(), W_OK) != 0) {
            return false;
        }
    } else if (old.st_mode != 0 && !S_ISLNK(old.st_mode)) {
        errno = EINVAL;
        return false;
    }
    m_nFd = createTemporary();
    return m_nFd >= 0;
}

/// @return its descriptor, or -1
int Replacement::createTemporary() {
    static std::atomic<unsigned int> s_serial{0};
    // A name that is taken is a dead writer's, one that cannot be locked is just being removed.
    for (int attempt = 0; attempt < 100; ++attempt) {
        const unsigned int serial = s_serial.fetch_add(1, std::memory_order_relaxed);
        // Cut, so that the longest of names still fits NAME_MAX.
        m_strTemporary = m_strFolder + "/" + kTemporaryPrefix + m_strName.substr(0, 200) + "." +
                         std::to_string(getpid()) + "." + std::to_string(serial);
        // Nobody may open a secret's file before it has the old one's permissions.
        const mode_t mode = m_nMode != 0 ? m_nMode & 0600U : m_nNewMode;
        const int fd = file_calls::open(m_strTemporary.c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
        if (fd >= 0) {
            if (lockForWriting(fd)) {
                if (m_nMode != 0) {
                    fchmod(fd, m_nMode); // some file systems keep no modes, and refuse
                }
                return fd;
            }
            file_calls::close(fd);
        } else if (errno != EEXIST) {
            break;
        }
    }
    m_strTemporary.clear(); // no file of ours
    return -1;
}

/// Begins a new temporary with the content that is in place.
bool Replacement::copyContent() {
    const int fd = createTemporary();
    if (fd < 0) {
        return false;
    }
    char part[4096];
    off_t at = 0;
    const off_t end = length();
    while (at < end) {
        const std::size_t count = file_calls::readAllAt(m_nFd, part, sizeof part, at);
        if (count == 0 || file_calls::writeAll(fd, part, count) != count) {
            break;
        }
        at += static_cast<off_t>(count);
    }
    file_calls::close(m_nFd);
    m_nFd = fd;
    return at == end;
}

bool Replacement::targetHoldsTheSame() const {
    struct stat old {};
    if (lstat(m_strTarget.c_str(), &old) != 0 || !S_ISREG(old.st_mode) || old.st_size != length()) {
        return false;
    }
    const int fd = file_calls::open(m_strTarget.c_str(), O_RDONLY | O_NOFOLLOW);
    if (fd < 0) {
        return false;
    }
    char oldPart[4096];
    char newPart[sizeof oldPart];
    off_t at = 0;
    while (at < old.st_size) {
        const std::size_t count = file_calls::readAllAt(m_nFd, newPart, sizeof newPart, at);
        if (count == 0 || file_calls::readAllAt(fd, oldPart, count, at) != count ||
            std::memcmp(oldPart, newPart, count) != 0) {
            break;
        }
        at += static_cast<off_t>(count);
    }
    file_calls::close(fd);
    return at == old.st_size;
}

bool Replacement::putInPlace() {
    // What holds the same already is safe, unless it was not when it was written.
    static std::atomic<bool> s_unsure{false};
    if (!s_unsure && targetHoldsTheSame()) {
        return true;
    }
    // EINVAL: the file system has nothing to bring anywhere.
    if (file_calls::fdatasync(m_nFd) != 0 && errno != EINVAL) {
        return false;
    }
    // Opened while there is still a way back. A folder that may be written but not read is as safe
    // as its file system makes it.
    const int folder = file_calls::open(m_strFolder.c_str(), O_RDONLY | O_DIRECTORY);
    if (folder < 0 && errno != EACCES) {
        return false;
    }
    bool good = file_calls::rename(m_strTemporary.c_str(), m_strTarget.c_str()) == 0;
    if (good) {
        m_strTemporary.clear();
        good = folder < 0 || file_calls::fsync(folder) == 0 || errno == EINVAL;
        s_unsure = !good;
    }
    if (folder >= 0) {
        file_calls::close(folder);
    }
    return good;
}

std::size_t Replacement::append(const void* data, std::size_t count) {
    if (m_nFd < 0 || m_bFailed || (count == 0 && data != nullptr)) {
        return 0;
    }
    m_bFailed = true; // unless all of what follows succeeds; it may also throw
    if (data == nullptr || (m_strTemporary.empty() && !copyContent())) {
        return 0;
    }
    const std::size_t written = file_calls::writeAll(m_nFd, data, count);
    if (written < count || !putInPlace()) {
        return written < count ? written : 0;
    }
    m_bFailed = false;
    m_bInPlace = true;
    return count;
}

off_t Replacement::length() const {
    struct stat status {};
    return m_nFd >= 0 && fstat(m_nFd, &status) == 0 ? status.st_size : 0;
}

bool Replacement::finish() {
    const bool good = m_nFd >= 0 && !m_bFailed && (m_bInPlace || putInPlace());
    const int error = errno;
    if (!m_strTemporary.empty()) {
        file_calls::unlink(m_strTemporary.c_str());
        m_strTemporary.clear();
    }
    if (m_nFd >= 0) {
        file_calls::close(m_nFd);
        m_nFd = -1;
    }
    errno = error;
    return good;
}

bool replaceHostFile(const std::string& path, const std::string& text, unsigned int mode) {
    Replacement replacement;
    if (!replacement.beginOnHost(path.c_str(), mode)) {
        return false;
    }
    return (text.empty() || replacement.append(text.data(), text.size()) == text.size()) &&
           replacement.finish();
}

} // namespace linux_framework
