#include "LinuxFramework.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

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
    return s_rootLength == 0 ||
           (std::strncmp(resolved, s_root, s_rootLength) == 0 && resolved[s_rootLength] == '/');
}

} // namespace linux_framework

int sy_access(char const* path, int mode) {
    const linux_framework::HostPath host(path);
    return host.valid ? access(host.text, mode) : -1;
}
