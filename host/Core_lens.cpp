#include "host/Core.h"

namespace host {
namespace {

// What the library's steps of focus and iris set beside the step itself.
constexpr int kManualFocus = 1;
constexpr int kManualIris = 3;

} // namespace

/// Carries a movement out. @param command  receives the layer's command that it is about
bool Core::move(const LensAction& operation, u32& command) {
    using Action = LensAction::Action;
    ISensorController& controller = *m_controller;
    const int value = operation.value;
    switch (operation.action) {
        case Action::Read:
            return true;
        case Action::FocusFar:
            command = KEY_FOCUS_FAR;
            return controller.focusFar();
        case Action::FocusNear:
            command = KEY_FOCUS_NEAR;
            return controller.focusNear();
        case Action::IrisUp:
            command = KEY_IRIS_UP;
            return controller.irisUp();
        case Action::IrisDown:
            command = KEY_IRIS_DOWN;
            return controller.irisDown();
        case Action::ZoomIn:
            command = KEY_ZOOM_IN;
            return controller.zoomIn();
        case Action::ZoomOut:
            command = KEY_ZOOM_OUT;
            return controller.zoomOut();
        case Action::ZoomTo:
            command = KEY_MZ_POSITION;
            return controller.setZoomValue(value);
        case Action::FocusTo:
            command = KEY_MF_POSITION;
            return controller.setFocusValue(value);
        case Action::FocusMode:
            command = KEY_AUTO_FOCUS_MODE;
            return controller.setFocusMode(value);
        case Action::PanTiltMoves:
            command = IA_CMD_PTZ_RUN_STATE;
            return controller.setPTZRunState(value);
    }
    return false;
}

/// A step sets a mode that is not recorded: it holds until the next switch.
void Core::noteLensSetting(u32 key, int value) {
    const Parameter* about = parameter(key);
    if (about == nullptr || !about->inScheme()) {
        return;
    }
    if (storedNow(key) == value) {
        m_overlays.erase(key);
    } else {
        m_overlays[key] = {value, false};
    }
    m_differences.erase(key);
}

LensState Core::lensNow() {
    LensState state;
    int value = 0;
    int ratio = -1; // stays so beyond the last known position
    if (m_controller->getZoomValue(value, ratio) != 0) {
        state.zoom = value;
        state.zoomRatio = ratio < 0 ? std::nullopt : std::optional<int>(ratio);
    }
    if (m_controller->getCmdExecStatus(KEY_MZ_POSITION, value) != 0) {
        state.zoomMoves = value != 0;
    }
    if (m_controller->getFocusValue(value)) {
        state.focus = value;
    }
    if (m_controller->getCmdExecStatus(KEY_MF_POSITION, value) != 0) {
        state.focusMoves = value != 0;
    }
    if (m_controller->getFocusMode(value)) {
        state.focusMode = value;
    }
    unsigned int sharpness = 0;
    if (m_controller->getAFStatistic(sharpness)) {
        state.sharpness = sharpness;
    }
    return state;
}

void Core::handle(const LensAction& operation, Work& work) {
    using Action = LensAction::Action;
    const ScheduleHold hold(*this);
    u32 command = 0;
    if (!move(operation, command)) {
        Parameter about;
        about.key = about.command = command;
        const Parameter* known = parameter(command);
        if (known != nullptr) {
            about = *known;
        }
        work.outcome.result = Result::Refused;
        work.outcome.refusal = refusalOf(about, operation.value);
        if (work.outcome.refusal.code == 0) {
            work.outcome.refusal.detail.clear(); // a step's mode was refused, not the step
        }
    }
    switch (operation.action) {
        case Action::FocusFar:
        case Action::FocusNear:
            noteLensSetting(KEY_AUTO_FOCUS_MODE, kManualFocus);
            break;
        case Action::IrisUp:
        case Action::IrisDown:
            noteLensSetting(KEY_EXPOSE_MODE, kManualIris);
            break;
        case Action::FocusMode:
            if (work.outcome.done()) {
                noteLensSetting(KEY_AUTO_FOCUS_MODE, operation.value);
            }
            break;
        default:
            break;
    }
    work.outcome.lens = lensNow();
    if (operation.action != Action::Read) {
        settleSoon(std::chrono::milliseconds(200));
    }
}

void Core::handle(const AllowWideDynamicRange& operation, Work& /*work*/) {
    m_controller->setShowWDRFalg(operation.allowed);
    readDevice(true);
    tryAllAgain();
}

void Core::handle(const WithLayer& operation, Work& /*work*/) {
    const ScheduleHold hold(*this);
    if (operation.work) {
        operation.work();
    }
    m_rangesStale = true;
    tryAllAgain();
}

} // namespace host
