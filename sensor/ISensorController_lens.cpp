#include "ISensorController.h"

#include <iterator>

#include "ImageAdjust.h"

namespace {

// The values and commands that a step of the lens needs.
constexpr int kManualFocus = 1;
constexpr int kManualIris = 3;
constexpr u32 kIrisUpCmd = commandOfKey(KEY_IRIS_UP);
constexpr u32 kIrisDownCmd = commandOfKey(KEY_IRIS_DOWN);

/// Raw motor positions of the optical ratios 1, 2, ... 16 of the camera's zoom lens.
constexpr u32 kZoomPositions[] = {16384, 24576, 27264, 28672, 29056, 29440, 29728, 30016,
                                  30208, 30400, 30560, 30720, 30912, 31104, 31232, 31424};

} // namespace

bool ISensorController::focusFar() {
    return setCommand(KEY_AUTO_FOCUS_MODE, kManualFocus) && setCommand(KEY_FOCUS_FAR, 1);
}

bool ISensorController::focusNear() {
    return setCommand(KEY_AUTO_FOCUS_MODE, kManualFocus) && setCommand(KEY_FOCUS_NEAR, 1);
}

bool ISensorController::irisUp() {
    return setCommand(KEY_EXPOSE_MODE, kManualIris) && setCommand(kIrisUpCmd, 1);
}

bool ISensorController::irisDown() {
    return setCommand(KEY_EXPOSE_MODE, kManualIris) && setCommand(kIrisDownCmd, 1);
}

bool ISensorController::zoomIn() {
    return setCommand(KEY_ZOOM_IN, 1);
}

bool ISensorController::zoomOut() {
    return setCommand(KEY_ZOOM_OUT, 1);
}

bool ISensorController::setZoomValue(int v) {
    return setCommand(KEY_MZ_POSITION, v);
}

int ISensorController::getZoomValue(int& pos, int& ratio) {
    if (!getCommand(KEY_MZ_POSITION, &pos))
        return 0;
    const u32 nPos = static_cast<u32>(pos);
    if (nPos <= kZoomPositions[0]) {
        ratio = 1000;
        return 1;
    }
    for (u32 i = 1; i < std::size(kZoomPositions); ++i) {
        const u32 nLow = kZoomPositions[i - 1];
        const u32 nHigh = kZoomPositions[i];
        if (nLow < nPos && nPos <= nHigh) {
            ratio = static_cast<int>((i + 1) * 1000 - 1000 * (nHigh - nPos) / (nHigh - nLow));
            return 1;
        }
    }
    return 1;
}

bool ISensorController::setPTZRunState(int v) {
    return setCommand(IA_CMD_PTZ_RUN_STATE, v);
}

bool ISensorController::setFocusValue(int v) {
    return setCommand(KEY_MF_POSITION, v);
}

bool ISensorController::getFocusValue(int& v) {
    return getCommand(KEY_MF_POSITION, &v);
}

bool ISensorController::setFocusMode(int v) {
    return setCommand(KEY_AUTO_FOCUS_MODE, v);
}

bool ISensorController::getFocusMode(int& v) {
    return getCommand(KEY_AUTO_FOCUS_MODE, &v);
}

bool ISensorController::getAFStatistic(unsigned int& v) {
    return getCommand(IA_CMD_AF_STATISTIC, &v);
}
