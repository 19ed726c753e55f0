#include "host/CameraTree.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <system_error>

#include "V4l2Layer.h"
#include "host/DeviceTree.h"
#include "host/LayerName.h"
#include "host/Text.h"

namespace host {
namespace {

namespace fs = std::filesystem;
namespace v4l2 = image_adjust::v4l2;

/// The user's folder for what programs keep; a service has no home of its own, and the machine's.
fs::path stateFolder() {
    const auto folder = [](const char* variable) {
        const char* text = std::getenv(variable);
        return fs::path(text != nullptr && text[0] == '/' ? text : "");
    };
    if (!folder("XDG_STATE_HOME").empty()) {
        return folder("XDG_STATE_HOME") / "imgctl";
    }
    const fs::path home = folder("HOME");
    return home.empty() || access(home.c_str(), W_OK | X_OK) != 0 ? "/var/lib/imgctl"
                                                                  : home / ".local/state/imgctl";
}

/// The sample camera's device tree where this program is installed.
fs::path installedSample() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path() / IMGCTL_SAMPLE;
}

/// A name that a camera was given by, as a file name: no two share one.
std::string fileNameOf(const std::string& given) {
    static const char digits[] = "0123456789abcdef";
    std::string name;
    for (const char c : given) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0 || c == '-' || c == '.') {
            name += c;
        } else {
            name += {'_', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    return name;
}

bool copySample(const fs::path& place, std::string& problem) {
    std::error_code error;
    fs::copy(installedSample(), place, fs::copy_options::recursive, error);
    if (error) {
        problem = "the sample " + quoted(installedSample().string()) +
                  " cannot be copied: " + error.message();
    }
    return !error;
}

/// Makes a tree beside its place and moves it there, so that one that is there is whole.
/// @param camera  a Linux camera, or empty for the sample
bool make(const std::string& camera, const fs::path& wanted, std::string& name,
          std::string& problem) {
    std::error_code error;
    fs::path place = fs::absolute(wanted, error);
    if (!place.has_filename()) { // of "folder/"
        place = place.parent_path();
    }
    fs::create_directories(place.parent_path(), error);
    std::string beside = place.string() + ".XXXXXX";
    if (error || mkdtemp(beside.data()) == nullptr) {
        problem = "no folder for the camera's settings can be made in " +
                  quoted(place.parent_path().string()) + "; name one with --device";
        return false;
    }
    MadeDevice made;
    name = "a simulated sensor";
    const bool good = camera.empty() ? copySample(beside, problem)
                                     : makeDeviceFor(camera, beside, made, name, problem);
    if (good) {
        fs::rename(beside, place, error);
    }
    const bool another =
        good && error && isDeviceTree(place.string()); // another program was faster
    if (good && error && !another) {
        problem = quoted(place.string()) + ": " + error.message();
    }
    if (!good || error) {
        std::error_code ignored;
        fs::remove_all(beside, ignored);
        name.clear();
    }
    return (good && !error) || another;
}

/// Where it is kept which camera was last given by a name.
fs::path memoryOf(const std::string& given) {
    return stateFolder() / "last-by-name" / fileNameOf(given);
}

/// Where the settings of a camera that is there are, or belong.
fs::path placeOf(const v4l2::CameraInfo& camera) {
    fs::path own = stateFolder() / camera.identity;
    if (isDeviceTree(own.string()) || camera.identity == camera.model) {
        return own;
    }
    std::set<std::string> there;
    for (const v4l2::CameraInfo& known : v4l2::knownCameras(v4l2::Places())) {
        there.insert(known.identity);
    }
    fs::path moved;
    int count = 0;
    std::error_code error;
    for (fs::directory_iterator entry(stateFolder(), error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (v4l2::modelOf(name) == camera.model && there.count(name) == 0 &&
            isDeviceTree(entry->path().string())) {
            moved = entry->path();
            ++count;
        }
    }
    return count == 1 ? moved : own;
}

bool treeOfCamera(const std::string& given, CameraTree& tree, std::string& problem) {
    const std::string meant = cameraMeant(given);
    v4l2::CameraInfo camera;
    if (!v4l2::findCamera(meant, v4l2::Places(), camera, problem)) {
        const fs::path place = stateFolder() / meant;
        tree.path = place.string();
        return meant.find('/') == std::string::npos && isDeviceTree(place.string());
    }
    const fs::path place = placeOf(camera);
    if (!isDeviceTree(place.string()) && !make(meant, place, tree.madeFor, problem)) {
        return false;
    }
    tree.path = place.string();
    const fs::path memory = memoryOf(given);
    const fs::path target = fs::path("..") / place.filename();
    std::error_code error;
    if (fs::read_symlink(memory, error) != target) {
        // Where it cannot be remembered the camera must be there at the start.
        fs::create_directories(memory.parent_path(), error);
        fs::remove(memory, error);
        fs::create_symlink(target, memory, error);
    }
    return true;
}

} // namespace

std::vector<v4l2::CameraInfo> linuxCameras() {
    return v4l2::listCameras();
}

bool makeDeviceFor(const std::string& camera, const std::string& directory, MadeDevice& made,
                   std::string& name, std::string& problem) {
    const auto layer = v4l2::openV4l2(camera, v4l2::Options(), problem);
    if (layer == nullptr) {
        return false;
    }
    name = layer->device();
    return makeDevice(*layer, directory, made, problem);
}

bool deviceTreeFor(const CameraOptions& options, CameraTree& tree, std::string& problem) {
    tree = CameraTree();
    const std::string camera = deviceOfLayer(options.layer);
    const char* const chosen = std::getenv("IMGCTL_DEVICE");
    const bool named = !options.device.empty() || (chosen != nullptr && chosen[0] != '\0');
    if (!named && !camera.empty()) {
        return treeOfCamera(camera, tree, problem);
    }
    tree.path = options.device.empty() ? defaultDeviceTree() : options.device;
    bool wanted = options.makeDevice;
    // Of a program that is not installed there is no sample, and its folder is the place to say.
    const bool sample = isDeviceTree(installedSample().string());
    if (!named && !isDeviceTree(tree.path) && sample) {
        tree.path = (stateFolder() / "device-root").string();
        wanted = true;
    }
    if (camera.empty() && (!sample || (options.makeDevice && options.layer != kSimulatorLayer))) {
        return true; // what a layer tells is known when it is there
    }
    return !wanted || isDeviceTree(tree.path) || make(camera, tree.path, tree.madeFor, problem);
}

std::string cameraMeant(const std::string& given) {
    v4l2::CameraInfo camera;
    std::string problem;
    if (v4l2::findCamera(given, v4l2::Places(), camera, problem)) {
        return given;
    }
    std::error_code error;
    const std::string last = fs::read_symlink(memoryOf(given), error).filename().string();
    return error || last.empty() ? given : last;
}

bool cameraOfLayer(const std::string& layer, v4l2::CameraInfo& camera) {
    const std::string given = deviceOfLayer(layer);
    const std::string meant = cameraMeant(given);
    std::string problem;
    camera = v4l2::CameraInfo();
    if (!given.empty() && !v4l2::findCamera(meant, v4l2::Places(), camera, problem)) {
        camera.node = given;
        camera.identity = meant.find('/') == std::string::npos ? meant : std::string();
    }
    return !camera.identity.empty();
}

} // namespace host
