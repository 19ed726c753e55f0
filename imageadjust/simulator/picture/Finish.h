#pragma once

#include <cstdint>
#include <vector>

#include "Development.h"
#include "PictureSettings.h"

namespace simulated_ia {

/// A picture as JPEG takes it: luma of every point, chroma of every two by two; 128 is no colour.
struct Frame {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> luma;
    std::vector<uint8_t> blue;
    std::vector<uint8_t> red;

    /// Red, green and blue of each point, one after another.
    std::vector<uint8_t> rgb() const;
};

/// Evens out neighbours that differ little, and leaves edges.
/// @param strength  0 .. 100
void reduceNoise(Developed& picture, int strength);

/// Sharpness, contrast, brightness and saturation.
void finish(const Developed& picture, const PictureSettings& settings, Frame& frame);

/// Mirror, hanging, digital zoom.
void arrange(const PictureSettings& settings, Frame& frame);

} // namespace simulated_ia
