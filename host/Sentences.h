#pragma once

#include <string>

#include "host/Operation.h"
#include "host/Snapshot.h"

/// The sentences that every program says about a refusal, in English, made from what the camera
/// answered. Each says what, why, what is allowed, and what to do.
namespace host {

/// "Brightness takes 0 to 255; 300 was refused. 133 stays in force."
std::string sentence(const Snapshot& snapshot, const KeyOutcome& outcome, int language = 0);

/// "scheme 2 is not saved: its time window does not start before it ends (507)"
std::string sentence(const SchemeOutcome& outcome);

/// Why as a part of a sentence: "out of range; it takes 0..255", "the layer failed (code -1)".
std::string reasonText(const Refusal& refusal);

const char* name(Cause cause);      ///< "schedule"
const char* name(KeyResult result); ///< "taken differently"
const char* name(Reason reason);    ///< "range"

} // namespace host
