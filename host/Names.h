#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/Operation.h"
#include "host/Snapshot.h"

/// Keys and values as people write them, by the names and labels of a camera's catalogue.
namespace host {

/// Reads a key: its number, its name in any usual spelling (KEY_BRIGHTNESS, brightness), the
/// style's name (exposeMode, expose-mode), or the label in English or in the language.
/// @param problem  receives what is wrong, with the nearest name
bool readKey(const Catalogue& catalogue, const std::string& text, int language, u32& key,
             std::string& problem);

/// Reads a value of a key: a number, or the name or label of one of its choices;
/// "on" and "off" of a switch.
/// @param problem  receives what is wrong, with what is allowed
bool readValue(const Catalogue& catalogue, u32 key, const std::string& text, int language,
               int& value, std::string& problem);

/// How a value is shown: "manual" for a choice, "off" for a switch, else the number.
std::string valueText(const Parameter& parameter, int value, int language);

/// What a key takes, for people: "0..255", "automatic, manual, shutterPriority".
std::string allowedText(const Parameter& parameter, const std::optional<Limits>& limits,
                        int language);

/// Every name that readKey takes for a key of this camera, once, for completion.
std::vector<std::string> keyNames(const Catalogue& catalogue);

/// The names of a key's choices, for completion.
std::vector<std::string> valueNames(const Catalogue& catalogue, u32 key);

/// How a scheme is called: "1 Night"; "scheme 1" without a name, "factory values" the default one.
std::string schemeTitle(const Snapshot& snapshot, int scheme);

/// The name of a key in reports: "KEY_BRIGHTNESS", else its number.
std::string keyName(const Catalogue& catalogue, u32 key);

} // namespace host
