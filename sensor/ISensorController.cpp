#include "ISensorController.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "AVStreamParam.h"
#include "DeviceAccess.h"
#include "DeviceType.h"
#include "GThread.h"
#include "ISensorController_storage.h"
#include "KeyValAccess.h"
#include "MachineInfo.h"
#include "SensorConfig.h"
#include "SensorFile.h"
#include "SensorPaths.h"
#include "SensorReport.h"
#include "SensorRules.h"
#include "SensorWdrFlag.h"
#include "SySystem.h"
#include "SystemInfoParser.h"
#include "VideoStreamModule.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

/// What the night scheme of a plate-recognition camera differs in from the factory values.
constexpr KeyVal kNightValues[] = {
    {KEY_DN_MODE, 0}, {KEY_MAX_SHUTTER, 18},         {KEY_METER_AREA, 1},
    {KEY_IR_MODE, 2}, {KEY_IR_MANUAL_STRG_NEAR, 40},
};
constexpr u32 kNightScheme = 1;

/// @return the device type of the machine information; 0 when it cannot be read
int readDeviceType() try {
    MachineInfo machineInfo;
    SystemInfoParser::parseMachineInfo(sensor_paths::kMachineInfo, machineInfo);
    DeviceType deviceType;
    deviceType.setDeviceTypeId(machineInfo.getDeviceType());
    return deviceType.getDeviceTypeId();
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return 0;
}

} // namespace

ISensorController::ISensorController()
    : m_pSensorThread(
          new GThread([this] { return sensorThread(); }, "SensorThread", GThread::emptyFun)),
      m_pStorage(new Storage) {}

ISensorController::~ISensorController() {
    m_pSensorThread->stop();
    m_pSensorThread.reset();
    if (m_pStorage->map != nullptr && g_pKeyCmdMap == m_pStorage->map.get())
        g_pKeyCmdMap = nullptr;
}

bool ISensorController::init(const ModuleConfigure& p_objModuleConfigure) {
    if (m_ppUserKeyVal != nullptr)
        uinit();
    m_nFlags |= init_flag;
    m_nFlags &= ~u32{status_flag};
    free(g_stSysConf.szUIStyle); // of a controller that was destroyed without uinit
    if (initSysConf(p_objModuleConfigure, &g_stSysConf) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == initSysConf(p_objModuleConfigure, &g_stSysConf)");
    const u32 nSchemeSum = g_stSysConf.nSchemeSum;

    // The factory values are read here, then kept as the default scheme's array.
    KeyVal factory[SENSOR_KEYVAL_MAX];
    m_pFctKeyVal = factory;
    m_pstKeyValLPR = m_pStorage->lpr;
    u32 nKeyValSum = 0;
    const int nFactory = getFctData(g_stSysConf.szUIStyle, m_pFctKeyVal, &nKeyValSum);
    m_nKeyValSum = nKeyValSum;
    if (nFactory != SNS_SUCCESS) {
        REPORT_ASSERTION(
            "SNS_SUCCESS == getFctData(g_stSysConf.szUIStyle, m_pFctKeyVal, &m_nKeyValSum)",
            "m_nKeyValSum(%d)\n", static_cast<int>(nKeyValSum));
    }
    fillSchemes(factory, nSchemeSum);
    REPORT_DEBUG("m_nKeyValNum(%d)\n", static_cast<int>(nKeyValSum));
    m_pFctKeyVal = schemeArray(nSchemeSum);

    u32 nVersion = 0;
    if (getVersion(&nVersion) != SNS_SUCCESS || nVersion != m_nVersion) {
        REPORT_WARNING(
            "check the sensor version,   local(%u) --> libimgctl.so(%u), source the cmd: "
            "rm -rf /mnt/mtd/code/config*/sensor*\n",
            nVersion, m_nVersion);
        sy_system(sensor_paths::kRemoveSchemes, sensor_paths::kRemoveSeconds);
    }

    m_bDayNightSchemes = readDeviceType() == DEVICE_TYPE_LPR &&
                         hasDayNightSchemes(g_stSysConf.moduleConfig.szDetail);
    for (u32 s = 0; s < nSchemeSum; ++s) {
        sensor_paths::SchemeFile name(s);
        if (!existsOnDevice(name.text))
            createSchemeFile(s, name.text);
        loadSchemeFile(s, name.text);
    }
    if (setVersion(m_nVersion) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == setVersion(m_nVersion)", "m_nVersion(%d)\n",
                         static_cast<int>(m_nVersion));

    buildKeyCmdMap();
    memset(m_pStorage->tmp, 0, sizeof m_pStorage->tmp);
    m_pstKeyValTmp = m_pStorage->tmp;

    sensorThread();
    if (!m_pSensorThread->start())
        REPORT_ASSERTION("m_pSensorThread->start()");
    m_nFlags &= ~u32{init_flag};
    m_nFlags |= status_flag;
    updateWDRShowFlag();
    REPORT_DEBUG("ISensorController::initSensor  success\n");
    return true;
}

void ISensorController::uinit() {
    m_nFlags |= uinit_flag;
    if (!m_pSensorThread->stop())
        REPORT_ASSERTION("m_pSensorThread->stop()");
    m_pstKeyValTmp = nullptr;
    if (m_ppUserKeyVal != nullptr) // otherwise the host may have taken its table of texts back
        uinitSysConf(&g_stSysConf);
    m_nFlags &= ~u32{uinit_flag};
    m_nKeyValSum = 0;
    m_ppUserKeyVal = nullptr;
    m_pFctKeyVal = nullptr;
    m_nParamMode = 1;
    m_nLastScheme = -1;
    m_nCurScheme = -1;
}

int ISensorController::getSensorType() {
    return static_cast<int>(loadWord(g_stSysConf.moduleConfig.nModuleId));
}

bool ISensorController::getSensorStatus() {
    return (m_nFlags & status_flag) != 0;
}

void ISensorController::printDebugMsg() {}

/// Every array starts out with the factory values, so that a scheme whose file is short or missing
/// has defined values all the same.
void ISensorController::fillSchemes(const KeyVal* p_pFactory, u32 p_nSchemeSum) {
    for (u32 s = 0; s <= SENSOR_SCHEME_MAX; ++s) {
        KeyVal* array = nullptr;
        if (s <= p_nSchemeSum) {
            if (m_pStorage->arrays[s] == nullptr)
                m_pStorage->arrays[s].reset(new (std::nothrow) KeyVal[SENSOR_KEYVAL_MAX]());
            array = m_pStorage->arrays[s].get();
            if (array != nullptr)
                copyRecords(array, p_pFactory, m_nKeyValSum);
        }
        __atomic_store_n(&m_pStorage->table[s], array, __ATOMIC_RELEASE);
    }
    m_ppUserKeyVal = m_pStorage->table;
}

void ISensorController::createSchemeFile(u32 p_nScheme, char* p_szName) {
    const u32 nDefault = g_stSysConf.nSchemeSum;
    if (m_bDayNightSchemes && p_nScheme == kNightScheme) {
        KeyVal* const night = m_pstKeyValLPR;
        const u32 nCount = m_pFctKeyVal ? m_nKeyValSum.load() : 0;
        copyRecords(night, m_pFctKeyVal, nCount);
        for (const KeyVal& value : kNightValues) {
            const int index = findRecord(night, nCount, value.key);
            if (index != -1)
                storeWord(night[index].value, value.value);
        }
        saveScheme(p_szName, night);
        return;
    }
    // The first timed scheme is enabled from the start; the default scheme has no window.
    const bool bEnable = !m_bDayNightSchemes && p_nScheme == 0;
    if (bEnable)
        setKeyValToCache(nDefault, KEY_SCHEME_ENABLE, 1, true);
    saveScheme(p_szName, m_pFctKeyVal);
    if (bEnable)
        setKeyValToCache(nDefault, KEY_SCHEME_ENABLE, 0, true);
}

void ISensorController::loadSchemeFile(u32 p_nScheme, char* p_szName) {
    KeyVal* const array = schemeArray(p_nScheme);
    if (array == nullptr)
        return;
    KeyVal loaded[SENSOR_KEYVAL_MAX];
    copyRecords(loaded, array, m_nKeyValSum);
    keyValFromFile(p_szName, loaded, m_nKeyValSum);
    copyRecords(array, loaded, m_nKeyValSum);
}

/// Streams of 50 or 60 frames per second leave the sensor no time for wide dynamic range.
void ISensorController::updateWDRShowFlag() try {
    setshowWDRFalg(true);
    const VideoStreamModule* module = m_pVideoStreamModule;
    if (module == nullptr)
        return;
    std::vector<AVStreamParam> streams;
    module->getAVStreamParams(streams);
    for (const AVStreamParam& stream : streams) {
        if (stream.getFrameRate() == 50 || stream.getFrameRate() == 60)
            setshowWDRFalg(false);
    }
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
}
