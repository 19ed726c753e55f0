#pragma once

#include <cstddef>
#include <string>

namespace linux_framework {

/// Reads a whole device file.
/// @return true when it was read; false when it is missing, longer than limit, or cannot be read
bool readTextFile(const std::string& path, std::size_t limit, std::string& text);

/// Reads a decimal number of digits only, with blanks around it.
/// @return true and the value; false, and value unchanged, for anything else or above INT_MAX
bool parseDecimal(const std::string& text, int& value);

/// The text without the blanks at both ends.
std::string trimmed(const std::string& text);

} // namespace linux_framework
