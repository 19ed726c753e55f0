#pragma once

#include "CommandTable.h"
#include "DayNightModel.h"
#include "Dependencies.h"
#include "FaultPlan.h"
#include "LensModel.h"
#include "Restrictions.h"
#include "SimulatedTypes.h"
#include "SimulatedWorld.h"

namespace simulated_ia {

/// The sensor, its signal processor, lens and lamp, with everything a call can change. Not
/// thread-safe: whoever owns it keeps calls apart.
class SimulatedSensor {
public:
    SimulatedSensor();

    /// As switched on, in daylight, with nothing scripted; the time sources stay.
    void reset();

    /// As switched on; what is scripted and the light stay.
    void powerUp();

    /// One call of the layer.
    /// @return 0 or one of ia_error_e
    int call(unsigned int cmd, unsigned int opt, void* data);

    /// Sets a value of a command from outside. @return false where a call could not
    bool change(unsigned int cmd, int newValue);

    /// What keeps the sensor from acting on a command now, or null.
    const Dependency* blocker(unsigned int cmd) const;

    /// Why the last call of a command's row failed, a static text; null when it did not.
    const char* failure(int row) const { return m_failures[row]; }

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
    int answer(unsigned int cmd, int row, unsigned int opt, void* data);
    int set(int row, const int* words);
    int get(unsigned int cmd, int row, void* data);
    int range(int row, void* data);
    int current(int row);
    int value(unsigned int cmd) const { return m_values[findCommand(cmd)]; }
    void takeEffect(unsigned int cmd, int newValue);
    bool night();

    int m_values[COMMAND_COUNT] = {};
    const char* m_failures[COMMAND_COUNT] = {};
    LensModel m_lens;
    DayNightModel m_dayNight;
};

} // namespace simulated_ia
