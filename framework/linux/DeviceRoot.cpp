#include "LinuxFramework.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "FileCalls.h"
#include "HostPath.h"
#include "SySystem.h"

namespace {

// Plain memory, not a std::string: read by every open, and written only before the camera starts.
char s_root[PATH_MAX - 512 + 1] = "";
std::size_t s_rootLength = 0;

/// Whether ".." leads above the directory a path starts in, at any point of the way.
bool climbsOut(const char* path) {
    int depth = 0;
    while (*path != '\0') {
        const std::size_t length = std::strcspn(path, "/");
        if (length == 2 && std::strncmp(path, "..", 2) == 0) {
            if (--depth < 0) {
                return true;
            }
        } else if (length > 0 && !(length == 1 && *path == '.')) {
            ++depth;
        }
        path += length;
        path += std::strspn(path, "/");
    }
    return false;
}

} // namespace

namespace linux_framework {

bool setDeviceRoot(const std::string& directory) {
    char resolved[PATH_MAX];
    struct stat status {};
    if (realpath(directory.empty() ? "/" : directory.c_str(), resolved) == nullptr ||
        stat(resolved, &status) != 0 || !S_ISDIR(status.st_mode)) {
        return false;
    }
    const std::size_t length = std::strcmp(resolved, "/") == 0 ? 0 : std::strlen(resolved);
    if (length >= sizeof s_root) {
        return false;
    }
    std::memcpy(s_root, resolved, length);
    s_root[length] = '\0';
    s_rootLength = length;
    return true;
}

std::string deviceRoot() {
    return s_root;
}

bool hostPath(const char* path, char* buffer, unsigned long size) {
    if (path == nullptr || *path == '\0' || climbsOut(path)) {
        return false;
    }
    const std::size_t length = std::strlen(path);
    // The device's programs run in "/": that is what a relative path means there.
    const std::size_t slash = s_rootLength > 0 && *path != '/' ? 1 : 0;
    if (length >= size || s_rootLength + slash >= size - length) {
        return false;
    }
    std::memcpy(buffer, s_root, s_rootLength);
    buffer[s_rootLength] = '/';
    std::memcpy(buffer + s_rootLength + slash, path, length + 1);
    return true;
}

bool insideRoot(const char* resolved) {
    return s_rootLength == 0 || (std::strncmp(resolved, s_root, s_rootLength) == 0 &&
                                 (resolved[s_rootLength] == '/' || resolved[s_rootLength] == '\0'));
}

bool isShared(const char* resolved) {
    char shared[PATH_MAX];
    struct stat status {};
    return (stat(resolved, &status) == 0 && (status.st_mode & S_IWOTH) != 0) ||
           (realpath(HostPath("/tmp").text, shared) != nullptr &&
            std::strcmp(resolved, shared) == 0);
}

bool resolveForWriting(const char* hostPath, std::string& target) {
    std::string path = hostPath;
    for (int links = 0; links < 8; ++links) {
        const std::size_t name = path.rfind('/') + 1;
        char folder[PATH_MAX];
        if (name == 0 || name == path.size() || path.compare(name, path.npos, ".") == 0 ||
            path.compare(name, path.npos, "..") == 0 ||
            realpath(path.substr(0, name).c_str(), folder) == nullptr || !insideRoot(folder)) {
            return false;
        }
        target = std::strcmp(folder, "/") == 0 ? "" : folder;
        target += path.substr(name - 1);
        char text[PATH_MAX];
        const ssize_t length = readlink(target.c_str(), text, sizeof text);
        if (length < 0 || isShared(folder)) {
            return true;
        }
        path.assign(text, static_cast<std::size_t>(length));
        if (path[0] != '/') {
            path.insert(0, "/").insert(0, folder);
        }
    }
    errno = ELOOP;
    return false;
}

} // namespace linux_framework

int sy_access(char const* path, int mode) {
    const linux_framework::HostPath host(path);
    if (!host.valid) {
        return -1;
    }
    const int result = file_calls::access(host.text, mode);
    return result == -1 && mode == F_OK && errno != ENOENT && errno != ENOTDIR ? 0 : result;
}
