#include "CommandFunctions.h"
#include "ImageAdjust.h"
#include "SensorKeys.h"
#include "host/Sentences.h"
#include "host/Text.h"

namespace imgctl {
namespace {

using host::LensAction;

struct Move {
    const char* name;
    LensAction::Action action;
};

const Move kMoves[] = {
    {"focus-far", LensAction::Action::FocusFar}, {"focus-near", LensAction::Action::FocusNear},
    {"iris-up", LensAction::Action::IrisUp},     {"iris-down", LensAction::Action::IrisDown},
    {"zoom-in", LensAction::Action::ZoomIn},     {"zoom-out", LensAction::Action::ZoomOut},
};

Status layerRefused(const Call& call) {
    return call.refuse(Status::failed, "the layer refused");
}

/// "; it takes 0..255" for a key whose range is known, otherwise "".
std::string allowedFor(const Call& call, u32 key) {
    const host::Value* value = call.camera.snapshot()->value(key);
    return value != nullptr && value->limits ? "; it takes " + value->limits->text() : "";
}

/// Carries an action out with the one number of a command, when it is given, and asks where the
/// lens stands.
/// @return false after a refusal, which is then in status
bool act(const Call& call, LensAction::Action action, u32 key, host::LensState& state,
         Status& status) {
    LensAction wanted;
    if (!call.arguments.empty()) {
        wanted.action = action;
        if (!host::readInt(call.arguments[0], wanted.value)) {
            status = call.refuse(Status::usage, host::quoted(call.arguments[0]) + " is no number" +
                                                    allowedFor(call, key));
            return false;
        }
    }
    const host::Outcome outcome = call.perform(wanted);
    if (!outcome.done()) {
        status = call.refuse(Status::failed, host::quoted(call.arguments[0]) + " was refused: " +
                                                 host::reasonText(outcome.refusal));
        return false;
    }
    state = *outcome.lens;
    return true;
}

std::string orDash(const std::optional<int>& value) {
    return value ? std::to_string(*value) : "-";
}

/// " moving=1" while the movement that a command started is under way.
std::string moving(const std::optional<bool>& moves) {
    return moves ? *moves ? " moving=1" : " moving=0" : "";
}

/// The device's own value of a key. @return false when it does not tell
bool readDevice(const Call& call, u32 key, int& value) {
    const host::Outcome outcome = call.perform(host::ReadKeys{{key}, true});
    const auto found = outcome.values.find(key);
    value = found == outcome.values.end() ? 0 : found->second;
    return found != outcome.values.end();
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
            LensAction wanted;
            wanted.action = move.action;
            const host::Outcome outcome = call.perform(wanted);
            call.answer(std::string(move.name) + (outcome.done() ? " 1" : " 0"));
            return outcome.done() ? Status::done : call.refuse(outcome);
        }
        names.emplace_back(move.name);
    }
    return call.refuse(Status::usage,
                       "no movement " + host::quoted(call.arguments[0]) +
                           host::didYouMean(host::lowered(call.arguments[0]), names) +
                           " (allowed: " + lensSynopsis() + ")");
}

Status runZoom(const Call& call) {
    host::LensState state;
    Status status = Status::done;
    if (!act(call, LensAction::Action::ZoomTo, KEY_MZ_POSITION, state, status)) {
        return status;
    }
    if (!state.zoom) {
        return layerRefused(call);
    }
    call.answer("position=" + std::to_string(*state.zoom) + " ratio=" + orDash(state.zoomRatio) +
                moving(state.zoomMoves));
    return Status::done;
}

Status runFocus(const Call& call) {
    host::LensState state;
    Status status = Status::done;
    if (!act(call, LensAction::Action::FocusTo, KEY_MF_POSITION, state, status)) {
        return status;
    }
    if (!state.focus) {
        return layerRefused(call);
    }
    call.answer("position=" + std::to_string(*state.focus) + moving(state.focusMoves));
    return Status::done;
}

Status runFocusMode(const Call& call) {
    host::LensState state;
    Status status = Status::done;
    if (!act(call, LensAction::Action::FocusMode, KEY_AUTO_FOCUS_MODE, state, status)) {
        return status;
    }
    if (!state.focusMode) {
        return layerRefused(call);
    }
    call.answer(std::to_string(*state.focusMode));
    return Status::done;
}

Status runPtz(const Call& call) {
    host::LensState state;
    Status status = Status::done;
    if (act(call, LensAction::Action::PanTiltMoves, IA_CMD_PTZ_RUN_STATE, state, status)) {
        call.answer(call.arguments[0]);
    }
    return status;
}

Status runAf(const Call& call) {
    const host::Outcome outcome = call.perform(LensAction{});
    if (!outcome.lens->sharpness) {
        return layerRefused(call);
    }
    call.answer(std::to_string(*outcome.lens->sharpness));
    return Status::done;
}

Status runWdr(const Call& call) {
    int value = 0;
    if (!call.arguments.empty()) {
        if (!host::readIntWithin(call.arguments[0], 0, 1, value)) {
            return call.refuse(Status::usage, host::quoted(call.arguments[0]) +
                                                  " is not allowed; allowed: 0 or 1");
        }
        call.perform(host::AllowWideDynamicRange{value == 1});
    }
    if (!readDevice(call, KEY_WDR_MODE, value)) {
        return layerRefused(call);
    }
    call.answer("mode=" + std::to_string(value) +
                " allowed=" + (call.camera.snapshot()->wideDynamicRangeAllowed ? "1" : "0"));
    return Status::done;
}

Status runDayNight(const Call& call) {
    int night = 0;
    if (!readDevice(call, IA_CMD_DN_STATE, night)) {
        return layerRefused(call);
    }
    call.answer(std::to_string(night));
    return Status::done;
}

Status runMirror(const Call& call) {
    const host::Outcome outcome = call.perform(host::ReadKeys{{KEY_MIRROR}});
    const auto mirror = outcome.values.find(KEY_MIRROR);
    if (mirror == outcome.values.end()) {
        return layerRefused(call);
    }
    call.answer(std::to_string(mirror->second));
    return Status::done;
}

Status runVersion(const Call& call) {
    const std::string version = call.camera.snapshot()->layer.version;
    if (version.empty()) {
        return layerRefused(call);
    }
    call.answer(version);
    return Status::done;
}

} // namespace imgctl
