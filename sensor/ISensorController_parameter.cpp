#include "ISensorController.h"

#include <cstring>
#include <new>

#include "ISensorController_request.h"
#include "ImageAdjust.h"
#include "KeyValAccess.h"
#include "MutexGuard.h"
#include "SensorReport.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

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

bool ISensorController::getDNMode(int& nMode) {
    return getCommand(IA_CMD_DN_STATE, &nMode);
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
