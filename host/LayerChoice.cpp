#include "host/LayerChoice.h"

#include "LibraryLayer.h"
#include "LinuxFramework.h"
#include "SimulatedImageAdjust.h"
#include "SimulatedPictureSource.h"
#include "V4l2Layer.h"
#include "host/CameraTree.h"
#include "host/LayerName.h"
#include "host/Snapshot.h"
#include "host/Text.h"

namespace host {

std::shared_ptr<image_adjust::Layer> openLayer(const CameraOptions& options, std::string& problem) {
    const std::string& name = options.layer;
    if (name == kSimulatorLayer) {
        simulated_ia::setTimeSource(linux_framework::deviceMicroseconds);
        simulated_ia::setTimeOfDaySource([] { return cameraTime().minuteOfDay(); });
        return simulated_ia::layer();
    }
    if (!libraryOfLayer(name).empty()) {
        return image_adjust::openLibraryLayer(libraryOfLayer(name), problem);
    }
    const std::string given = deviceOfLayer(name);
    if (!given.empty()) {
        image_adjust::v4l2::Options camera;
        camera.wait = options.waitForCamera;
        camera.dayNight = options.dayNightByPicture;
        camera.format = options.pictureFormat;
        camera.width = options.pictureWidth;
        camera.height = options.pictureHeight;
        camera.clock = [] { return cameraTime().minuteOfDay(); };
        const std::string meant = cameraMeant(given);
        auto layer = image_adjust::v4l2::openV4l2(meant, camera, problem);
        if (layer == nullptr && meant != given) {
            problem = given + " is not there: " + problem;
        }
        return layer;
    }
    problem = "no layer " + quoted(name) + "; allowed: simulator, v4l2:/dev/videoN, so:PATH";
    return nullptr;
}

std::unique_ptr<image_adjust::PictureSource> pictureBeside(
    const std::string& name, const std::function<CommandValues()>& assumed) {
    if (name != kSimulatorLayer) {
        return nullptr;
    }
    simulated_ia::SimulatedPictureOptions options;
    options.assumptions = assumed;
    options.time = [] { return dateText(cameraTime()) + " " + clockText(cameraTime()); };
    return std::make_unique<simulated_ia::SimulatedPictureSource>(options);
}

} // namespace host
