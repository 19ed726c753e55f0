#include "ISensorController.h"

#include <cstring>
#include <iterator>
#include <new>

#include "ISensorController_request.h"
#include "ImageAdjust.h"
#include "KeyValAccess.h"
#include "MutexGuard.h"
#include "SensorReport.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

// The values and commands that a step of the lens needs.
constexpr int kManualFocus = 1;
constexpr int kManualIris = 3;
constexpr u32 kIrisUpCmd = commandOfKey(KEY_IRIS_UP);
constexpr u32 kIrisDownCmd = commandOfKey(KEY_IRIS_DOWN);

/// Raw motor positions of the optical ratios 1, 2, ... 16 of the camera's zoom lens.
constexpr u32 kZoomPositions[] = {16384, 24576, 27264, 28672, 29056, 29440, 29728, 30016,
                                  30208, 30400, 30560, 30720, 30912, 31104, 31232, 31424};

} // namespace

int ISensorController::setParameter(int key, int value, bool b) {
    const Request request(*this, __LINE__);
    REPORT_DEBUG("p_Parameters22222222222(%d, %d)\n", key, value);
    KeyVal kv = {static_cast<u32>(key), static_cast<u32>(value)};
    return setParameters(&kv, 1, b);
}

bool ISensorController::getParameter(int p_nKey, int& p_nVal) {
    const MutexGuard lock(m_mutex, __LINE__);
    REPORT_DEBUG("p_nKey(%d)\n", p_nKey);
    u32 nCached = 0;
    if (getKeyValFromCache(static_cast<u32>(m_nCurScheme), static_cast<u32>(p_nKey), nCached) !=
        -1) {
        p_nVal = static_cast<int>(nCached);
        return true;
    }
    CommandScratch scratch(static_cast<u32>(p_nVal));
    const int nResult = doIaCmd(static_cast<u32>(p_nKey), IA_CMD_OPT_GET, scratch.words);
    p_nVal = static_cast<int>(scratch.words[0]);
    if (nResult == SNS_SUCCESS)
        return true;
    REPORT_ASSERTION("SNS_SUCCESS == doIaCmd(p_nKey, IA_CMD_OPT_GET, &p_nVal)",
                     "get key(%d) val from 2a err", p_nKey);
    return false;
}

int ISensorController::getMirrorValue(int& v) {
    return getParameter(KEY_MIRROR, v) ? 1 : 0;
}

bool ISensorController::setCommand(u32 p_nCmd, int p_nValue) {
    return doIaCmd(p_nCmd, IA_CMD_OPT_SET, &p_nValue) == SNS_SUCCESS;
}

bool ISensorController::getCommand(u32 p_nCmd, void* p_pValue) {
    return doIaCmd(p_nCmd, IA_CMD_OPT_GET, p_pValue) == SNS_SUCCESS;
}

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

bool ISensorController::getDNMode(int& nMode) {
    return getCommand(IA_CMD_DN_STATE, &nMode);
}

bool ISensorController::getAFStatistic(unsigned int& v) {
    return getCommand(IA_CMD_AF_STATISTIC, &v);
}

bool ISensorController::getWDR(int& v) {
    return getCommand(KEY_WDR_MODE, &v);
}

bool ISensorController::getCameraVerInf(std::string& s) try {
    char text[IA_VERSION_SIZE] = {};
    if (!getCommand(IA_CMD_CAMERA_VERSION, text))
        return false;
    s.assign(text, strnlen(text, sizeof text));
    return true;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return false;
}
