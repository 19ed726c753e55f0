#pragma once

#include <vector>

#include "host/compliance/Command.h"
#include "host/compliance/Settings.h"

/// Tries an image-adjust layer against the contract of ImageAdjust.h, through ia_ioctrl alone, for
/// whoever brings a layer of his own. Whatever a check sets, it puts back.
///
/// What is tried of each command: get; the range record; setting each end of the range, the
/// default and each allowed item, and reading it back; values that must be refused and change
/// nothing; correct; status; calls from four threads; unknown options and null data; that records
/// are written whole and nothing behind them. Commands that move something are tried with
/// patience: what is refused as busy is a warning, and a position is read back when its status
/// says done. So is a warning whatever the layer says it does not support.
namespace compliance {

struct Totals {
    int total = 0; ///< lines: each is one of the three
    int succeeded = 0;
    int failed = 0;
    int warnings = 0;
};

/// Tries the layer. Prints "compliance KEY NAME ok", "... FAILED WHAT; WHAT" or "... warning WHAT"
/// for each command, then a line of totals. KEY is "-" for what concerns no command: whether an
/// unknown one fails, and what could not be put back. Nothing else may set the layer meanwhile: a
/// controller is to be shut down or in mode 0. A layer that crashes ends the process; null data,
/// which is the likeliest to do it, is tried when the command has been put back.
/// @param commands  everything that a command may move, as all of it is put back
/// @param only      the one of these to try; null: each, and an unknown command
Totals run(const std::vector<Command>& commands, const Command* only, const Settings& settings);

} // namespace compliance
