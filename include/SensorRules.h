#pragma once

#include <cstring>

#include "SensorTypes.h"

// What the library makes of values that mean something together. Hosts that tell what a camera will
// do go by the same rules.

/// What the layer is told for a mirror setting. A camera that is turned away from its scene shows
/// it from behind: the two mirrorings change places.
constexpr u32 effectiveMirror(u32 nMirror, u32 nBeaway) {
    return nBeaway == 0 ? nMirror : nMirror == 1 ? 2 : nMirror == 2 ? 1 : nMirror;
}

/// The day/night mode that the layer is told while the light chooses the scheme, whatever the
/// scheme records: the light goes on choosing.
constexpr u32 SENSOR_DN_MODE_BY_LIGHT = 0;

/// A plate-recognition camera switches by day and night, outside all windows, unless its detail
/// says whether it has an infrared lamp.
inline bool hasDayNightSchemes(const char* detail) {
    return strstr(detail, "(isInfrared=0)") == nullptr &&
           strstr(detail, "(isInfrared=1)") == nullptr;
}
