#pragma once

#include <climits>
#include <cstdlib>

/// Reads a signed decimal as the board does, whose long has 32 bits: leading blanks and a sign are
/// taken, digits end at the first other character, none give 0, and a number that does not fit
/// becomes the nearest that does.
inline int parseInt32(const char* text) {
    const long number = strtol(text, nullptr, 10);
    if (number > INT_MAX)
        return INT_MAX;
    if (number < INT_MIN)
        return INT_MIN;
    return static_cast<int>(number);
}
