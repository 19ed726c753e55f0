#pragma once

#include <string>

#include "Exposure.h"
#include "Finish.h"
#include "SimulatedWorld.h"

namespace simulated_ia {

/// Writes a line of text into a picture, white with a dark rim. Letters are capitals; a character
/// without a shape is a space. What does not fit is left out.
/// @param x, y  of the left upper corner; x negative: so far from the right edge, y from the lower
/// @param size  points of the picture in one of a letter's five by seven
void writeText(Frame& frame, int x, int y, int size, const std::string& text);

/// What writeText takes for a text, in points of the picture.
int textWidth(int size, const std::string& text);

/// Writes the time, what the picture was exposed with, and those settings that no picture shows:
/// thresholds, hours, speeds.
void writeOverlay(Frame& frame, const std::string& time, const SensorState& state,
                  const Exposure& exposure);

} // namespace simulated_ia
