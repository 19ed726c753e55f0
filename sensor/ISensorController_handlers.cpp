#include "ISensorController.h"

#include "ImageAdjust.h"
#include "KeyValAccess.h"
#include "SensorReport.h"
#include "SensorRules.h"
#include "SensorWdrFlag.h"
#include "VideoStreamModule.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

} // namespace

void ISensorController::setVideoStreamModule(const VideoStreamModule* p_pModule) {
    m_pVideoStreamModule = p_pModule;
}

int ISensorController::notifyToVideo(int p_nKey, int p_nValue) {
    const VideoStreamModule* module = m_pVideoStreamModule;
    return module ? module->notifySensorParam(p_nKey, p_nValue) : SNS_SUCCESS;
}

void ISensorController::setShowWDRFalg(bool p_bShow) {
    setshowWDRFalg(p_bShow);
}

/// The current scheme's value of a key; 0 when it has none.
u32 ISensorController::cachedOrZero(u32 p_nKey) {
    u32 nValue = 0;
    getKeyValFromCache(static_cast<u32>(m_nCurScheme), p_nKey, nValue);
    return nValue;
}

int ISensorController::doHwdr(u32 p_nKey, u32 p_nDir, void* p_pVal) {
    if (!getshowWDRFalg()) {
        constexpr u32 kOff = 0;
        if (p_pVal != nullptr)
            memcpy(p_pVal, &kOff, sizeof kOff);
        return SNS_SUCCESS;
    }
    notifyToVideo(NOTIFY_WDR_SWITCH, 0);
    const int nResult = notifyToVideo(static_cast<int>(p_nKey), static_cast<int>(wordAt(p_pVal)));
    if (doIaCmd(p_nKey, p_nDir, p_pVal) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == doIaCmd(p_nKey, p_nDir, p_pVal)", "\n");
    notifyToVideo(NOTIFY_WDR_SWITCH, 1);
    return nResult;
}

int ISensorController::doImageAdjust(u32 p_nKey, u32 p_nDir, void* p_pVal) {
    if (doIaCmd(p_nKey, p_nDir, p_pVal) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == doIaCmd(p_nKey, p_nDir, p_pVal)", "\n");
    return notifyToVideo(static_cast<int>(p_nKey), static_cast<int>(wordAt(p_pVal)));
}

int ISensorController::doDIS(u32 p_nKey, u32 p_nDir, void* p_pVal) {
    if (notifyToVideo(static_cast<int>(p_nKey), static_cast<int>(wordAt(p_pVal))) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == notifyToVideo(p_nKey, *(u32*)p_pVal)", "\n");
    return doIaCmd(p_nKey, p_nDir, p_pVal);
}

int ISensorController::doMirror(u32 p_nKey, u32 p_nDir, void* p_pVal) {
    const u32 nWanted = wordAt(p_pVal);
    const u32 nBeaway = cachedOrZero(KEY_BEAWAY);
    u32 nMirror = effectiveMirror(nWanted, nBeaway);
    REPORT_DEBUG("nMirror(%u --> %u), nBeaway:%u\n", nWanted, nMirror, nBeaway);
    if (notifyToVideo(static_cast<int>(p_nKey), static_cast<int>(nMirror)) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == notifyToVideo(p_nKey, nMirror)", "\n");
    return doIaCmd(p_nKey, p_nDir, &nMirror);
}

int ISensorController::doBeaway(u32 p_nKey, u32 p_nDir, void* p_pVal) {
    u32 nBeaway = wordAt(p_pVal);
    const u32 nMirror = effectiveMirror(cachedOrZero(KEY_MIRROR), nBeaway);
    if (notifyToVideo(IA_CMD_UI_MIRROR, static_cast<int>(nMirror)) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == notifyToVideo(IA_CMD_UI_MIRROR, nMirror)", "\n");
    if (notifyToVideo(static_cast<int>(p_nKey), static_cast<int>(nBeaway)) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == notifyToVideo(p_nKey, nBeaway)", "\n");
    return doIaCmd(p_nKey, p_nDir, &nBeaway);
}

int ISensorController::doDNThr(u32 p_nKey, u32 p_nDir, void* p_pVal) {
    dn_thr_st thr = {};
    if (p_nKey == KEY_DTN_THR) {
        thr.d2n_thr = wordAt(p_pVal);
        thr.n2d_thr = cachedOrZero(KEY_NTD_THR);
    } else {
        thr.d2n_thr = cachedOrZero(KEY_DTN_THR);
        thr.n2d_thr = wordAt(p_pVal);
    }
    reportBareDebug("m_nCurScheme(%u) dn_thr_st.d2n_thr(%u) dn_thr_st.n2d_thr(%u)\n",
                    static_cast<u32>(m_nCurScheme), thr.d2n_thr, thr.n2d_thr);
    const int nResult = doIaCmd(p_nKey, p_nDir, &thr);
    // A restore sets both thresholds one after the other; the layer may refuse the pair in between.
    return (m_nFlags & restoring_flag) != 0 ? SNS_SUCCESS : nResult;
}

int ISensorController::doDNTime(u32 p_nKey, u32 p_nDir, void* p_pVal) {
    const bool bOtherField = p_nKey == KEY_DTN_H || p_nKey == KEY_DTN_M || p_nKey == KEY_NTD_H;
    const u32 nChanged = bOtherField ? p_nKey : u32{KEY_NTD_M};
    const auto field = [&](u32 nKey) {
        return nKey == nChanged ? wordAt(p_pVal) : cachedOrZero(nKey);
    };
    dn_time_st time = {};
    time.d2n_hour = field(KEY_DTN_H);
    time.d2n_min = field(KEY_DTN_M);
    time.n2d_hour = field(KEY_NTD_H);
    time.n2d_min = field(KEY_NTD_M);
    reportBareDebug(
        "m_nCurScheme(%u) dn_time_st.d2n_hour(%u) dn_time_st.d2n_min(%u) "
        "dn_time_st.n2d_hour(%u) dn_time_st.n2d_min(%u) \n",
        static_cast<u32>(m_nCurScheme), time.d2n_hour, time.d2n_min, time.n2d_hour, time.n2d_min);
    return doIaCmd(p_nKey, p_nDir, &time);
}
