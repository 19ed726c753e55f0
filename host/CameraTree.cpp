#include "host/CameraTree.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <system_error>

#include "V4l2Layer.h"
#include "host/DeviceTree.h"
#include "host/Files.h"
#include "host/LayerName.h"
#include "host/MakeTree.h"
#include "host/OwnerLock.h"
#include "host/SavedFor.h"
#include "host/Text.h"

namespace host {
namespace {

namespace fs = std::filesystem;
namespace v4l2 = image_adjust::v4l2;

constexpr std::size_t kLongestSample = 1UL << 20;

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

/// Not as the packager's files are: a tree is its user's, with the modes that the umask leaves.
bool copySample(const fs::path& place, std::string& problem) {
    const fs::path sample = installedSample();
    std::error_code error;
    for (fs::recursive_directory_iterator entry(sample, error), end; !error && entry != end;
         entry.increment(error)) {
        const fs::path to = place / entry->path().lexically_relative(sample);
        if (entry->is_directory(error)) {
            fs::create_directory(to, error);
        } else if (std::string text;
                   !error && (!readFile(entry->path().string(), kLongestSample, text, problem) ||
                              !replaceFile(to.string(), text, problem))) {
            return false;
        }
        if (error) { // the next step would forget it
            break;
        }
    }
    if (error) {
        problem = "the sample " + quoted(sample.string()) + " cannot be copied: " + error.message();
    }
    return !error;
}

/// @param name  receives the camera's, for people
bool fillFor(const std::string& camera, const std::string& directory, MadeDevice& made,
             std::string& name, std::string& problem) {
    const auto layer = v4l2::openV4l2(camera, v4l2::Options(), problem);
    if (layer == nullptr) {
        return false;
    }
    name = layer->device();
    return makeDevice(*layer, directory, made, problem);
}

/// @param camera  a Linux camera, or empty for the sample
/// @param name    receives the camera's, for people, where a tree was made
bool make(const std::string& camera, const std::string& place, const std::string& program,
          std::string& name, std::string& problem) {
    bool begun = false;
    const auto fill = [&](const std::string& into, std::string& what) {
        MadeDevice made;
        begun = true;
        name = "a simulated sensor";
        return camera.empty() ? copySample(into, what) : fillFor(camera, into, made, name, what);
    };
    if (makeTree(place, program, fill, problem)) {
        return true;
    }
    problem += begun ? "" : "; --device names another folder";
    name.clear();
    return false;
}

/// Where it is kept which camera was last given by a name.
fs::path memoryOf(const std::string& given) {
    return stateFolder() / "last-by-name" / fileNameOf(given);
}

bool treeOfCamera(const std::string& given, const std::string& program, CameraTree& tree,
                  std::string& problem) {
    const std::string meant = cameraMeant(given);
    v4l2::CameraInfo camera;
    if (!v4l2::findCamera(meant, v4l2::Places(), camera, problem)) {
        const fs::path place = stateFolder() / meant;
        tree.path = place.string();
        return meant.find('/') == std::string::npos && isDeviceTree(place.string());
    }
    const fs::path place = settingsPlaceOf(camera, v4l2::Places());
    if (!isDeviceTree(place.string()) &&
        !make(meant, place.string(), program, tree.madeFor, problem)) {
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

bool makeDeviceFor(const std::string& camera, const std::string& directory,
                   const std::string& program, MadeDevice& made, std::string& name,
                   std::string& problem) {
    if (!isDeviceTree(directory)) {
        const auto fill = [&](const std::string& into, std::string& what) {
            return fillFor(camera, into, made, name, what);
        };
        return makeTree(directory, program, fill, problem);
    }
    OwnerLock lock;
    if (lock.take(treeLockPath(directory), program) == OwnerLock::Result::Owned) {
        problem = "the device tree " + quoted(directory) + " is in use by " + lock.owner();
        return false;
    }
    if (!fillFor(camera, directory, made, name, problem) || !openDeviceTree(directory, problem)) {
        return false;
    }
    std::string notKept;
    made.carriesOver = rememberRemade(notKept);
    if (!notKept.empty()) {
        problem = "the next start must carry over what was saved, with --convert: " + notKept;
    }
    return notKept.empty();
}

std::string settingsPlaceOf(const v4l2::CameraInfo& camera, const v4l2::Places& places) {
    const fs::path own = stateFolder() / camera.identity;
    if (isDeviceTree(own.string()) || camera.identity == camera.model) {
        return own.string();
    }
    std::set<std::string> there;
    for (const v4l2::CameraInfo& known : v4l2::knownCameras(places)) {
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
    return (count == 1 ? moved : own).string();
}

bool deviceTreeFor(const CameraOptions& options, CameraTree& tree, std::string& problem) {
    tree = CameraTree();
    const std::string camera = deviceOfLayer(options.layer);
    const char* const chosen = std::getenv("IMGCTL_DEVICE");
    const bool named = !options.device.empty() || (chosen != nullptr && chosen[0] != '\0');
    if (!named && !camera.empty()) {
        return treeOfCamera(camera, options.program, tree, problem);
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
    return !wanted || isDeviceTree(tree.path) ||
           make(camera, tree.path, options.program, tree.madeFor, problem);
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
