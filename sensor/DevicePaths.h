#pragma once

#include <cstdio>

#include "SensorTypes.h"

constexpr char kMachineInfoFile[] = "/mnt/mtd/code/factory_setting/machineinfo.ini";

/// Removes every saved scheme, and so many seconds it may take.
constexpr char kRemoveSchemeFiles[] = "rm -rf /mnt/mtd/code/config*/sensor*";
constexpr int kRemoveSeconds = 30;

/// Where a scheme is saved.
struct SchemeFileName {
    explicit SchemeFileName(u32 scheme) {
        snprintf(text, sizeof text, "/mnt/mtd/code/config_file/sensor%d.cfg",
                 static_cast<int>(scheme));
    }
    char text[64];
};
