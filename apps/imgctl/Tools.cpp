#include "Tools.h"

#include <cstdio>
#include <vector>

#include "Output.h"
#include "host/CameraTree.h"
#include "host/Text.h"

namespace imgctl {
namespace {

using image_adjust::v4l2::CameraInfo;

constexpr char kMakeUsage[] =
    "usage: imgctl make-device CAMERA DIR - CAMERA is a node such as /dev/video0, a link to one, "
    "or an identity that 'imgctl cameras' shows";

Status refuse(Status status, const std::string& problem) {
    std::fprintf(stderr, "imgctl: %s\n", host::printable(problem).c_str());
    return status;
}

void showAsJson(const std::vector<CameraInfo>& cameras) {
    std::string text = "[";
    for (const CameraInfo& camera : cameras) {
        const auto field = [](const char* name, const std::string& value) {
            return "\"" + std::string(name) + "\": " + host::jsonString(value);
        };
        text += (text.size() > 1 ? ",\n " : "") + ("{" + field("node", camera.node)) + ", " +
                field("name", camera.name) + ", " + field("identity", camera.identity) + ", " +
                field("link", camera.byId) + ", " + field("driver", camera.driver) + ", " +
                field("bus", camera.bus) + ", " + field("problem", camera.problem) + "}";
    }
    printLine(text + "]");
}

Status runCameras(const std::vector<std::string>& words) {
    const bool json = words.size() == 1 && words[0] == "--json";
    if (!words.empty() && !json) {
        return refuse(Status::usage, "usage: imgctl cameras [--json]");
    }
    const std::vector<CameraInfo> cameras = host::linuxCameras();
    if (json) {
        showAsJson(cameras);
        return Status::done;
    }
    if (cameras.empty()) {
        return refuse(Status::done, "no camera is there (no /dev/videoN that gives pictures)");
    }
    for (const CameraInfo& camera : cameras) {
        printLine(host::printable(
            camera.node + "  " + camera.name + "  (" +
            (camera.problem.empty() ? camera.driver + ", " + camera.bus : camera.problem) + ")"));
        printLine("    --layer v4l2:" +
                  host::printable(camera.byId.empty() ? camera.identity : camera.byId));
        printLine("    identity " + camera.identity);
    }
    return Status::done;
}

Status runMakeDevice(const std::vector<std::string>& words) {
    if (words.size() != 2 || words[0][0] == '-' || words[1][0] == '-') {
        return refuse(Status::usage, kMakeUsage);
    }
    std::string problem;
    std::string name;
    host::MadeDevice made;
    if (!host::makeDeviceFor(words[0], words[1], "imgctl", made, name, problem)) {
        return refuse(Status::failed, problem);
    }
    printLine("make-device " + host::printable(name) + ": " + std::to_string(made.controls) +
              " parameters");
    for (const auto& [what, files] : {std::pair("wrote", &made.written), {"kept", &made.kept}}) {
        for (const std::string& file : *files) {
            printLine("    " + std::string(what) + " " + file);
        }
    }
    if (made.carriesOver) {
        printLine("    the next start carries over what was saved, and keeps the old files");
    }
    return Status::done;
}

} // namespace

std::optional<Status> runTool(int argc, char* const* argv) {
    const std::vector<std::string> words(argv + (argc > 1 ? 2 : argc), argv + argc);
    const std::string name = argc > 1 ? argv[1] : "";
    if (name == "cameras") {
        return runCameras(words);
    }
    if (name == "make-device") {
        return runMakeDevice(words);
    }
    return std::nullopt;
}

std::string toolHelp() {
    return host::helpLine("imgctl cameras [--json]", "the Linux cameras of this machine") +
           host::helpLine("imgctl make-device CAMERA DIR",
                          "make a device tree for one, or bring it up to date; texts are kept");
}

} // namespace imgctl
