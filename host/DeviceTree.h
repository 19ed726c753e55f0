#pragma once

#include <cstddef>
#include <string>

namespace host {

/// The device tree that is used when the command line names none: $IMGCTL_DEVICE, else the folder
/// "device-root" beside this program.
std::string defaultDeviceTree();

/// Whether a folder is one.
bool isDeviceTree(const std::string& directory);

/// Makes a folder the device's "/", and adds the folders of a camera's
/// flash that are missing in it.
/// @param problem  receives what is wrong and how to make a device tree
bool openDeviceTree(const std::string& directory, std::string& problem);

/// Reads a file of the device. @return false when it is missing, unreadable or above the limit
bool readDeviceFile(const std::string& path, std::size_t most, std::string& text);

/// Replaces a file of the device. @param problem  receives what is wrong
bool writeDeviceFile(const std::string& path, const std::string& text, std::string& problem);

/// Writes the report level and the abort switch to the device's sign file.
bool writeSignFile(int level, bool abort, std::string& problem);

/// Keeps a copy of the sign file beside it, unless there is one, which then counts.
void keepSignFile();

/// Puts the copy back, where there is one.
void restoreSignFile();

/// Writes the device type to the machine information; its other lines stay.
bool writeDeviceType(int type, std::string& problem);

} // namespace host
