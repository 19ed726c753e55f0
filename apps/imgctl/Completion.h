#pragma once

#include <string>
#include <vector>

#include "Client.h"

namespace imgctl {

/// From now on the names of a camera's keys and of their choices are known to completions().
void completeFrom(Client& client);

/// The names of the keys alone, without a camera.
void completeFromTable();

/// The words that may stand at the end of a line: commands, what a command takes, keys, the choices
/// of a key behind its '=', files.
/// @param start  receives where the word begins that is to be completed
std::vector<std::string> completions(const std::string& line, std::size_t& start);

/// What all of them begin with.
std::string commonBeginning(const std::vector<std::string>& texts);

} // namespace imgctl
