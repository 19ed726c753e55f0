#include "SensorConfig.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "DetailField.h"
#include "KeyValAccess.h"
#include "MachineInfo.h"
#include "ModuleConfigure.h"
#include "SensorFile.h"
#include "SensorPaths.h"
#include "SensorReport.h"
#include "SystemInfoParser.h"

SysConfig g_stSysConf;

namespace {

constexpr ReportUnit kUnit = ReportUnit::sensor;
constexpr u32 kDefaultSchemeSum = 4;
constexpr INT64 kMaxStyleFile = 1 << 24; // far more than a style is parsed from

/// Zeroes all but the module id, which is set next: members that take no lock may be reading it,
/// and the number of schemes.
void clear(SysConfig& config) {
    char* const bytes = reinterpret_cast<char*>(&config);
    constexpr size_t kBehindId = sizeof config.moduleConfig.nModuleId;
    constexpr size_t kSum = offsetof(SysConfig, nSchemeSum);
    constexpr size_t kBehindSum = kSum + sizeof config.nSchemeSum;
    memset(bytes + kBehindId, 0, kSum - kBehindId);
    storeWord(config.nSchemeSum, 0);
    memset(bytes + kBehindSum, 0, sizeof config - kBehindSum);
}

/// Copies a text, as much as fits with its terminator. @return false when it was cut
template <size_t size>
bool copyText(char (&to)[size], const std::string& from) {
    const size_t length = std::min(strlen(from.c_str()), size - 1);
    memcpy(to, from.c_str(), length);
    to[length] = '\0';
    return from.c_str()[length] == '\0';
}

/// Reads a whole file into a new zero-terminated buffer, which is an empty text after a failure
/// (null without memory). @return what loadFromFile gave
int loadText(const std::string& path, char** text) {
    const INT64 length = std::clamp<INT64>(getFileLen(path.c_str()), 0, kMaxStyleFile);
    *text = static_cast<char*>(calloc(static_cast<size_t>(length) + 1, 1));
    const int loaded = loadFromFile(path.c_str(), *text, length);
    if (loaded < 1 && *text != nullptr)
        **text = '\0';
    return loaded;
}

} // namespace

int initSysConf(const ModuleConfigure& moduleCfg, SysConfig* p_stSysConf) try {
    clear(*p_stSysConf);
    ModuleConfig& config = p_stSysConf->moduleConfig;
    copyText(config.szLabel, "xxx");
    copyText(config.szShortLabel, "xxx");

    storeWord(config.nModuleId, static_cast<u32>(moduleCfg.getModuleId()));
    if (!copyText(config.szDetail, moduleCfg.getDetail())) {
        REPORT_ASSERTION("moduleCfg.getDetail().size() < sizeof(szDetail)", "szDetail cut to %u\n",
                         static_cast<u32>(sizeof config.szDetail - 1));
    }
    if (!copyText(config.szParameters, moduleCfg.getParameters())) {
        REPORT_ASSERTION("moduleCfg.getParameters().size() < sizeof(szParameters)",
                         "szParameters cut to %u\n",
                         static_cast<u32>(sizeof config.szParameters - 1));
    }

    u32 nSchemeSum = kDefaultSchemeSum;
    if (getDetailFieldTou32(config.szDetail, "max_scheme", &nSchemeSum) == SNS_SUCCESS &&
        nSchemeSum > SENSOR_SCHEME_MAX) {
        REPORT_ASSERTION("nSchemeSum <= SENSOR_SCHEME_MAX", "max_scheme(%d)\n",
                         static_cast<int>(nSchemeSum));
        nSchemeSum = kDefaultSchemeSum;
    }
    storeWord(p_stSysConf->nSchemeSum, nSchemeSum);

    MachineInfo machineInfo;
    if (!SystemInfoParser::parseMachineInfo(sensor_paths::kMachineInfo, machineInfo)) {
        REPORT_ASSERTION(
            "SystemInfoParser::parseMachineInfo(\"/mnt/mtd/code/factory_setting/"
            "machineinfo.ini\", machineInfo)");
    }
    const int nDeviceType = machineInfo.getDeviceType();
    p_stSysConf->nDeviceType = static_cast<u32>(nDeviceType);
    const bool bDomeStyle = hasDomeStyle(nDeviceType);
    if (bDomeStyle && nDeviceType != DEVICE_TYPE_DOME) {
        REPORT_ASSERTION(
            "DEVICE_TYPE_CAMERA == p_stSysConf->nDeviceType || DEVICE_TYPE_DOME == "
            "p_stSysConf->nDeviceType || DEVICE_TYPE_LPR == p_stSysConf->nDeviceType "
            "|| DEVICE_TYPE_FISHEYE == p_stSysConf->nDeviceType",
            "machineinfo, devicetype(%d) error, must be 1 or 4 or 8\n", nDeviceType);
    }

    const std::string strStyleFileName =
        std::string(sensor_paths::kStyles) + (bDomeStyle ? "/Style_dome.xml" : "/Style.xml");
    if (loadText(strStyleFileName, &p_stSysConf->szUIStyle) < 1) {
        REPORT_ASSERTION(
            "loadFromFile(strStyleFileName.c_str(), p_stSysConf->szUIStyle, "
            "getFileLen(strStyleFileName.c_str())) > 0");
    }
    const std::string strStyleDivFileName =
        std::string(sensor_paths::kStyleRules) +
        (bDomeStyle ? "/StyleDiversity_dome.xml" : "/StyleDiversity.xml");
    char* ui_styleDiversity = nullptr;
    if (loadText(strStyleDivFileName, &ui_styleDiversity) < 1) {
        REPORT_ASSERTION(
            "loadFromFile(strStyleDivFileName.c_str(), ui_styleDiversity, "
            "getFileLen(strStyleDivFileName.c_str())) > 0");
    }
    if (mergeStyle(&config, &p_stSysConf->szUIStyle, ui_styleDiversity) != SNS_SUCCESS) {
        REPORT_ASSERTION(
            "SNS_SUCCESS == mergeStyle(&p_stSysConf->moduleConfig, "
            "&p_stSysConf->szUIStyle, ui_styleDiversity)");
    }
    free(ui_styleDiversity);
    return SNS_SUCCESS;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return SNS_SUCCESS;
}

void uinitSysConf(SysConfig* p_stSysConf) {
    if (p_stSysConf == nullptr)
        return;
    const u32 entries = p_stSysConf->pUIFiles ? p_stSysConf->nUIFileSum : 0;
    for (u32 i = 0; i < entries; ++i) {
        UIFileEntry& entry = p_stSysConf->pUIFiles[i];
        free(entry.pszCommonFile);
        entry.pszCommonFile = nullptr;
        free(entry.pszLanguageFile);
        entry.pszLanguageFile = nullptr;
    }
    free(p_stSysConf->szUIStyle);
    p_stSysConf->szUIStyle = nullptr;
}
