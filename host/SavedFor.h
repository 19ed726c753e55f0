#pragma once

#include <map>
#include <string>
#include <vector>

#include "SensorTypes.h"

/// For which camera the schemes of a device tree were saved. Values mean something else, or
/// nothing, on another one: so a tree remembers it beside the saved files.
namespace host {

/// A camera by what decides which keys its schemes have, as text.
std::string identityOf(int deviceType, int module, const std::string& detail);

/// What differs from the camera that the saved schemes belong to, as a part of a sentence:
/// "they were saved for device type 1, this is device type 4"; "" where nothing does, or
/// nothing is saved. A style is another one by its keys, or by its ranges where a saved
/// value is outside of them.
std::string savedForOther(const std::string& identity, int deviceType);

/// Keeps the identity. Where it cannot be written, the next start asks nothing.
void rememberSavedFor(const std::string& identity);

/// Nothing is saved any more but what every camera makes for itself.
void forgetSavedFor();

/// Reads what is saved and puts the files aside, as "sensor0.cfg.before".
/// @return the records by scheme
std::map<int, std::vector<KeyVal>> putSavedAside();

/// What of the device tree is missing or broken and would spoil the user
/// interface, each with its path.
std::vector<std::string> treeProblems(int deviceType);

} // namespace host
