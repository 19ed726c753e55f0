#pragma once

#include "PictureSettings.h"
#include "View.h"

namespace simulated_ia {

/// The shutter scale of commands 49 and 50: step 0 is 1/3 s, each further one a shorter time, step
/// 19 is 1/10000 s, and those above it are as short. Step 100 is as long as the frame rate allows.
/// @return seconds
double shutterTime(int step, int frameRate);

/// What the camera exposes with.
struct Exposure {
    double shutter; ///< seconds
    double iris;    ///< the opened part, 1: as wide as iris size 5
    double gain;    ///< 1 .. 63
    double factor;  ///< what white paper on a bright day then gives; 4095 is full
};

/// Measures the light as the settings ask for and chooses the exposure.
Exposure expose(const PictureSettings& settings, const Metering& metering, double unit);

} // namespace simulated_ia
