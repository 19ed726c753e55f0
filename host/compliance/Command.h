#pragma once

#include <string>
#include <vector>

#include "SensorTypes.h"

namespace compliance {

/// A command of the layer.
struct Command {
    unsigned int cmd;
    unsigned int key; ///< the parameter it carries; the command's own number for those of ia_cmd_e
    std::string name;
};

/// The commands of a key-command map, without the rows that have none, then those of ia_cmd_e.
/// @param rows   the map: g_pKeyCmdMap after a controller's init; null for none
/// @param count  its rows
std::vector<Command> commandsOf(const keycmd* rows, int count);

} // namespace compliance
