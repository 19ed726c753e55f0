// A program that runs a whole camera, on a simulated sensor. Usage: camera DEVICE-DIRECTORY
#include <cstdio>

#include "SensorKeys.h"
#include "host/Camera.h"
#include "host/CameraTree.h"

int main(int argc, char** argv) {
    host::CameraOptions options;
    options.device = argc > 1 ? argv[1] : "";
    host::Camera camera;
    if (const host::StartProblem problem = camera.start(options)) {
        fprintf(stderr, "%s\n", problem.text.c_str());
        return 1;
    }
    const host::Outcome set =
        camera.perform(host::SetValues{{{KEY_BRIGHTNESS, 60}}, {}, {}, false});
    const host::Outcome saved = camera.perform(host::Save{});
    printf("%zu Linux cameras; brightness set %d, saved %d\n", host::linuxCameras().size(),
           set.done(), saved.done());
    return set.done() && saved.done() ? 0 : 1;
}
