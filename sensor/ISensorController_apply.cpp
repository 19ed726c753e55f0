#include "ISensorController.h"

#include "ISensorController_storage.h"
#include "ImageAdjust.h"
#include "KeyValAccess.h"
#include "SensorConfig.h"
#include "SensorReport.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

bool isSchemeKey(u32 key) {
    return key >= KEY_SCHEME_ENABLE && key <= KEY_SCHEME_END_MIN;
}

/// Keys that the map does not know are sent as their own command.
keycmd standByRow(u32 key) {
    return keycmd{key, key, &ISensorController::doIaCmd, "unknow key",
                  "ISensorController::doIaCmd"};
}

} // namespace

int ISensorController::doIaCmd(unsigned int cmd, unsigned int opt, void* data) {
    REPORT_DEBUG("====================== cmd:%d dir:%d val:%d =====================begin\n",
                 static_cast<int>(cmd), static_cast<int>(opt), static_cast<int>(wordAt(data)));
    const int result = ia_ioctrl(cmd, opt, data);
    // Of two that return at once one may go uncounted: it is the change that tells.
    m_nLayerReturns.store(m_nLayerReturns.load(std::memory_order_relaxed) + 1,
                          std::memory_order_relaxed);
    REPORT_DEBUG("====================== cmd:%d dir:%d val:%d =====================end\n",
                 static_cast<int>(cmd), static_cast<int>(opt), static_cast<int>(wordAt(data)));
    return result;
}

int ISensorController::doIaCmd_User(unsigned int cmd, unsigned int opt, void* data) {
    if ((m_nFlags & user_blocking_flags) != 0) {
        REPORT_DEBUG("ignored auto focus once !!!\n");
        return SNS_SUCCESS;
    }
    return doIaCmd(cmd, opt, data);
}

int ISensorController::getCmdExecStatus(int cmd, int& status) {
    if (doIaCmd(static_cast<u32>(cmd), IA_CMD_OPT_GET_EXEC_STATUS, &status) != SNS_SUCCESS)
        return 0;
    REPORT_DEBUG(
        "=================  get exec status cmd(0x%x)       value(%d)   "
        "======================\n",
        static_cast<u32>(cmd), status);
    return 1;
}

/// The records of a scheme, room for SENSOR_KEYVAL_MAX; null when there is no such scheme.
KeyVal* ISensorController::schemeArray(u32 p_nScheme) const {
    KeyVal** const table = m_ppUserKeyVal;
    if (table == nullptr || p_nScheme > SENSOR_SCHEME_MAX)
        return nullptr;
    return __atomic_load_n(&table[p_nScheme], __ATOMIC_ACQUIRE);
}

int ISensorController::setKeyValToCache(unsigned int p_nScheme, unsigned int p_nKey,
                                        unsigned int p_nValue, bool p_bDefault) {
    if (!p_bDefault && p_nScheme >= loadWord(g_stSysConf.nSchemeSum))
        return -2;
    KeyVal* const array = schemeArray(p_nScheme);
    const int index = array ? findRecord(array, m_nKeyValSum, p_nKey) : -1;
    if (index != -1)
        storeWord(array[index].value, p_nValue);
    return index;
}

int ISensorController::getKeyValFromCache(unsigned int p_nScheme, unsigned int p_nKey,
                                          unsigned int& p_nValue) {
    if (p_nScheme > loadWord(g_stSysConf.nSchemeSum)) {
        REPORT_DEBUG("can not find val, invalid sheme(%d) \n", static_cast<int>(p_nScheme));
        return -1;
    }
    const KeyVal* const array = schemeArray(p_nScheme);
    const int index = array ? findRecord(array, m_nKeyValSum, p_nKey) : -1;
    if (index != -1)
        p_nValue = loadWord(array[index].value);
    return index;
}

bool ISensorController::isKeyValNewest(const KeyVal& p_stKeyVal) {
    // During a switch the hardware still carries the values of the scheme that is being left.
    const int nScheme = (m_nFlags & switching_flag) != 0 ? m_nLastScheme : m_nCurScheme;
    const KeyVal wanted = loadRecord(p_stKeyVal);
    u32 nValue = ~0u;
    return getKeyValFromCache(static_cast<u32>(nScheme), wanted.key, nValue) != -1 &&
           nValue == wanted.value;
}

/// Marks that a batch is being applied, so that the worker thread starts no switch meanwhile.
class ISensorController::BatchMark {
public:
    explicit BatchMark(std::atomic<u32>& flags) : m_nFlags(flags) { m_nFlags += host_batch; }
    ~BatchMark() { m_nFlags -= host_batch; }
    BatchMark(const BatchMark&) = delete;
    BatchMark& operator=(const BatchMark&) = delete;

private:
    std::atomic<u32>& m_nFlags;
};

/// Applies a value by a row of the map. What an unknown command carries is not known either, so it
/// gets room for any record.
int ISensorController::callHandler(const keycmd& p_stRow, bool p_bKnown, u32& p_nValue) {
    if (p_stRow.handler == nullptr)
        return SNS_SUCCESS;
    if (p_bKnown)
        return (this->*p_stRow.handler)(p_stRow.ia_cmd, IA_CMD_OPT_SET, &p_nValue);
    CommandScratch scratch(p_nValue);
    const int result = (this->*p_stRow.handler)(p_stRow.ia_cmd, IA_CMD_OPT_SET, scratch.words);
    p_nValue = scratch.words[0];
    return result;
}

int ISensorController::setParameters(KeyVal* p_pKeyval, u32 p_nKeyValNum, bool p_bUpdate) {
    const BatchMark mark(m_nFlags);
    const u32 count = p_pKeyval ? p_nKeyValNum : 0;
    for (u32 i = 0; i < count; ++i) {
        // The list may be a scheme's array, which other threads write: each value is read once.
        KeyVal kv = loadRecord(p_pKeyval[i]);
        if (!p_bUpdate && isSchemeKey(kv.key))
            continue;
        if (p_bUpdate && isKeyValNewest(kv)) {
            REPORT_DEBUG(
                "ignore, (%u,%u) is newest, m_nFlags.switching_flag(%d), "
                "m_nLastScheme(%d), m_nCurScheme(%d)!!!\n",
                kv.key, kv.value, (m_nFlags & switching_flag) != 0 ? 1 : 0, m_nLastScheme.load(),
                m_nCurScheme.load());
            continue;
        }
        if (!p_bUpdate || !isSchemeKey(kv.key)) {
            keycmd row;
            const bool bKnown = findFromKeyCmdMap(m_pKeyCmdMap, kv.key, row) != -1;
            if (!bKnown) {
                REPORT_ASSERTION(
                    "-1 != findFromKeyCmdMap(m_pKeyCmdMap, p_pKeyval[i].key, stKeyCmdTmp)",
                    "p_pKeyval[%u].key(%u)", i, kv.key);
                REPORT_DEBUG("not find (%d) \n", static_cast<int>(kv.key));
                row = standByRow(kv.key);
            }
            REPORT_DEBUG(
                "====================== set %s (%d,%d) func:%s ia_cmd:%d "
                "=====================\n",
                row.name, static_cast<int>(row.key), static_cast<int>(kv.value), row.handler_name,
                static_cast<int>(row.ia_cmd));
            const u32 nWanted = kv.value;
            const int nResult = callHandler(row, bKnown, kv.value);
            // What a handler makes of a value for now is no factory value.
            if (kv.value != nWanted && p_pKeyval != schemeArray(loadWord(g_stSysConf.nSchemeSum)))
                storeWord(p_pKeyval[i].value, kv.value);
            if (nResult != SNS_SUCCESS) {
                if (nResult == IA_ERR_FAILED || nResult == IA_ERR_RANGE ||
                    nResult == IA_ERR_UNKNOWN_CMD) {
                    REPORT_ERROR("set %s (%d,%d) func:%s ia_cmd:%d ~~~failed ia_ret=%d\n", row.name,
                                 static_cast<int>(row.key), static_cast<int>(kv.value),
                                 row.handler_name, static_cast<int>(row.ia_cmd), nResult);
                }
                return static_cast<int>(0u - row.key);
            }
            if (!p_bUpdate)
                continue;
        }
        if (setKeyValToCache(static_cast<u32>(m_nCurScheme), kv.key, kv.value, false) == -1) {
            REPORT_DEBUG(
                "SET_KEY_VAL FAILED, m_nCurScheme(%d), p_pKeyval[%d].key(%d), "
                "p_pKeyval[%d].value(%d),  maybe jixin\n",
                m_nCurScheme.load(), static_cast<int>(i), static_cast<int>(kv.key),
                static_cast<int>(i), static_cast<int>(kv.value));
        }
    }
    return SNS_SUCCESS;
}
