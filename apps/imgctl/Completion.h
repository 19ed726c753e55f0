#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace imgctl {

/// The names of keys that completions offers.
void completeKeys(std::vector<std::string> names);

/// What the word at the end of a line could become: a command, a key, or one of the fixed words
/// that the command takes.
/// @param line   the line up to the cursor
/// @param start  receives where the word begins
std::vector<std::string> completions(const std::string& line, std::size_t& start);

/// The longest beginning that all of them have.
std::string commonBeginning(const std::vector<std::string>& texts);

} // namespace imgctl
