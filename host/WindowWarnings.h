#pragma once

#include <string>
#include <vector>

#include "host/Snapshot.h"

namespace host {

constexpr int kMinutesOfDay = 24 * 60;

/// Something about the schemes' windows that is probably not meant.
struct WindowWarning {
    enum class Kind {
        Overlap, ///< two windows hold it; the lower scheme wins
        Never,   ///< an enabled scheme never comes into force, as lower ones hold all its hours
        Gap,     ///< between windows; the factory values are in force
        Short,   ///< a window that holds no minute
        Order,   ///< a window that does not start before it ends, or goes beyond the day's end
    };
    Kind kind = Kind::Overlap;
    std::string text;         ///< a sentence that names the schemes
    std::vector<int> schemes; ///< those concerned, of an overlap the winner first; of a gap none
    int from = 0;             ///< minutes of the day; a gap over midnight ends before it starts
    int to = 0;
};

/// Judges windows, also those that are switched off where saving would refuse them. A camera whose
/// windows are all switched off has no gaps, nor has one that the light switches between windows.
/// @param schemes  the snapshot's, perhaps with other windows
std::vector<WindowWarning> windowWarnings(const Snapshot& snapshot,
                                          const std::vector<Scheme>& schemes);

/// "21:04" of a minute of the day, also of a later day; "24:00" of the first day's end.
std::string minuteText(int minute);

} // namespace host
