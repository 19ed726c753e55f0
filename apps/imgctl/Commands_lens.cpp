#include "CommandFunctions.h"

#include "Camera.h"
#include "ImageAdjust.h"
#include "Schemes.h"
#include "SensorConfig.h"
#include "Text.h"

namespace host {
namespace {

struct Move {
    const char* name;
    bool (ISensorController::*step)();
};

const Move kMoves[] = {
    {"focus-far", &ISensorController::focusFar}, {"focus-near", &ISensorController::focusNear},
    {"iris-up", &ISensorController::irisUp},     {"iris-down", &ISensorController::irisDown},
    {"zoom-in", &ISensorController::zoomIn},     {"zoom-out", &ISensorController::zoomOut},
};

Status layerRefused(const Call& call) {
    return call.refuse(Status::failed, "the layer refused");
}

/// Sets something from the one number of a command, when it is given; the layer's command is the
/// one whose range the value is in.
/// @return false after a refusal, which is then in status
bool setFrom(const Call& call, bool (ISensorController::*setter)(int), u32 command,
             Status& status) {
    if (call.arguments.empty()) {
        return true;
    }
    int value = 0;
    if (!readInt(call.arguments[0], value)) {
        status = call.refuse(Status::usage,
                             quoted(call.arguments[0]) + " is no number" + allowedFor(command));
        return false;
    }
    if (!(call.camera.controller().*setter)(value)) {
        status = call.refuse(
            Status::failed, "the layer refused " + quoted(call.arguments[0]) + allowedFor(command));
        return false;
    }
    return true;
}

/// " moving=1" while the movement that a command started is under way.
std::string moving(ISensorController& controller, int command) {
    int status = 0;
    return controller.getCmdExecStatus(command, status) != 0 ? " moving=" + std::to_string(status)
                                                             : std::string();
}

} // namespace

std::string lensSynopsis() {
    std::string text;
    for (const Move& move : kMoves) {
        text += (text.empty() ? "" : "|") + std::string(move.name);
    }
    return text;
}

Status runLens(const Call& call) {
    std::vector<std::string> names;
    for (const Move& move : kMoves) {
        if (call.arguments[0] == move.name) {
            const bool done = (call.camera.controller().*move.step)();
            call.answer(std::string(move.name) + (done ? " 1" : " 0"));
            return done ? Status::done : layerRefused(call);
        }
        names.emplace_back(move.name);
    }
    return call.refuse(Status::usage, "no movement " + quoted(call.arguments[0]) +
                                          didYouMean(lowered(call.arguments[0]), names) +
                                          " (allowed: " + lensSynopsis() + ")");
}

Status runZoom(const Call& call) {
    ISensorController& controller = call.camera.controller();
    Status status = Status::done;
    if (!setFrom(call, &ISensorController::setZoomValue, KEY_MZ_POSITION, status)) {
        return status;
    }
    int position = 0;
    int ratio = -1; // stays so beyond the last known position
    if (controller.getZoomValue(position, ratio) == 0) {
        return layerRefused(call);
    }
    call.answer("position=" + std::to_string(position) + " ratio=" +
                (ratio < 0 ? "-" : std::to_string(ratio)) + moving(controller, KEY_MZ_POSITION));
    return Status::done;
}

Status runFocus(const Call& call) {
    ISensorController& controller = call.camera.controller();
    Status status = Status::done;
    if (!setFrom(call, &ISensorController::setFocusValue, KEY_MF_POSITION, status)) {
        return status;
    }
    int position = 0;
    if (!controller.getFocusValue(position)) {
        return layerRefused(call);
    }
    call.answer("position=" + std::to_string(position) + moving(controller, KEY_MF_POSITION));
    return Status::done;
}

Status runFocusMode(const Call& call) {
    Status status = Status::done;
    int mode = 0;
    if (!setFrom(call, &ISensorController::setFocusMode, KEY_AUTO_FOCUS_MODE, status)) {
        return status;
    }
    if (!call.camera.controller().getFocusMode(mode)) {
        return layerRefused(call);
    }
    call.answer(std::to_string(mode));
    return Status::done;
}

Status runPtz(const Call& call) {
    Status status = Status::done;
    if (!setFrom(call, &ISensorController::setPTZRunState, IA_CMD_PTZ_RUN_STATE, status)) {
        return status;
    }
    call.answer(call.arguments[0]);
    return Status::done;
}

Status runAf(const Call& call) {
    unsigned int sharpness = 0;
    if (!call.camera.controller().getAFStatistic(sharpness)) {
        return layerRefused(call);
    }
    call.answer(std::to_string(sharpness));
    return Status::done;
}

Status runWdr(const Call& call) {
    ISensorController& controller = call.camera.controller();
    int value = 0;
    if (!call.arguments.empty()) {
        if (!readIntWithin(call.arguments[0], 0, 1, value)) {
            return call.refuse(Status::usage,
                               quoted(call.arguments[0]) + " is not allowed; allowed: 0 or 1");
        }
        controller.setShowWDRFalg(value == 1);
    }
    if (!controller.getWDR(value)) {
        return layerRefused(call);
    }
    call.answer("mode=" + std::to_string(value) + " allowed=" + (getshowWDRFalg() ? "1" : "0"));
    return Status::done;
}

Status runDayNight(const Call& call) {
    int night = 0;
    if (!call.camera.controller().getDNMode(night)) {
        return layerRefused(call);
    }
    call.answer(std::to_string(night));
    return Status::done;
}

Status runMirror(const Call& call) {
    int mirror = 0;
    if (call.camera.controller().getMirrorValue(mirror) == 0) {
        return layerRefused(call);
    }
    call.answer(std::to_string(mirror));
    return Status::done;
}

Status runVersion(const Call& call) {
    std::string version;
    if (!call.camera.controller().getCameraVerInf(version)) {
        return layerRefused(call);
    }
    call.answer(version);
    return Status::done;
}

} // namespace host
