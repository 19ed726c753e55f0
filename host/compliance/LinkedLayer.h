#pragma once

#include <vector>

#include "host/compliance/Command.h"

namespace compliance {

/// The commands of the layer that this program is linked with, which ia_ioctrl answers from here
/// on: a board's own, or the simulator. Nothing is set in it. Once in a process, before run().
std::vector<Command> commandsOfLinkedLayer();

} // namespace compliance
