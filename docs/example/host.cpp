// A complete camera application with an image-adjust layer of its own. Usage: host DEVICE-DIRECTORY
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

#include "AVStreamParam.h"
#include "ISensorController.h"
#include "ImageAdjust.h"
#include "LinuxFramework.h"
#include "ModuleConfigure.h"
#include "VideoStreamModule.h"

// The layer: this "sensor" takes any 32-bit value for any parameter and remembers it. Day/night
// thresholds and times come as records; a real layer would read all of a record here.
extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data) {
    static std::mutex mutex; // several threads call
    static std::map<unsigned int, int> values;
    const std::lock_guard<std::mutex> lock(mutex);
    if (data == nullptr)
        return IA_ERR_ARGUMENT;
    if (cmd == IA_CMD_DYNAMIC_PARAMS_CMDS_GET) {
        memset(data, 0, sizeof(ia_dynamic_params_cmds_st)); // nothing is restricted here
        return 0;
    }
    if (cmd == IA_CMD_CAMERA_VERSION) {
        strncpy(static_cast<char*>(data), "example 1.0", IA_VERSION_SIZE);
        return 0;
    }
    switch (opt) {
        case IA_CMD_OPT_SET:
            memcpy(&values[cmd], data, sizeof(int));
            printf("sensor: command %u takes %d\n", cmd, values[cmd]);
            return 0;
        case IA_CMD_OPT_GET:
            memcpy(data, &values[cmd], sizeof(int));
            return 0;
        case IA_CMD_OPT_CORRECT_PARAM:
            return 0; // every value is legal
        case IA_CMD_OPT_GET_EXEC_STATUS:
            memset(data, 0, sizeof(int)); // nothing takes time
            return 0;
        default:
            return IA_ERR_ARGUMENT;
    }
}

// The application's video streams, as far as the controller is concerned.
class Video : public VideoStreamModule {
public:
    int notifySensorParam(int key, int value) const override {
        printf("video: %d becomes %d\n", key, value);
        return 0;
    }
    void getAVStreamParams(std::vector<AVStreamParam>& list) const override {
        list.emplace_back(25);
    }
};

int main(int argc, char** argv) {
    // On a camera the device root is "/", and the framework is the camera's own.
    if (argc != 2 || !linux_framework::setDeviceRoot(argv[1])) {
        fprintf(stderr, "usage: %s DEVICE-DIRECTORY\n", argv[0]);
        return 2;
    }
    ModuleConfigure module;
    module.setModuleId(3);
    module.setDetail("(max_scheme=2)(isInfrared=1)");
    const Video video;
    ISensorController controller;
    controller.setVideoStreamModule(&video); // before init, which asks it for the frame rates
    controller.init(module);
    const int failed = controller.setParameters("(34,60)(2384,1)", true);
    int brightness = 0;
    controller.getParameter(KEY_BRIGHTNESS, brightness);
    printf("result %d, brightness %d, saved %d\n", failed, brightness, controller.flush());
    controller.uinit();
    return failed == 0 && brightness == 60 ? 0 : 1;
}
