#pragma once

#include <string>
#include <vector>

#include "ModuleConfigure.h"

/// Reads the list of the camera's modules.
class ModuleConfigureParser {
public:
    /// Appends the modules that the file lists for a device.
    /// @param file        absolute device path of the module list
    /// @param deviceType  the machine's device type, in decimal; an entry without a device
    ///                    type is for every device
    /// @param model       the machine's model name; an entry without a model is for every model
    /// @param modules     the matching entries are appended in the order of the file
    /// @return true when the file was read, also when no entry matches; false when it is missing or
    ///         cannot be read
    static bool parse(const std::string& file, const std::string& deviceType,
                      const std::string& model, std::vector<ModuleConfigure>& modules);
};
