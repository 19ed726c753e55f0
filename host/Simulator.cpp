#include "host/Simulator.h"

#include "ImageAdjust.h"
#include "SimulatedImageAdjust.h"
#include "SimulatedWorld.h"

namespace host::simulator {

void fail(u32 command, int code, unsigned int count) {
    simulated_ia::fail(command, code, count);
}

bool limit(u32 command, int defaultValue, const std::vector<int>& items) {
    return simulated_ia::limit(command, defaultValue, items);
}

bool unlimit(u32 command) {
    return simulated_ia::unlimit(command);
}

Dials dials() {
    const simulated_ia::World world = simulated_ia::world();
    Dials result;
    result.light = world.light;
    result.fog = world.fog;
    result.lamp = world.lamp;
    result.shake = world.shake;
    result.unplugged = simulated_ia::layer()->state() == image_adjust::DeviceState::Gone;
    for (const simulated_ia::Fault& fault : simulated_ia::faults()) {
        result.faults.push_back({fault.cmd, fault.code, fault.left});
    }
    for (const simulated_ia::Restriction& limited : simulated_ia::restrictions()) {
        result.limits.push_back({limited.cmd, limited.defaultValue, limited.items});
    }
    return result;
}

bool setDials(const Dials& dials, std::string& problem) {
    simulated_ia::Range range{};
    if (dials.limits.size() > IA_DYNAMIC_CMD_MAX) {
        problem = "At most " + std::to_string(IA_DYNAMIC_CMD_MAX) + " commands can be limited.";
        return false;
    }
    for (const Dials::Limit& wanted : dials.limits) {
        if (!simulated_ia::describe(wanted.command, range) || wanted.items.empty() ||
            wanted.items.size() > IA_DYNAMIC_ITEM_MAX) {
            problem = "Command " + std::to_string(wanted.command) +
                      " cannot be limited so: it must be one that is set, to 1 to " +
                      std::to_string(IA_DYNAMIC_ITEM_MAX) + " values.";
            return false;
        }
    }
    simulated_ia::setLight(static_cast<unsigned int>(dials.light));
    simulated_ia::setFog(static_cast<unsigned int>(dials.fog));
    simulated_ia::setLamp(static_cast<unsigned int>(dials.lamp));
    simulated_ia::setShake(static_cast<unsigned int>(dials.shake));
    for (const simulated_ia::Restriction& limited : simulated_ia::restrictions()) {
        unlimit(limited.cmd);
    }
    for (const Dials::Limit& wanted : dials.limits) {
        limit(wanted.command, wanted.defaultValue, wanted.items);
    }
    for (const simulated_ia::Fault& fault : simulated_ia::faults()) {
        fail(fault.cmd, 0, 0);
    }
    for (const Dials::Fault& fault : dials.faults) {
        fail(fault.command, fault.code, fault.count);
    }
    if (dials.unplugged) {
        simulated_ia::unplug();
    } else {
        simulated_ia::plugIn();
    }
    return true;
}

} // namespace host::simulator
