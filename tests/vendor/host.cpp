#include "AVStreamParam.h"
#include "ISensorController.h"
#include "ModuleConfigure.h"
#include "SensorWdrFlag.h"
#include "VideoStreamModule.h"

namespace {

class Video : public VideoStreamModule {
public:
    int notifySensorParam(int /*key*/, int /*value*/) const override { return 0; }
    void getAVStreamParams(std::vector<AVStreamParam>& list) const override { list.resize(3); }
};

} // namespace

extern "C" int ia_ioctrl(unsigned int /*cmd*/, unsigned int /*opt*/, void* /*data*/) {
    return 0;
}

/// Starts the library in a process that has nothing of ours, and looks whether values get through
/// the objects that both sides know.
int main() {
    Video video;
    ModuleConfigure module;
    module.setModuleId(7);
    module.setDetail("(max_scheme=0)");
    ISensorController controller;
    controller.setVideoStreamModule(&video);
    unsigned int value = 0;
    const bool fits = controller.init(module) && controller.getSensorType() == 7 &&
                      controller.getKeyValFromCache(0, 34, value) == 0 && value == 5 &&
                      controller.setParameter(34, 6, true) == 0 && !getshowWDRFalg();
    controller.uinit();
    return fits ? 0 : 1;
}
