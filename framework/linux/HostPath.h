#pragma once

#include <limits.h>

#include <string>

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

/// Where a write to a device file goes: links are followed, but never out of the device root, and
/// not in a folder where anyone may put one (/tmp, and whatever all may write to). What stands
/// there is not followed: the file is to take its place.
/// @param hostPath  the file's place on this machine; its folder must exist
/// @param target    receives the path; what it names is no link, except in such a folder
/// @return false when there is no such place; errno may say why
bool resolveForWriting(const char* hostPath, std::string& target);

/// Whether all may write to a folder.
/// @param resolved  what realpath() gave for it
bool isShared(const char* resolved);

} // namespace linux_framework
