#include "FuzzCamera.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "LinuxFramework.h"
#include "ModuleConfigure.h"
#include "SimulatedImageAdjust.h"

namespace {

struct Flash {
    Flash() : root(std::filesystem::temp_directory_path() / "fuzz.XXXXXX") {
        require(mkdtemp(root.data()) != nullptr, "a temporary folder can be made");
        std::filesystem::copy(IMGCTL_SOURCE_DIR "/device", root,
                              std::filesystem::copy_options::recursive);
        linux_framework::setDeviceRoot(root);
        // Of the version that is now, or every start would run a shell to remove scheme files.
        writeFile(sensor_paths::kVersionFile, std::string("\x08\0\0\0", 4));
        startCamera(""); // restricts commands for all targets
    }
    ~Flash() { std::filesystem::remove_all(root); }
    std::string root;
};

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
    static const Flash flash;
    tryInput(std::string(data, data + size));
    return 0;
}

void require(bool holds, const char* what) {
    if (!holds)
        throw std::logic_error(what);
}

std::vector<std::string> texts(const std::string& input, size_t count) {
    std::istringstream rest(input);
    std::vector<std::string> cut(count);
    for (std::string& text : cut)
        std::getline(rest, text, '\x1e');
    return cut;
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream file(linux_framework::deviceRoot() + path, std::ios::binary);
    file << text << std::flush;
    require(file.good(), "the device's files can be written");
}

std::unique_ptr<ISensorController> startCamera(const std::string& detail) {
    simulated_ia::reset();
    image_adjust::setLayer(simulated_ia::layer());
    for (const unsigned int cmd : {16U, 49U, 50U, 2305U})
        simulated_ia::limit(cmd, 1, {0, 1, 3, 4});
    ModuleConfigure module;
    module.setDetail(detail);
    auto controller = std::make_unique<ISensorController>();
    // Faster, and the time of day would depend on how long the start takes.
    linux_framework::setClock(3, 0, 0, 1e4);
    require(controller->init(module), "the controller starts");
    controller->setParamMode(0);
    linux_framework::setClock(3, 0, 0, 1);
    return controller;
}
