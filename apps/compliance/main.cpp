// Tries the image-adjust layer that this program is linked with: ia-compliance [KEY].
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>

#include "ISensorController.h"
#include "LinuxFramework.h"
#include "ModuleConfigure.h"
#include "SensorPaths.h"
#include "host/compliance/Compliance.h"
#ifdef COMPLIANCE_SIMULATOR
#include "SimulatedImageAdjust.h"
#endif

namespace {

enum Status { done = 0, failed = 1, usage = 2 };

volatile std::sig_atomic_t interrupted = 0;

void remember(int /*signal*/) {
    interrupted = 1;
}

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

    std::vector<compliance::Command> commands() const {
        return compliance::commandsOf(g_pKeyCmdMap, g_pKeyCmdMap == nullptr ? 0 : g_nKeyCmdNum);
    }

private:
    std::string m_root;
    ISensorController m_controller;
};

void print(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

int runChecks(const char* wanted) {
#ifdef COMPLIANCE_SIMULATOR
    image_adjust::setLayer(simulated_ia::layer());
#endif
    const KeyMap map;
    const std::vector<compliance::Command> commands = map.commands();
    const auto found = std::find_if(
        commands.begin(), commands.end(), [wanted](const compliance::Command& command) {
            return wanted != nullptr &&
                   (command.name == wanted || std::to_string(command.key) == wanted);
        });
    if (wanted != nullptr && found == commands.end()) {
        std::fprintf(stderr, "ia-compliance: no command of the layer has the key '%s'\n", wanted);
        return usage;
    }
    std::signal(SIGINT, remember);
    compliance::Settings settings;
    settings.print = print;
    settings.interrupted = [] { return interrupted != 0; };
    const compliance::Totals totals =
        compliance::run(commands, wanted == nullptr ? nullptr : &*found, settings);
    return totals.failed > 0 ? failed : done;
}

} // namespace

int main(int argc, char** argv) {
    const bool help = argc == 2 && std::string(argv[1]) == "--help";
    if (help || argc > 2) {
        std::fputs(
            "Usage: ia-compliance [KEY]\n"
            "Tries the image-adjust layer against its contract, key by key or one KEY (a number,\n"
            "or a name such as KEY_BRIGHTNESS), and puts every value back.\n"
            "Exit status: 0 nothing failed, 1 failed, 2 not understood.\n",
            help ? stdout : stderr);
        return help ? done : usage;
    }
    try {
        return runChecks(argc == 2 ? argv[1] : nullptr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ia-compliance: %s\n", error.what());
        return failed;
    }
}
