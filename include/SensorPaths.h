#pragma once

#include <cstdio>

#include "SensorTypes.h"

/// Where the camera's files are on the device. docs/formats.md tells what is in each.
namespace sensor_paths {

// What the maker of the camera puts there.
constexpr char kModuleList[] = "/hd1/moduleConfig/moduleConfig.xml";
constexpr char kSensorConfig[] = "/hd1/moduleConfig/sensorConfig"; ///< of the three folders below
constexpr char kStyles[] = "/hd1/moduleConfig/sensorConfig/style";
constexpr char kStyleRules[] = "/hd1/moduleConfig/sensorConfig/styleDiversity";
constexpr char kLanguages[] = "/hd1/moduleConfig/sensorConfig/language";
constexpr char kMachineInfo[] = "/mnt/mtd/code/factory_setting/machineinfo.ini";
constexpr char kSignFile[] = "/mnt/mtd/sign/Debug.sign";

// What the library writes.
constexpr char kSavedFolder[] = "/mnt/mtd/code/config_file";
constexpr char kVersionFile[] = "/mnt/mtd/code/config_file/snsversion.cfg";
constexpr char kErrorLog[] = "/mnt/mtd/log/SensorError.log";
constexpr char kMergedStyle[] = "/tmp/merge_style.xml";

// What our host keeps beside the saved schemes, under names that no removal of schemes takes.
constexpr char kSchemeNames[] = "/mnt/mtd/code/config_file/scheme-names.txt";
constexpr char kSavedFor[] = "/mnt/mtd/code/config_file/saved-for.txt";

/// The folders of machine information and sign file, and those that the library writes in, which it
/// does not make.
constexpr const char* kFolders[] = {kSavedFolder, "/mnt/mtd/code/factory_setting", "/mnt/mtd/sign",
                                    "/mnt/mtd/log", "/tmp"};

/// The command that removes every saved scheme, and so many seconds it may take.
constexpr char kRemoveSchemes[] = "rm -rf /mnt/mtd/code/config*/sensor*";
constexpr int kRemoveSeconds = 30;

/// Where a scheme is saved.
struct SchemeFile {
    explicit SchemeFile(u32 scheme) {
        snprintf(text, sizeof text, "/mnt/mtd/code/config_file/sensor%d.cfg",
                 static_cast<int>(scheme));
    }
    char text[64];
};

} // namespace sensor_paths
