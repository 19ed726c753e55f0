#pragma once

#include <chrono>
#include <string>

namespace linux_framework {

/// Whether a shell command is nothing but `rm -rf PATTERN`, for one absolute pattern in which "*"
/// is the only thing that a shell would expand.
/// @param pattern  receives the pattern
bool isPlainRemoval(const char* command, std::string& pattern);

/// What that command does, without a process of its own that could go on deleting after this one
/// has died. A link on the way is followed inside the device root and nowhere else; what matches in
/// the end is removed without following anything.
/// @param pattern  a device path that isPlainRemoval gave
/// @return as rm: 0 when nothing that matched is left, 1 when something is; -1 at the deadline
int removeMatching(const std::string& pattern, std::chrono::steady_clock::time_point deadline);

} // namespace linux_framework
