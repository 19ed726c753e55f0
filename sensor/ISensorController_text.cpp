#include "ISensorController.h"

#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "ISensorController_request.h"
#include "KeyValAccess.h"
#include "MutexGuard.h"
#include "SensorKeyVal.h"
#include "SensorReport.h"
#include "StringHandler.h"
#include "TextNumber.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

/// Sets a word of a scheme's array if it still has the value that was read.
void replaceWord(u32& word, u32 expected, u32 value) {
    if (value != expected)
        __atomic_compare_exchange_n(&word, &expected, value, false, __ATOMIC_RELAXED,
                                    __ATOMIC_RELAXED);
}

} // namespace

int ISensorController::setParameters(const std::string& p_strParameters, bool p_bUpdate) {
    const Request request(*this, __LINE__);
    REPORT_DEBUG("p_Parameters1111111111(%s)\n", p_strParameters.c_str());
    u32 nCount = 0;
    keyval_str2st(p_strParameters, m_pstKeyValTmp, &nCount,
                  m_pstKeyValTmp ? m_nKeyValSum.load() : 0);
    return setParameters(m_pstKeyValTmp, nCount, p_bUpdate);
}

bool ISensorController::getAllParameters(std::string& p_strParameters) try {
    // While a switch is under way the layer would correct by the values of two schemes.
    const Request request(*this, __LINE__);
    // The layer corrects a copy, as other threads may be using the array. What it changed goes into
    // the scheme, unless somebody set the value meanwhile.
    KeyVal* const array = schemeArray(static_cast<u32>(m_nCurScheme));
    const u32 nCount = array ? m_nKeyValSum.load() : 0;
    KeyVal before[SENSOR_KEYVAL_MAX];
    KeyVal values[SENSOR_KEYVAL_MAX];
    copyRecords(before, array, nCount);
    copyRecords(values, before, nCount);
    if (keyval_correct(array ? values : nullptr, nCount) != SNS_SUCCESS) {
        REPORT_ASSERTION(
            "SNS_SUCCESS == keyval_correct(m_ppUserKeyVal[m_nCurScheme], m_nKeyValSum)",
            "m_nCurScheme(%d) m_nKeyValSum(%d)\n", m_nCurScheme.load(), static_cast<int>(nCount));
    }
    for (u32 i = 0; i < nCount; ++i)
        replaceWord(array[i].value, before[i].value, values[i].value);
    keyval_st2str(p_strParameters, values, nCount);
    REPORT_DEBUG("current scheme: %d\n%s\n", m_nCurScheme.load(), p_strParameters.c_str());
    return true;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return false;
}

bool ISensorController::parseSensorParameter(const std::string& p_strIds,
                                             std::vector<std::string>& p_vecIds) try {
    const size_t size = p_strIds.size();
    if (size < 3 || p_strIds[0] != '(' || p_strIds.find(')') != size - 1)
        return false;
    StringHandler::split(p_strIds.substr(1, size - 2), p_vecIds, ",");
    return !p_vecIds.empty();
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return false;
}

bool ISensorController::getParameters(const std::string& p_strIds,
                                      std::string& p_strParameters) try {
    std::vector<std::string> vecIds;
    if (!parseSensorParameter(p_strIds, vecIds)) {
        // Scripts look for this line, its fixed number included.
        printf("%s%d getParameters fail p_strIds = %s \n", "ISensorController", 769,
               p_strIds.c_str());
        return false;
    }
    p_strParameters.clear();
    for (const std::string& id : vecIds) {
        const int nKey = parseInt32(id.c_str());
        int nValue = 0;
        if (getParameter(nKey, nValue)) {
            KeyVal kv = {static_cast<u32>(nKey), static_cast<u32>(nValue)};
            keyval_st2str(p_strParameters, &kv, 1);
        }
    }
    return true;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return false;
}
