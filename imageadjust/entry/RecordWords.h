#pragma once

#include <cstddef>

#include "ImageAdjustRecords.h"

namespace image_adjust {

/// The words of one record on their way into or out of a call. No allocation: every call that is
/// shown has two.
struct Words {
    int count = 0; ///< 0: nothing was handed over
    int word[RECORD_WORDS_MAX] = {};

    bool empty() const { return count == 0; }
    std::size_t size() const { return static_cast<std::size_t>(count); }
    int operator[](std::size_t index) const { return word[index]; }
    const int* begin() const { return word; }
    const int* end() const { return word + count; }
};

} // namespace image_adjust
