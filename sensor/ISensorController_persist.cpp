#include "ISensorController.h"

#include <new>
#include <string>
#include <vector>

#include "ISensorController_pause.h"
#include "ISensorController_request.h"
#include "KeyValAccess.h"
#include "MachineInfo.h"
#include "ModuleConfigure.h"
#include "ModuleConfigureParser.h"
#include "MutexGuard.h"
#include "SensorConfig.h"
#include "SensorFile.h"
#include "SensorPaths.h"
#include "SensorReport.h"
#include "SySystem.h"
#include "SystemInfoParser.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

/// The module as the camera describes it now: what is known of it, with the
/// labels of the module list.
void readModule(ModuleConfigure& module) try {
    const ModuleConfig& config = g_stSysConf.moduleConfig;
    module.setModuleId(static_cast<int>(config.nModuleId));
    module.setDetail(config.szDetail);
    module.setParameters(config.szParameters);
    MachineInfo machineInfo;
    SystemInfoParser::parseMachineInfo(sensor_paths::kMachineInfo, machineInfo);
    std::vector<ModuleConfigure> modules;
    ModuleConfigureParser::parse(sensor_paths::kModuleList,
                                 std::to_string(machineInfo.getDeviceType()),
                                 machineInfo.getModelName(), modules);
    if (!modules.empty()) {
        module.setLabel(modules.front().getLabel());
        module.setShortLabel(modules.front().getShortLabel());
    }
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
}

} // namespace

/// Writes a consistent copy, as other threads may change the array meanwhile.
int ISensorController::saveScheme(char* p_szName, const KeyVal* p_pArray) {
    KeyVal saved[SENSOR_KEYVAL_MAX];
    const u32 nCount = p_pArray ? m_nKeyValSum.load() : 0;
    copyRecords(saved, p_pArray, nCount);
    return keyValToFile(p_szName, saved, nCount);
}

int ISensorController::flush() {
    const MutexGuard lock(m_mutex, __LINE__);
    const u32 nScheme = static_cast<u32>(m_nCurScheme);
    if (nScheme >= g_stSysConf.nSchemeSum)
        return SNS_SUCCESS;
    const int nWindow = paramCheck(nScheme);
    if (nWindow != SNS_SUCCESS)
        return nWindow;
    sensor_paths::SchemeFile name(nScheme);
    return saveScheme(name.text, schemeArray(nScheme));
}

int ISensorController::restore(int p_nKey) {
    const Request request(*this, __LINE__);
    REPORT_DEBUG("p_nKey(%d)\n", p_nKey);
    const KeyVal* const array = schemeArray(static_cast<u32>(m_nCurScheme));
    const int nPos = array ? findRecord(array, m_nKeyValSum, static_cast<u32>(p_nKey)) : -1;
    if (nPos == -1) {
        REPORT_ASSERTION("-1 != nPos", "restore key(%d) failed! make sure it is sensor ui key \n",
                         p_nKey);
        return -1;
    }
    KeyVal kv = loadRecord(array[nPos]); // a copy: a handler may change what it is given
    return setParameters(&kv, 1, false);
}

bool ISensorController::restoreAeMode() {
    return restore(KEY_EXPOSE_MODE) == SNS_SUCCESS && restore(KEY_AUTO_FOCUS_MODE) == SNS_SUCCESS;
}

bool ISensorController::resetToLastParameters() {
    REPORT_DEBUG("\n");
    if (static_cast<u32>(m_nCurScheme) >= loadWord(g_stSysConf.nSchemeSum))
        return true;
    const Request request(*this, __LINE__);
    const u32 nScheme = static_cast<u32>(m_nCurScheme); // a switch may have ended meanwhile
    if (nScheme >= g_stSysConf.nSchemeSum)
        return true;
    m_nFlags |= restoring_flag;
    sensor_paths::SchemeFile szTmp(nScheme);
    if (keyValFromFile(szTmp.text, m_pstKeyValTmp, m_nKeyValSum) != SNS_SUCCESS) {
        REPORT_ASSERTION("SNS_SUCCESS == keyValFromFile(szTmp, m_pstKeyValTmp, m_nKeyValSum)",
                         "szTmp(%s), m_nKeyValSum(%d)\n", szTmp.text,
                         static_cast<int>(m_nKeyValSum));
    }
    const int nResult = setParameters(m_pstKeyValTmp, m_nKeyValSum, true);
    m_nFlags &= ~u32{restoring_flag};
    return nResult == SNS_SUCCESS;
}

bool ISensorController::resetParameters() {
    const MutexGuard lock(m_mutex, __LINE__);
    REPORT_DEBUG("resetting\n");
    m_nFlags |= resetting_flag;
    while (claim(switching_flag, switching_flag) != 0)
        pauseHalfSecond();
    if (switchClaimed(static_cast<int>(g_stSysConf.nSchemeSum), false) != SNS_SUCCESS) {
        REPORT_ASSERTION("SNS_SUCCESS == switch_to(g_stSysConf.nSchemeSum)",
                         "g_stSysConf.nSchemeSum(%d)\n", static_cast<int>(g_stSysConf.nSchemeSum));
    }
    sy_system(sensor_paths::kRemoveSchemes, sensor_paths::kRemoveSeconds);
    uinit();

    ModuleConfigure objModuleConfigure;
    readModule(objModuleConfigure);
    if (!init(objModuleConfigure))
        REPORT_ASSERTION("init(objModuleConfigure)", "\n");

    // In this order: a pass of the worker thread between the two must not
    // switch under the assignment.
    m_nCurScheme = 0;
    m_nFlags &= ~u32{resetting_flag};
    return true;
}
