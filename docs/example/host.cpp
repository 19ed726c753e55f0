// A complete camera application; layer.cpp is its image-adjust layer. Usage: host DEVICE-DIRECTORY
#include <cstdio>

#include "AVStreamParam.h"
#include "ISensorController.h"
#include "LinuxFramework.h"
#include "ModuleConfigure.h"
#include "VideoStreamModule.h"

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
