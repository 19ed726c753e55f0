#include "HostCamera.h"

#include <cstdlib>
#include <filesystem>

#include "ImageAdjustRecords.h"
#include "LinuxFramework.h"
#include "SimulatedImageAdjust.h"

namespace fs = std::filesystem;

HostCamera::HostCamera() {
    std::string pattern = fs::temp_directory_path() / "camera.XXXXXX";
    root = mkdtemp(pattern.data());
    fs::copy(IMGCTL_SOURCE_DIR "/device", root, fs::copy_options::recursive);
    simulated_ia::reset();
}

HostCamera::~HostCamera() {
    camera.stop();
    simulated_ia::reset();
    linux_framework::useRealClock();
    linux_framework::setDeviceRoot("/");
    fs::remove_all(root);
}

void HostCamera::start(double speed) {
    options.device = root;
    options.program = "test";
    options.clock = host::CameraOptions::Clock{3, 0, 0};
    options.speed = speed;
    options.debugLevel = -1; // faults are the tests' own; their reports would fill the terminal
    const host::StartProblem problem = camera.start(options);
    ASSERT_FALSE(problem) << problem.text;
}

host::Outcome HostCamera::set(u32 key, int value, std::optional<int> scheme) {
    host::SetValues values;
    values.values = {{key, value}};
    values.scheme = scheme;
    return perform(values);
}

std::optional<int> HostCamera::sensorValue(u32 command) {
    int words[image_adjust::RECORD_WORDS_MAX] = {};
    // Past the entry, so that nothing that observes the host's calls is disturbed.
    return simulated_ia::layer()->ioctl(command, IA_CMD_OPT_GET, words) != 0
               ? std::nullopt
               : std::optional<int>(words[command - image_adjust::recordOf(command).first]);
}

bool HostCamera::soon(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
