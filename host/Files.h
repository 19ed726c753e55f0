#pragma once

#include <cstddef>
#include <string>

namespace host {

/// Reads a whole file of this machine.
/// @param most     a longer file is refused
/// @param problem  receives what is wrong
bool readFile(const std::string& path, std::size_t most, std::string& text, std::string& problem);

/// Replaces a file of this machine: at every moment it holds the old text or all of the new one.
/// Only regular files are replaced; a link keeps pointing at the file. Nothing else is touched:
/// what stands beside it is the user's, whatever it is called.
bool replaceFile(const std::string& path, const std::string& text, std::string& problem);

} // namespace host
