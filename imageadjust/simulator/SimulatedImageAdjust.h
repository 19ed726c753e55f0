#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Entry.h"
#include "Layer.h"
#include "SimulatedTypes.h"

/// The second face of the simulated image-adjust layer, for whoever hosts the camera: it gives the
/// layer, sets what the sensor sees, and makes commands fail. Every function may be called by any
/// thread at any time. The library never sees it.
namespace simulated_ia {

/// The simulated layer, of which a process has one: "simulator". To be chosen with
/// image_adjust::setLayer.
std::shared_ptr<image_adjust::Layer> layer();

/// Back to the state of a sensor just switched on: every value its default, nothing limited, no
/// fault, no lie, daylight, plugged in, no observer, no delay, the lens at rest. The time sources
/// stay, and whoever listens to the layer's events, who is told nothing.
void reset();

/// Where the lens takes its time from: microseconds since an arbitrary start. Null: the machine's
/// monotonic clock, as at process start. The layer calls the source under its lock, so the source
/// must not use the layer.
void setTimeSource(long long (*microseconds)());

/// Where day/night switching by the clock takes the time of day from: minutes since midnight,
/// 0 .. 1439. Null: the machine's local time, as at process start. Called as the source above.
void setTimeOfDaySource(int (*minutesOfDay)());

/// Shows every call of the process's ia_ioctrl to one observer, in place of the one before, until
/// reset() or an empty one; see image_adjust::observe.
void observe(std::function<void(const image_adjust::Call&)> observer);
typedef image_adjust::Call Call;

/// The number of calls of the layer since reset().
unsigned long callCount();

/// Makes a command fail.
/// @param cmd    command number
/// @param code   what ia_ioctrl returns for it; 0 ends the fault
/// @param count  for so many calls; 0: until told otherwise
void fail(unsigned int cmd, int code, unsigned int count = 0);

/// The commands that fail now.
struct Fault {
    unsigned int cmd;
    int code;
    unsigned int left; ///< for so many calls; 0: until told otherwise
};
std::vector<Fault> faults();

/// Lets the n-th call from now on (1: the next one), whatever its command, return a code, once.
void failNthCall(unsigned long n, int code);

/// Sets the light on the sensor, 0 (dark) .. 100 (bright). Day turns to night and back by the
/// thresholds of commands 145 and 146, unless the mode of command 144 fixes the state or the clock
/// decides it.
void setLight(unsigned int level);

/// Pulls the sensor out: every call fails with IA_ERR_FAILED, the layer's state is gone, and its
/// listener is told. Out already: nothing happens.
void unplug();

/// Puts it back, as switched on: every value its default. The light, restrictions and faults stay.
/// The layer's listener is told. In already: nothing happens.
void plugIn();

/// Changes a value as another program would, past ia_ioctrl; the layer's listener is told.
/// @return false for a value or command that a set would refuse, and while it is unplugged
bool changeFromOutside(unsigned int cmd, int value);

/// Whether the infrared lamp is lit now: by night, when it is switched on (command 160) and has any
/// strength in the mode of command 161.
bool lampOn();

/// Restricts the values of a command on this sensor, so that it appears in the list of restricted
/// commands. At most 16 commands can be restricted, each to at most 64 values. A restricted command
/// takes exactly these values; the value in force stays. Restricting a command
/// again replaces its list.
/// @return true when taken; false for an unknown command, too many commands or items, or no items
bool limit(unsigned int cmd, int defaultValue, const std::vector<int>& items);

/// Ends the restriction of a command. @return false when it was not restricted
bool unlimit(unsigned int cmd);

/// The commands that are restricted, in the order in which they became so.
std::vector<Restriction> restrictions();

/// What a command takes when nothing restricts it.
struct Range {
    int min;
    int max;
    int defaultValue;
    const char* name; ///< what the command is about, a static text
};

/// @return true and the range of a command that can be set; a command with a day/night
///         record answers for its own field of it. False for the commands that only
///         read, and for unknown ones
bool describe(unsigned int cmd, Range& range);

/// Lets every call take so long, in real microseconds.
void setDelay(unsigned int microseconds);

/// Lets the layer lie in what it reports.
void setLie(const Lie& lie);

} // namespace simulated_ia
