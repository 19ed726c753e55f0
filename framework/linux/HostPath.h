#pragma once

#include <limits.h>

#include "LinuxFramework.h"

namespace linux_framework {

/// A device path's place on this machine, on the stack.
struct HostPath {
    explicit HostPath(const char* path) : valid(hostPath(path, text, sizeof text)) {}

    char text[PATH_MAX];
    bool valid; ///< false: there is no such place, and text is not set
};

/// @return false when a path that realpath() gave lies outside the device root
bool insideRoot(const char* resolved);

} // namespace linux_framework
