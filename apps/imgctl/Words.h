#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Client.h"
#include "host/Names.h"
#include "host/Snapshot.h"

/// What users type: keys, pairs and queries.
namespace imgctl {

/// Reads a key by the catalogue of the camera of this process.
bool readKey(const host::Snapshot& now, const std::string& text, u32& key, std::string& problem);

/// Reads an image-adjust command, given by number or by the name of the key it carries.
bool readLayerCommand(const host::Snapshot& now, const std::string& text, u32& command,
                      std::string& problem);

/// Reads a query: keys separated by blanks or commas, or "(34,2337)". They are
/// checked by the camera.
bool readQuery(const std::string& text, std::vector<std::string>& keys, std::string& problem);

/// Reads parameters: "(34,60)(brightness,60) saturation=55,contrast=1" in any mixture.
/// @param pairs  receives what the API takes for "values"
bool readPairs(const std::string& argument, Json& pairs, std::string& problem);

/// Takes the words that are written as options out of a text: "--save --with 1 a=1" leaves "a=1".
/// @param names    each that may be there; one that ends with '=' takes the next word as its value
/// @param options  receives name and value of each that is there, the value empty without one
/// @return false: another one is there, or a value is missing
bool takeOptions(std::string& text, const std::vector<std::string>& names,
                 std::vector<std::pair<std::string, std::string>>& options, std::string& problem);

} // namespace imgctl
