#pragma once

#include <string>
#include <vector>

#include "Finish.h"

namespace simulated_ia {

/// Compresses a frame.
/// @param quality  1 .. 100; what lies outside is brought inside
/// @param jpeg     receives a whole JPEG file
/// @param problem  receives, on failure, the library's sentence
/// @return false when memory is short
bool encodeJpeg(const Frame& frame, int quality, std::vector<unsigned char>& jpeg,
                std::string& problem);

} // namespace simulated_ia
