#pragma once

#include "SensorTypes.h"

/// The copy of the host's module configuration. All texts are NUL-terminated.
struct ModuleConfig {
    u32 nModuleId;
    char szLabel[32];
    char szShortLabel[10];
    char szParameters[256];
    char szDetail[512]; ///< parenthesised fields such as (max_scheme=4)(isInfrared=1)
};
