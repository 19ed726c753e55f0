#pragma once

#include "host/compliance/Findings.h"
#include "host/compliance/Settings.h"

namespace compliance {

/// Tries everything of one command.
Findings checkCommand(unsigned int cmd, const Settings& settings);

/// Tries commands that no layer has.
Findings checkUnknownCommands();

} // namespace compliance
