#pragma once

#include <cstdio>
#include <functional>
#include <vector>

/// The second face of the simulated image-adjust layer, for whoever hosts the camera: it shows what
/// the layer was asked, sets what the sensor sees, and makes commands fail. Every function may be
/// called by any thread at any time. The library never sees it.
namespace simulated_ia {

/// One call of ia_ioctrl.
struct Call {
    unsigned int cmd;
    unsigned int opt;
    std::vector<int> in;  ///< words handed over; empty for reads
    std::vector<int> out; ///< words after the call; empty for failed reads
    int result;
};

/// Back to the state of a sensor just switched on: every value its default, nothing limited, no
/// fault, no lie, daylight, no trace, no observer, no delay, the lens at rest. The time sources
/// stay.
void reset();

/// Where the lens takes its time from: microseconds since an arbitrary start. Null: the machine's
/// monotonic clock, as at process start. The layer calls the source under its lock, so the source
/// must not use the layer.
void setTimeSource(long long (*microseconds)());

/// Where day/night switching by the clock takes the time of day from: minutes since midnight,
/// 0 .. 1439. Null: the machine's local time, as at process start. Called as the source above.
void setTimeOfDaySource(int (*minutesOfDay)());

/// Writes a line for every call: "ia CMD OPT WORDS_IN WORDS_OUT RESULT". The file stays the
/// caller's and is flushed after every line; null ends the trace.
void traceTo(FILE* file);

/// Calls the observer after every call of the layer, on the thread that made it and outside the
/// layer's lock, so that it may itself use the layer and these functions. Empty: none. A call under
/// way while the observer is replaced may still reach the old one.
void observe(std::function<void(const Call&)> observer);

/// The number of calls of ia_ioctrl since reset().
unsigned long callCount();

/// Makes a command fail.
/// @param cmd    command number
/// @param code   what ia_ioctrl returns for it; 0 ends the fault
/// @param count  for so many calls; 0: until told otherwise
void fail(unsigned int cmd, int code, unsigned int count = 0);

/// Lets the n-th call from now on (1: the next one), whatever its command, return a code, once.
void failNthCall(unsigned long n, int code);

/// Sets the light on the sensor, 0 (dark) .. 100 (bright). Day turns to night and back by the
/// thresholds of commands 145 and 146, unless the mode of command 144 fixes the state or the clock
/// decides it.
void setLight(unsigned int level);

/// Whether the infrared lamp is lit now: by night, when it is switched on (command 160) and has any
/// strength in the mode of command 161.
bool lampOn();

/// Restricts the values of a command on this sensor, so that it appears in the list of restricted
/// commands. At most 16 commands can be restricted, each to at most 64 values. A restricted command
/// takes exactly these values; the value in force stays. Restricting a command again replaces its
/// list.
/// @return true when taken; false for an unknown command, too many commands or items, or no items
bool limit(unsigned int cmd, int defaultValue, const std::vector<int>& items);

/// Ends the restriction of a command. @return false when it was not restricted
bool unlimit(unsigned int cmd);

/// What a command takes when nothing restricts it.
struct Range {
    int min;
    int max;
    int defaultValue;
    const char* name; ///< what the command is about, a static text
};

/// @return true and the range of a command that can be set; a command with a day/night record
/// answers
///         for its own field of it. False for the commands that only read, and for unknown ones
bool describe(unsigned int cmd, Range& range);

/// Lets every call take so long, in real microseconds.
void setDelay(unsigned int microseconds);

/// Lets the layer lie in what it reports.
struct Lie {
    bool active = false;  ///< the two counts are told in place of the true ones
    int cmdCount = 0;     ///< cmd_cnt of the list of restricted commands
    int itemCount = 0;    ///< items_cnt of every range record
    bool endless = false; ///< the version text fills its 50 bytes, whether active or not
};
void setLie(const Lie& lie);

} // namespace simulated_ia
