#pragma once

#include <vector>

#include "SensorTypes.h"

/// The simulator's dials, for programs that run a camera on it. Any thread. They change the sensor,
/// not the camera's settings; Refresh or Settle makes the snapshot follow at once.
namespace host::simulator {

/// Light on the sensor, 0 (dark) .. 100 (bright).
void setLight(int level);

/// Lets a command of the layer fail with a code, so many times; 0: until the code is 0.
void fail(u32 command, int code, unsigned int count);

/// Allows only these values of a command. @return false for an unknown command, or too much
bool limit(u32 command, int defaultValue, const std::vector<int>& items);

/// Allows all of them again. @return false when the command was not limited
bool unlimit(u32 command);

} // namespace host::simulator
