#pragma once

#include "Compliance.h"
#include "Findings.h"

namespace compliance {

/// Tries everything of one command.
Findings checkCommand(unsigned int cmd, const Settings& settings);

/// Tries commands that no layer has.
Findings checkUnknownCommands();

} // namespace compliance
