#pragma once

#include <memory>
#include <new>

#include "ISensorController.h"

/// The memory behind the controller's arrays. What was made once stays where it is until the
/// controller is destroyed, and a later start uses it again: a member that takes no lock may be
/// walking an array while a reset shuts the controller down and starts it anew.
struct ISensorController::Storage {
    std::unique_ptr<KeyVal[]> arrays[SENSOR_SCHEME_MAX + 1]; ///< SENSOR_KEYVAL_MAX records each
    KeyVal* table[SENSOR_SCHEME_MAX + 1] = {};               ///< the arrays in use; null otherwise
    KeyVal tmp[SENSOR_KEYVAL_MAX] = {};
    KeyVal lpr[SENSOR_KEYVAL_MAX] = {};
    std::unique_ptr<keycmd[]> map;
};
