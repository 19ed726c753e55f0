#pragma once

#include "DravikTime.h"

/// The step in which the controller waits for another of its operations to end.
inline void pauseHalfSecond() {
    DravikTime::wait(DravikTime(0, 500000));
}
