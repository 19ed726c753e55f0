#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/Explain.h"
#include "host/Snapshot.h"

/// Why the picture looks as it does, from the values alone: nobody here sees the picture.
namespace host {

enum class Look {
    Dark,
    Bright,
    Grey,
    Blurred,
    Noisy,
};

/// "dark", "bright", "grey", "blurred", "noisy"; other spellings of them are taken too.
std::optional<Look> readLook(const std::string& text);
const char* name(Look look);

/// A value that makes the picture so.
struct PictureCause {
    u32 key = 0;
    int value = 0;      ///< that the device has
    int neutral = 0;    ///< one that would not
    double weight = 0;  ///< above 0, at most 1: how much it is likely to matter
    std::string family; ///< the title of its tab
    std::string text;   ///< a sentence with what it does
    Advice advice;      ///< to the neutral value
};

/// What the values have to do with a look.
struct PictureExplanation {
    Look look = Look::Dark;
    std::string text;                 ///< a sentence on the whole
    std::vector<PictureCause> causes; ///< the weightiest first
};

/// Values that have no effect now are left out.
PictureExplanation explain(const Snapshot& snapshot, Look look, int language);

} // namespace host
