#pragma once

#include <optional>
#include <string>
#include <vector>

#include "SensorTypes.h"
#include "host/Snapshot.h"

namespace host {

/// The factory values of the running camera, in the order of the records of every scheme. Asks the
/// layer for its restrictions.
std::vector<KeyVal> factoryValues();

/// The device path of a scheme's file.
std::string schemeFile(int scheme);

enum class FileState {
    Read,
    Missing,
    Unreadable, ///< it is there, but cannot be read now
};

/// The records that the content of a scheme's file is made of.
std::vector<KeyVal> recordsOf(const std::string& content);

/// What a scheme's file holds.
/// @param ending  behind its name, for a copy beside it
FileState savedValues(int scheme, std::vector<KeyVal>& values, const std::string& ending = "");

/// Replaces a scheme's file and reads it back.
/// @return why it does not hold the records afterwards; Reason::None when it does
Refusal saveValues(int scheme, std::vector<KeyVal> records);

/// Why the folder of the scheme files takes nothing: "the flash is full".
std::string storageProblem();

/// The window among a scheme's values. @param keys  of the values, in their order
Window windowOf(const std::vector<u32>& keys, const std::vector<int>& values);

/// The values of a window, keys 8000 .. 8004.
std::vector<Pair> windowPairs(const Window& window);

/// @return 0; 505 start after 24:00; 506 end after 24:00; 507 start not before end
int windowFault(const Window& window);

/// What a window that cannot be saved is refused with.
Refusal windowRefusal(int fault);

/// The names that people gave to schemes, by number; kept beside the scheme files.
std::map<int, std::string> schemeNames();
Refusal saveSchemeNames(const std::map<int, std::string>& names);

} // namespace host
