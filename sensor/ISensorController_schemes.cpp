#include "ISensorController.h"

#include "DKDeviceTime.h"
#include "DravikTime.h"
#include "ISensorController_pause.h"
#include "ISensorController_request.h"
#include "KeyValAccess.h"
#include "MutexGuard.h"
#include "SensorConfig.h"
#include "SensorReport.h"
#include "SensorRules.h"

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

/// How often the worker thread pauses for batches without the lock: for less than a second.
constexpr u32 kMostPauses = 200;

/// A time of day as one number, for example 730 for half past seven.
u32 timeOfDay(u32 hour, u32 minute) {
    return hour * 100 + minute;
}

} // namespace

int ISensorController::switch_to(int nScheme, bool bApplyAll) {
    claimSwitchInTurn();
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
    claimSwitchInTurn();
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
            storeWord(scratch[nDNMode].value, SENSOR_DN_MODE_BY_LIGHT);
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
    const bool bResetting = (m_nFlags & resetting_flag) != 0;
    if (!bResetting)
        DravikTime::wait(DravikTime(1, 0));
    // A pass that began during a reset may find it ended, but has not paused.
    if (bResetting || m_nParamMode == 0)
        return 0;
    // A switch that finds values being applied goes as soon as they are; requests that hold the
    // lock let it pass. Other batches, which keep to no order, hold it up for so many pauses only.
    LayerWatch watch(m_nLayerReturns);
    u32 nBatches = any_batch;
    for (u32 nPauses = 0; !switchIfDue(nBatches);) {
        do {
            m_nFlags |= switch_due;
            if (!watch.pause()) {
                m_nFlags &= ~u32{switch_due};
                return 0;
            }
            if (++nPauses == kMostPauses)
                nBatches = request_flag;
        } while ((m_nFlags & nBatches) != 0);
    }
    m_nFlags &= ~u32{switch_due};
    return 0;
}

/// Compares the scheme in force with the one that should be, and switches.
/// @param p_nBatches  what keeps a switch from beginning, of any_batch
/// @return false when a batch kept it; true when it is done, not due, or not to be done now
bool ISensorController::switchIfDue(u32 p_nBatches) {
    int nScheme = 0;
    int nSchedule = 0;
    if (judgeCurScheme(nScheme, nSchedule) != SNS_SUCCESS) {
        REPORT_ASSERTION("SNS_SUCCESS == judgeCurScheme(nScheme, nSchedule)", "nScheme(%d)\n",
                         nScheme);
    }
    // While the controller is busy, the next pass compares again. The host may have ended automatic
    // switching, and switched itself, since the mode was read; what was judged
    // then must not undo that.
    bool bKept = false;
    const auto claimed = [&] {
        const u32 nBlocking = claim(switching_flag, busy_flags | p_nBatches);
        if (nBlocking != 0) {
            bKept = (nBlocking & busy_flags) == 0;
            return false;
        }
        if (m_nParamMode != 0)
            return true;
        m_nFlags &= ~u32{switching_flag};
        return false;
    };
    if (!m_bDayNightSchemes) {
        if (nScheme != m_nCurScheme && claimed()) {
            REPORT_DEBUG("SCHEME: auto switch_to(%d)\n", nScheme);
            if (switchClaimed(nScheme, false) != SNS_SUCCESS)
                REPORT_ASSERTION("SNS_SUCCESS == switch_to(nScheme)", "nScheme(%d)\n", nScheme);
        }
        return !bKept;
    }
    const bool bSameSchedule = m_nLastSchedule == nSchedule;
    if (nSchedule == 1) {
        if ((bSameSchedule && nScheme == m_nCurScheme) || !claimed())
            return !bKept;
        REPORT_DEBUG("SCHEME: auto switch_to(%d)\n", nScheme);
        if (bSameSchedule) {
            if (switchClaimed(nScheme, false) != SNS_SUCCESS)
                REPORT_ASSERTION("SNS_SUCCESS == switch_to(nScheme)", "nScheme(%d)\n", nScheme);
        } else if (switchClaimed(nScheme, true) != SNS_SUCCESS) {
            // All of it, as after day/night control the layer's values are those of no array.
            REPORT_ASSERTION("SNS_SUCCESS == switch_to(nScheme, true)", "nScheme(%d)\n", nScheme);
        }
        m_nLastSchedule = nSchedule;
        return !bKept;
    }
    int nMode = 0;
    getDNMode(nMode);
    const int nWanted = nMode != 0 ? 1 : 0;
    if ((bSameSchedule && nWanted == m_nCurScheme) || !claimed())
        return !bKept;
    switchClaimedLPR(nWanted);
    m_nLastSchedule = nSchedule;
    return !bKept;
}
