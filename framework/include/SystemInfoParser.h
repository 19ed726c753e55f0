#pragma once

#include <string>

#include "MachineInfo.h"

/// Reads the camera's factory information.
class SystemInfoParser {
public:
    /// @param path  absolute device path of the machine-information file
    /// @param info  filled from the file; unchanged when the file cannot be read, and in the fields
    ///              that the file does not name
    /// @return true when the file was read and names a device type
    static bool parseMachineInfo(const std::string& path, MachineInfo& info);
};
