#pragma once

#include <string>
#include <vector>

#include "SensorTypes.h"

class ISensorController;

namespace host {

/// The readable form of parameter sets: a line "[scheme N]" for each timed scheme, and under it a
/// line "KEY = VALUE" for each of its parameters. '#' starts a remark, blank lines mean nothing.
/// KEY is a name or a number.

/// One value that a text sets.
struct Assignment {
    unsigned int line;
    u32 scheme;
    KeyVal pair;
};

/// Writes all timed schemes as they are in memory.
/// @param count  receives the number of values
std::string exportText(ISensorController& controller, std::size_t& count);

/// Reads and checks a whole text: its form, the schemes, the keys, and the values against what the
/// layer takes. Changes nothing.
/// @param refusals  receives a line for each line of the text that is wrong, with its number
/// @return what the text sets, in its order; of use only without refusals
std::vector<Assignment> readText(const std::string& text, std::vector<std::string>& refusals);

} // namespace host
