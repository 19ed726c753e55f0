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
/// "they were saved for device type 1, this is device type 4"; "" where nothing does, nothing is
/// saved, or the files are still as the library made them. A style is another one by its keys, or
/// by its ranges where a saved value is outside of them.
std::string savedForOther(const std::string& identity, int deviceType);

/// What the library finds saved when it starts.
struct SavedStart {
    /// Another camera's files, to be carried over: their content by scheme. They are out of the
    /// library's way; copies of them stay beside, under their names with this ending.
    std::map<int, std::string> aside;
    std::string ending;
    bool untouched = false; ///< nobody has saved anything
};

/// To be called before the library's init, which would take another camera's files by position.
/// Puts those aside that savedForOther() tells of, or brings them back to the camera that they
/// belong to, where carrying them over came to no end; removes another camera's that nobody has
/// saved. Wherever this is interrupted, the next start finds the originals.
/// @param problem  receives what cannot be read or written; what was saved is still found then
bool prepareSaved(const std::string& identity, int deviceType, SavedStart& start,
                  std::string& problem);

/// Makes the copies again that the library removed: it does with everything of another version.
bool keepAside(const SavedStart& start, std::string& problem);

/// Keeps whose the saved schemes are; what was put aside is carried over then.
/// @return false where it cannot be written
bool rememberSavedFor(const std::string& identity);

/// The same for scheme files that the library has made, until one is saved.
void rememberUntouched(const std::string& identity);

/// Keeps that the tree's style was made anew for its camera: what was saved for the one before is
/// carried over at the next start, unasked. Of the device tree that is open, with its lock.
/// @param problem  set where it could not be kept: --convert alone carries over then
/// @return whether anything is to be carried over
bool rememberRemade(std::string& problem);

/// Whether that is so, and nothing else about the camera is another since.
bool isRemade(const std::string& identity, int deviceType);

/// What of that is missing or broken which decides what a scheme is made of, each with its path.
std::vector<std::string> styleProblems(int deviceType);

/// The same with what would only spoil the user interface.
std::vector<std::string> treeProblems(int deviceType);

} // namespace host
