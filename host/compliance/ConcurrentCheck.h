#pragma once

#include "host/compliance/Findings.h"
#include "host/compliance/Layer.h"

namespace compliance {

/// Sets a command to two values in turn from two threads, while two more read it: only these values
/// may be seen, each whole.
/// @param rounds  calls of each thread; fewer where they take long
void checkConcurrently(unsigned int cmd, const Words& low, const Words& high, int rounds,
                       Findings& findings);

} // namespace compliance
