#pragma once

#include <chrono>

#include "host/compliance/Layer.h"

/// The commands that move lens and iris.
namespace compliance {

struct Motion {
    unsigned int cmd;
    bool isPosition;      ///< it is read back; else it orders a movement, and reads as nothing
    unsigned int modeCmd; ///< the mode in which nothing but this command moves it; 0: any
    int modeValue;
};

/// @return the command's row, or null for one that moves nothing
const Motion* motionOf(unsigned int cmd);

/// Puts a movement's mode into force, as far as the layer takes it, and back at the end.
class ManualMode {
public:
    /// @param motion  null for none
    ManualMode(const Motion* motion, std::chrono::milliseconds patience);
    ~ManualMode();
    ManualMode(const ManualMode&) = delete;
    ManualMode& operator=(const ManualMode&) = delete;

private:
    Findings m_ignored; // the mode's own check tells them
    Layer m_layer;
    Words m_before; // empty: not changed
};

} // namespace compliance
