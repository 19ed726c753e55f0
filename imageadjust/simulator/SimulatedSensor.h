#pragma once

#include "CallTrace.h"
#include "CommandTable.h"
#include "DayNightModel.h"
#include "FaultPlan.h"
#include "LensModel.h"
#include "Restrictions.h"
#include "SimulatedImageAdjust.h"
#include "SimulatedWorld.h"

namespace simulated_ia {

/// The sensor, its signal processor, lens and lamp, with everything a call can change. Not
/// thread-safe: whoever owns it keeps calls apart.
class SimulatedSensor {
public:
    SimulatedSensor();

    /// As switched on; the time sources stay.
    void reset();

    /// One call of the layer.
    /// @param in   receives what the call was handed
    /// @param out  receives what stands at data afterwards; empty after a failed read
    /// @return 0 or one of ia_error_e
    int call(unsigned int cmd, unsigned int opt, void* data, Words& in, Words& out);

    void setLight(unsigned int level);
    bool lampOn();

    /// Takes a value without a call, brought into its range; for a copy that tries things out.
    void assume(unsigned int cmd, int value);
    SensorState state();

    // What scripts the sensor; a call only reads these, but for the faults' countdown.
    Restrictions restrictions;
    FaultPlan faults;
    Lie lie;
    World world; // its light is set by setLight
    long long (*microseconds)();
    int (*minutesOfDay)();

private:
    int set(int row, const Words& in);
    int get(unsigned int cmd, int row, void* data, Words& out);
    int range(int row, void* data, Words& out);
    int current(int row);
    int value(unsigned int cmd) const { return m_values[findCommand(cmd)]; }
    void takeEffect(unsigned int cmd, int newValue);
    bool night();

    int m_values[COMMAND_COUNT] = {};
    LensModel m_lens;
    DayNightModel m_dayNight;
};

} // namespace simulated_ia
