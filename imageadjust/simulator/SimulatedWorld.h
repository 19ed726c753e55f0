#pragma once

#include <utility>
#include <vector>

#include "CommandTable.h"
#include "World.h"

/// What the simulated sensor looks at, and all that its picture depends on, for whoever hosts the
/// camera. Every function may be called by any thread at any time.
namespace simulated_ia {

/// The dials beside setLight of SimulatedImageAdjust.h, 0 .. 100 each, more counts as 100. reset()
/// puts them back.
void setFog(unsigned int level);
void setLamp(unsigned int level);
void setShake(unsigned int level);

World world();

/// The sensor at a moment.
struct SensorState {
    int values[COMMAND_COUNT]; ///< by row of the command table; lens positions as they are now
    bool night;
    World world;

    int value(unsigned int cmd) const { return values[findCommand(cmd)]; }
};

/// Commands with the values that they are to be thought to have; others than the table's are passed
/// over, and values are brought into their range.
typedef std::vector<std::pair<unsigned int, int>> Assumptions;

/// The sensor as it stands now, or as it would with other values: then day or night is what their
/// thresholds and hours make of it. It is no call of the layer: not counted, not shown to
/// observers, and no fault or delay touches it.
SensorState sensorState(const Assumptions& assumptions = Assumptions());

} // namespace simulated_ia
