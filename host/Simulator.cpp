#include "host/Simulator.h"

#include "SimulatedImageAdjust.h"

namespace host::simulator {

void setLight(int level) {
    simulated_ia::setLight(static_cast<unsigned int>(level));
}

void fail(u32 command, int code, unsigned int count) {
    simulated_ia::fail(command, code, count);
}

bool limit(u32 command, int defaultValue, const std::vector<int>& items) {
    return simulated_ia::limit(command, defaultValue, items);
}

bool unlimit(u32 command) {
    return simulated_ia::unlimit(command);
}

} // namespace host::simulator
