#pragma once

#include <string>
#include <vector>

#include "host/Names.h"
#include "host/Operation.h"
#include "host/Snapshot.h"

/// What users type: keys, pairs and queries, by the camera's catalogue.
namespace imgctl {

std::string keyName(const host::Snapshot& now, u32 key);

bool readKey(const host::Snapshot& now, const std::string& text, u32& key, std::string& problem);

/// Reads an image-adjust command, given by number or by the name of the key it carries.
bool readLayerCommand(const host::Snapshot& now, const std::string& text, u32& command,
                      std::string& problem);

/// Reads a query: keys separated by blanks or commas, or "(34,2337)".
bool readQuery(const host::Snapshot& now, const std::string& text, std::vector<u32>& keys,
               std::string& problem);

enum class PairResult { good, malformed, unknownKey };

/// Reads parameters: "(34,60)(brightness,60) saturation=55" in any mixture.
PairResult readPairs(const host::Snapshot& now, const std::string& argument,
                     std::vector<host::Pair>& pairs, std::string& problem);

} // namespace imgctl
