#pragma once

#include <string>
#include <vector>

#include "host/Operation.h"
#include "host/Snapshot.h"

namespace host {

/// The readable form of parameter sets: a line "[scheme N]" for each timed scheme, and under it a
/// line "KEY = VALUE" for each of its parameters. '#' starts a remark, blank lines mean nothing.
/// KEY is a name or a number, VALUE a number or the name of a choice.

/// One value that a text sets.
struct Assignment {
    unsigned int line;
    int scheme;
    Pair pair;
};

/// Writes all timed schemes.
/// @param count  receives the number of values
std::string exportText(const Snapshot& snapshot, std::size_t& count);

/// Reads and checks a whole text: its form, the schemes, the keys, the values against what the
/// layer takes, and the windows that result.
/// @param refusals  receives a line for each line of the text that is wrong, with its number; after
///                  20 of them only how many more
/// @return what the text sets, in its order; of use only without refusals
std::vector<Assignment> readText(const Snapshot& snapshot, const std::string& text,
                                 std::vector<std::string>& refusals);

} // namespace host
