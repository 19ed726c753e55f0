#pragma once

#include "host/compliance/Compliance.h"
#include "host/compliance/Findings.h"

namespace compliance {

/// Tries everything of one command.
Findings checkCommand(unsigned int cmd, const Settings& settings);

/// Tries commands that no layer has.
Findings checkUnknownCommands();

} // namespace compliance
