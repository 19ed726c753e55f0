#include "Cameras.h"

#include <linux/videodev2.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "Device.h"

namespace image_adjust::v4l2 {
namespace {

namespace fs = std::filesystem;

// More are not told; a list of all would hide the sentence that it stands in.
constexpr int mostHolders = 3;

const std::string atPort = "-at-";

std::string firstLine(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    const std::size_t end = line.find_last_not_of(" \t\r");
    return end == std::string::npos ? std::string() : line.substr(0, end + 1);
}

/// A piece of a file name.
std::string plain(const std::string& text) {
    std::string out;
    for (const char c : text) {
        const bool good = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '_';
        if (good) {
            out += c;
        } else if (!out.empty() && out.back() != '_') {
            out += '_';
        }
    }
    return out;
}

int numberOf(const std::string& node) {
    const std::size_t digits = node.find_last_not_of("0123456789");
    return std::atoi(node.c_str() + (digits == std::string::npos ? 0 : digits + 1));
}

/// Whether two paths lead to one place; the standard library compares no devices.
bool isSame(const fs::path& left, const fs::path& right) {
    std::error_code error;
    const fs::path one = fs::canonical(left, error);
    return !error && one == fs::canonical(right, error) && !error;
}

std::string linkTo(const fs::path& folder, const fs::path& node) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isSame(entry->path(), node)) {
            return entry->path().string();
        }
    }
    return std::string();
}

CameraInfo describe(const fs::path& entry, const Places& places) {
    CameraInfo camera;
    std::error_code error;
    camera.node = places.dev + "/" + entry.filename().string();
    camera.name = firstLine(entry / "name");
    const std::string index = firstLine(entry / "index");
    const fs::path device = fs::canonical(entry / "device", error);
    const fs::path parent = device.parent_path();
    if (!error && fs::exists(parent / "idVendor", error)) {
        const std::string serial = plain(firstLine(parent / "serial"));
        camera.port = parent.filename().string();
        camera.model = "usb-" + plain(firstLine(parent / "idVendor")) + "-" +
                       plain(firstLine(parent / "idProduct")) + "-" +
                       (serial.empty() ? plain(firstLine(parent / "product")) : serial);
        camera.identity = camera.model + (serial.empty() ? atPort + plain(camera.port) : "");
    } else {
        camera.port = plain(device.filename().string());
        camera.model = camera.port.empty() ? plain(camera.name) : camera.port;
        camera.identity = camera.model;
    }
    for (std::string* const name : {&camera.model, &camera.identity}) {
        *name += "-" + (index.empty() ? "0" : plain(index));
    }
    return camera;
}

bool sees(const CameraInfo& camera, const std::vector<CameraInfo>& list) {
    return std::any_of(list.begin(), list.end(), [&camera](const CameraInfo& other) {
        return other.model == camera.model && other.port == camera.port;
    });
}

} // namespace

std::vector<CameraInfo> knownCameras(const Places& places) {
    std::vector<CameraInfo> cameras;
    std::error_code error;
    for (fs::directory_iterator entry(places.sys + "/class/video4linux", error), end;
         !error && entry != end; entry.increment(error)) {
        if (entry->path().filename().string().compare(0, 5, "video") == 0) {
            cameras.push_back(describe(entry->path(), places));
        }
    }
    std::sort(cameras.begin(), cameras.end(), [](const CameraInfo& left, const CameraInfo& right) {
        return numberOf(left.node) < numberOf(right.node);
    });
    return cameras;
}

std::vector<CameraInfo> listCameras(DeviceCalls& calls, const Places& places) {
    std::vector<CameraInfo> cameras;
    for (CameraInfo& camera : knownCameras(places)) {
        const std::unique_ptr<Device> device = Device::open(calls, camera.node, {}, camera.problem);
        if (device != nullptr) {
            const v4l2_capability& is = device->capability();
            const auto text = [](const __u8* chars, std::size_t size) {
                const char* begin = reinterpret_cast<const char*>(chars);
                return std::string(begin, strnlen(begin, size));
            };
            camera.driver = text(is.driver, sizeof is.driver);
            camera.name = text(is.card, sizeof is.card);
            camera.bus = text(is.bus_info, sizeof is.bus_info);
        } else if (camera.problem.find("no camera") != std::string::npos) {
            continue;
        }
        // Twins without a serial number share one link there.
        if (camera.identity == camera.model) {
            camera.byId = linkTo(places.dev + "/v4l/by-id", camera.node);
        }
        if (camera.byId.empty()) {
            camera.byId = linkTo(places.dev + "/v4l/by-path", camera.node);
        }
        cameras.push_back(std::move(camera));
    }
    return cameras;
}

std::vector<CameraInfo> listCameras() {
    DeviceCalls calls;
    return listCameras(calls);
}

std::string modelOf(const std::string& identity) {
    const std::size_t begin = identity.rfind(atPort);
    return begin == std::string::npos
               ? identity
               : identity.substr(0, begin) +
                     identity.substr(
                         std::min(identity.find('-', begin + atPort.size()), identity.size()));
}

bool findCamera(const std::string& name, const Places& places, CameraInfo& camera,
                std::string& problem) {
    std::error_code error;
    const fs::path node = fs::canonical(name, error);
    const std::vector<CameraInfo> cameras = knownCameras(places);
    for (const bool model : {false, true}) {
        for (const CameraInfo& known : cameras) {
            if (model ? known.model == name : known.identity == name || isSame(known.node, name)) {
                camera = known;
                return true;
            }
        }
    }
    if (!error && node.has_filename()) {
        // A machine without the list of its devices still has the node.
        camera = CameraInfo();
        camera.node = node.string();
        camera.identity = camera.model = plain(node.filename().string());
        return true;
    }
    problem = "no camera " + name;
    for (const CameraInfo& known : cameras) {
        problem += (&known == &cameras.front() ? "; there is " : ", ") + known.node;
    }
    return false;
}

bool findAgain(const CameraInfo& lost, const std::vector<CameraInfo>& others, const Places& places,
               CameraInfo& camera) {
    bool found = false;
    for (const CameraInfo& known : knownCameras(places)) {
        if (known.model != lost.model || (found && known.port != lost.port) ||
            (known.port != lost.port && sees(known, others))) {
            continue;
        }
        camera = known;
        found = true;
    }
    return found;
}

std::string holdersOf(const std::string& node, const Places& places) {
    std::error_code error;
    const std::string real = fs::canonical(node, error).string();
    const std::string own = std::to_string(getpid());
    std::string text;
    int count = 0;
    for (fs::directory_iterator process(places.proc, error), end; !error && process != end;
         process.increment(error)) {
        const std::string pid = process->path().filename().string();
        if (pid.find_first_not_of("0123456789") != std::string::npos || pid == own) {
            continue;
        }
        std::error_code closed;
        for (fs::directory_iterator file(process->path() / "fd", closed), last;
             !closed && file != last; file.increment(closed)) {
            std::error_code gone;
            if (fs::read_symlink(file->path(), gone).string() == real && !gone) {
                if (count++ < mostHolders) {
                    text += (text.empty() ? "" : ", ") + firstLine(process->path() / "comm") +
                            " (" + pid + ")";
                }
                break;
            }
        }
    }
    return text;
}

} // namespace image_adjust::v4l2
