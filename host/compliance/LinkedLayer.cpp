#include "host/compliance/LinkedLayer.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "ISensorController.h"
#include "LinuxFramework.h"
#include "ModuleConfigure.h"
#include "SensorPaths.h"
#ifdef COMPLIANCE_SIMULATOR
#include "SimulatedImageAdjust.h"
#endif

namespace compliance {
namespace {

/// A controller that was started once on an empty camera, for its key-command map. It has no
/// parameters then, so it sets nothing in the layer.
class KeyMap {
public:
    KeyMap() : m_root(std::filesystem::temp_directory_path() / "ia-compliance.XXXXXX") {
        if (mkdtemp(m_root.data()) == nullptr || !linux_framework::setDeviceRoot(m_root)) {
            m_root.clear();
            return;
        }
        for (const char* folder : sensor_paths::kFolders) {
            std::filesystem::create_directories(m_root + folder);
        }
        // Nobody needs to hear that an empty camera has no style.
        std::ofstream(m_root + sensor_paths::kSignFile) << "-1\n0\n";
        linux_framework::setClockSpeed(1000);
        m_controller.init(ModuleConfigure());
        m_controller.uinit();
        linux_framework::useRealClock();
    }
    ~KeyMap() {
        std::error_code ignored;
        if (!m_root.empty()) {
            std::filesystem::remove_all(m_root, ignored);
        }
    }
    KeyMap(const KeyMap&) = delete;
    KeyMap& operator=(const KeyMap&) = delete;

    std::vector<Command> commands() const {
        return commandsOf(g_pKeyCmdMap, g_pKeyCmdMap == nullptr ? 0 : g_nKeyCmdNum);
    }

private:
    std::string m_root;
    ISensorController m_controller;
};

} // namespace

std::vector<Command> commandsOfLinkedLayer() {
#ifdef COMPLIANCE_SIMULATOR
    image_adjust::setLayer(simulated_ia::layer());
#endif
    return KeyMap().commands();
}

} // namespace compliance
