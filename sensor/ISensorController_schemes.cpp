#include "ISensorController.h"

#include "DKDeviceTime.h"
#include "DravikTime.h"
#include "ISensorController_pause.h"
#include "ISensorController_storage.h"
#include "KeyValAccess.h"
#include "MutexGuard.h"
#include "SensorConfig.h"
#include "SensorReport.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

/// Where a scheme's array holds its time window.
enum WindowPosition : u32 {
    kEnable = 0,
    kStartHour = 1,
    kStartMinute = 2,
    kEndHour = 3,
    kEndMinute = 4
};

constexpr u32 kEndOfDay = 2400;

/// A time of day as one number, for example 730 for half past seven.
u32 timeOfDay(u32 hour, u32 minute) {
    return hour * 100 + minute;
}

} // namespace

/// Sets switching_flag in one step, so that two switches never run at once.
/// @return false when it, or one of the given bits, was set
bool ISensorController::claimSwitch(u32 p_nUnlessSet) {
    u32 nFlags = m_nFlags;
    do {
        if ((nFlags & (p_nUnlessSet | switching_flag)) != 0)
            return false;
    } while (!m_nFlags.compare_exchange_weak(nFlags, nFlags | switching_flag));
    return true;
}

void ISensorController::waitWhileBusy() {
    while (isBusy())
        pauseHalfSecond();
}

int ISensorController::switch_to(int nScheme, bool bApplyAll) {
    while (!claimSwitch(busy_flags))
        pauseHalfSecond();
    return switchClaimed(nScheme, bApplyAll);
}

/// The switch itself, by whoever has claimed it; reports in the name of switch_to.
int ISensorController::switchClaimed(int nScheme, bool bApplyAll) {
    constexpr char kSignature[] = "int ISensorController::switch_to(int, bool)";
    reportTrace(TraceKind::Debug, REPORT_SITE_AS(kSignature), kColourPlain,
                "switch_to(): %d -> %d\n", m_nCurScheme.load(), nScheme);
    m_nLastScheme = m_nCurScheme.load();
    m_nCurScheme = nScheme;
    KeyVal* const array = schemeArray(static_cast<u32>(nScheme));
    if (bApplyAll) {
        setParameters(array, m_nKeyValSum, false);
    } else if (setParameters(array, m_nKeyValSum, true) != SNS_SUCCESS) {
        reportAssertion(
            REPORT_SITE_AS(kSignature),
            "SNS_SUCCESS == setParameters(m_ppUserKeyVal[m_nCurScheme], m_nKeyValSum, true)",
            "m_nCurScheme(%d) m_nKeyValSum(%d)\n", m_nCurScheme.load(),
            static_cast<int>(m_nKeyValSum));
    }
    m_nFlags &= ~u32{switching_flag};
    return SNS_SUCCESS;
}

int ISensorController::LPR_switch_to(int nScheme) {
    while (!claimSwitch(busy_flags))
        pauseHalfSecond();
    switchClaimedLPR(nScheme);
    return SNS_SUCCESS;
}

void ISensorController::switchClaimedLPR(int nScheme) {
    m_nLastScheme = m_nCurScheme.load();
    m_nCurScheme = nScheme;
    const KeyVal* const array = schemeArray(static_cast<u32>(nScheme));
    KeyVal* const scratch = m_pstKeyValLPR;
    if (array != nullptr && scratch != nullptr) {
        const u32 nCount = m_nKeyValSum;
        copyRecords(scratch, array, nCount);
        const int nDNMode = findRecord(scratch, nCount, KEY_DN_MODE);
        if (nDNMode != -1)
            storeWord(scratch[nDNMode].value, 0);
        setParameters(scratch, nCount, false);
    }
    m_nFlags &= ~u32{switching_flag};
}

bool ISensorController::setParamScheme(int p_nScheme) {
    const MutexGuard lock(m_mutex, __LINE__);
    if (p_nScheme < 0 || static_cast<u32>(p_nScheme) > g_stSysConf.nSchemeSum) {
        REPORT_ASSERTION("p_nScheme >= 0 && (u32)p_nScheme <= g_stSysConf.nSchemeSum",
                         "p_nScheme(%d)\n", p_nScheme);
    }
    waitWhileBusy();
    return switch_to(p_nScheme, false) == SNS_SUCCESS;
}

bool ISensorController::getParamScheme(int& nScheme) {
    const MutexGuard lock(m_mutex, __LINE__);
    nScheme = m_nCurScheme;
    return true;
}

bool ISensorController::setParamMode(int p_nMode) {
    const MutexGuard lock(m_mutex, __LINE__);
    if (static_cast<u32>(p_nMode) > 1)
        REPORT_ASSERTION("0 == p_nMode || 1 == p_nMode", "p_nMode(%d)\n", p_nMode);
    waitWhileBusy();
    m_nParamMode = p_nMode;
    return true;
}

bool ISensorController::getParamMode(int& nMode) {
    const MutexGuard lock(m_mutex, __LINE__);
    nMode = m_nParamMode;
    return true;
}

/// One number of a scheme's time window; 0 where the style gave the scheme none.
u32 ISensorController::windowValue(u32 p_nScheme, u32 p_nPosition) const {
    const KeyVal* const array = schemeArray(p_nScheme);
    return array && p_nPosition < m_nKeyValSum ? loadWord(array[p_nPosition].value) : 0;
}

int ISensorController::judgeCurScheme(int& nScheme, int& nSchedule) {
    const DKDeviceTime time = DKDeviceTime::getCurrentTime();
    const u32 now = timeOfDay(time.hour, time.minute);
    const u32 nSchemeSum = loadWord(g_stSysConf.nSchemeSum);
    nSchedule = 0;
    for (u32 i = 0; i < nSchemeSum; ++i) {
        if (windowValue(i, kEnable) != 0 &&
            now < timeOfDay(windowValue(i, kEndHour), windowValue(i, kEndMinute)) &&
            timeOfDay(windowValue(i, kStartHour), windowValue(i, kStartMinute)) <= now) {
            nScheme = static_cast<int>(i);
            nSchedule = 1;
            return SNS_SUCCESS;
        }
    }
    nScheme = static_cast<int>(nSchemeSum);
    return SNS_SUCCESS;
}

int ISensorController::paramCheck() {
    return paramCheck(static_cast<u32>(m_nCurScheme));
}

int ISensorController::paramCheck(u32 nScheme) {
    const u32 nStart =
        timeOfDay(windowValue(nScheme, kStartHour), windowValue(nScheme, kStartMinute));
    const u32 nEnd = timeOfDay(windowValue(nScheme, kEndHour), windowValue(nScheme, kEndMinute));
    if (nStart > kEndOfDay) {
        REPORT_DEBUG("failed!!!! nParamSchemeStartTime(%d)\n", static_cast<int>(nStart));
        return 505;
    }
    if (nEnd > kEndOfDay) {
        REPORT_DEBUG("failed!!!! nParamSchemeEndTime(%d)\n", static_cast<int>(nEnd));
        return 506;
    }
    if (nStart >= nEnd) {
        REPORT_DEBUG("failed!!!! nParamSchemeStartTime(%d) nParamSchemeEndTime(%d)\n",
                     static_cast<int>(nStart), static_cast<int>(nEnd));
        return 507;
    }
    return SNS_SUCCESS;
}

int ISensorController::sensorThread() {
    if ((m_nFlags & resetting_flag) == 0)
        DravikTime::wait(DravikTime(1, 0));
    if (m_nParamMode == 0)
        return 0;
    int nScheme = 0;
    int nSchedule = 0;
    if (judgeCurScheme(nScheme, nSchedule) != SNS_SUCCESS) {
        REPORT_ASSERTION("SNS_SUCCESS == judgeCurScheme(nScheme, nSchedule)", "nScheme(%d)\n",
                         nScheme);
    }
    // The thread waits for nobody: while the controller is busy or a batch is being applied, the
    // next pass compares again. The host may have ended automatic switching, and switched itself,
    // since the mode was read; what was judged then must not undo that.
    const auto claim = [this] {
        if (!claimSwitch(busy_flags | host_batches))
            return false;
        if (m_nParamMode != 0)
            return true;
        m_nFlags &= ~u32{switching_flag};
        return false;
    };
    if (!m_bDayNightSchemes) {
        if (nScheme != m_nCurScheme && claim()) {
            REPORT_DEBUG("SCHEME: auto switch_to(%d)\n", nScheme);
            if (switchClaimed(nScheme, false) != SNS_SUCCESS)
                REPORT_ASSERTION("SNS_SUCCESS == switch_to(nScheme)", "nScheme(%d)\n", nScheme);
        }
        return 0;
    }
    const bool bSameSchedule = m_nLastSchedule == nSchedule;
    if (nSchedule == 1) {
        if ((bSameSchedule && nScheme == m_nCurScheme) || !claim())
            return 0;
        REPORT_DEBUG("SCHEME: auto switch_to(%d)\n", nScheme);
        if (bSameSchedule) {
            if (switchClaimed(nScheme, false) != SNS_SUCCESS)
                REPORT_ASSERTION("SNS_SUCCESS == switch_to(nScheme)", "nScheme(%d)\n", nScheme);
        } else if (switchClaimed(nScheme, true) != SNS_SUCCESS) {
            // All of it, as after day/night control the layer's values are those of no array.
            REPORT_ASSERTION("SNS_SUCCESS == switch_to(nScheme, true)", "nScheme(%d)\n", nScheme);
        }
        m_nLastSchedule = nSchedule;
        return 0;
    }
    int nMode = 0;
    getDNMode(nMode);
    const int nWanted = nMode != 0 ? 1 : 0;
    if ((bSameSchedule && nWanted == m_nCurScheme) || !claim())
        return 0;
    switchClaimedLPR(nWanted);
    m_nLastSchedule = nSchedule;
    return 0;
}
