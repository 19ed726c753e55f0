#pragma once

#include <string>
#include <vector>

#include "SensorTypes.h"

namespace host {

/// The row of a key in the running controller's map, or null.
const keycmd* keyRow(u32 key);

/// The key's symbolic name, or its number when it has none.
std::string keyName(u32 key);

/// The names of all keys in the form a user types: lower case, without "key-".
std::vector<std::string> shortKeyNames();

/// Reads a key given by number or by name: 34, KEY_BRIGHTNESS, brightness.
/// @param problem  receives what is wrong
bool readKey(const std::string& text, u32& key, std::string& problem);

/// Reads an image-adjust command, given by number or by the name of the key it carries.
bool readLayerCommand(const std::string& text, u32& command, std::string& problem);

/// Reads a query: keys separated by blanks or commas, or "(34,2337)".
/// @param query  receives the library's form; a query of numbers in parentheses is taken unchanged
bool readQuery(const std::string& text, std::string& query, std::string& problem);

enum class PairResult { good, malformed, unknownKey };

/// Reads parameters: "(34,60)(brightness,60) saturation=55" in any mixture.
/// @param pairs  receives them
/// @param text   receives the library's form; a text of bare number pairs is taken unchanged
PairResult readPairs(const std::string& argument, std::vector<KeyVal>& pairs, std::string& text,
                     std::string& problem);

} // namespace host
