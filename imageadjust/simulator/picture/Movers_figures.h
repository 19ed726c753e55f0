#pragma once

#include "Painter.h"

namespace simulated_ia {

/// A car that drives to the right, its wheels on the lower edge.
Texture paintCar(unsigned int body);
constexpr int carLength = 216;
constexpr int carHeight = 76;

/// Somebody who walks to the right.
/// @param phase  0 .. 7 of two steps
Texture paintWalker(int phase);

} // namespace simulated_ia
