#pragma once

#include <string>
#include <vector>

#include "SensorTypes.h"

/// The simulator's dials, for programs that run a camera on it. Any thread. They change the sensor,
/// not the camera's settings; Refresh or Settle makes the snapshot follow at once.
namespace host::simulator {

/// Lets a command of the layer fail with a code, so many times; 0: until the code is 0.
void fail(u32 command, int code, unsigned int count);

/// Allows only these values of a command. @return false for an unknown command, or too much
bool limit(u32 command, int defaultValue, const std::vector<int>& items);

/// Allows all of them again. @return false when the command was not limited
bool unlimit(u32 command);

/// Everything that can be set on the simulator.
struct Dials {
    int light = 100; ///< these four 0 .. 100
    int fog = 0;
    int lamp = 30;
    int shake = 0;
    bool unplugged = false;
    struct Fault {
        u32 command = 0;
        int code = 0;
        unsigned int count = 0; ///< calls that fail yet; 0: all
    };
    std::vector<Fault> faults;
    struct Limit {
        u32 command = 0;
        int defaultValue = 0;
        std::vector<int> items; ///< the only values that it takes
    };
    std::vector<Limit> limits;
};
Dials dials();

/// Sets everything; what fails or is limited beside it does no longer.
/// @param problem  receives a sentence
/// @return false, and nothing is changed, for what the simulator does not take
bool setDials(const Dials& dials, std::string& problem);

} // namespace host::simulator
