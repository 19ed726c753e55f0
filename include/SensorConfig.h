#pragma once

#include "ImgctlExport.h"
#include "SensorModuleConfig.h"
#include "SensorTypes.h"
#include "SensorWdrFlag.h"

class ModuleConfigure;

/// The kinds of camera, as the machine information numbers them: symbol, number, name for people.
// clang-format off
#define SENSOR_DEVICE_TYPES(TYPE) \
    TYPE(CAMERA, 1, "camera")         /* fixed */ \
    TYPE(DOME, 4, "dome")             /* pans, tilts and zooms; has a style of its own */ \
    TYPE(LPR, 8, "plate recognition") /* may switch parameter sets by day and night */ \
    TYPE(FISHEYE, 9, "fisheye")       /* panoramic */
// clang-format on

enum {
#define TYPE(symbol, number, name) DEVICE_TYPE_##symbol = (number),
    SENSOR_DEVICE_TYPES(TYPE)
#undef TYPE
};

/// Whether a camera's style is Style_dome.xml, which is also that of a type nobody knows.
constexpr bool hasDomeStyle(int nDeviceType) {
    return nDeviceType != DEVICE_TYPE_CAMERA && nDeviceType != DEVICE_TYPE_LPR &&
           nDeviceType != DEVICE_TYPE_FISHEYE;
}

/// The user-interface texts of one language. The texts are allocated with malloc by whoever fills
/// the table, and freed by uinitSysConf.
struct UIFileEntry {
    int nLanguageId;
    char szEntryLabel[32];
    char* pszLanguageFile;
    char* pszCommonFile;
};

/// What the library learns about the device at start-up.
struct SysConfig {
    ModuleConfig moduleConfig;
    /// Number of timed schemes, 0 .. SENSOR_SCHEME_MAX; also the number of the default scheme.
    u32 nSchemeSum;
    u32 nUIFileSum; ///< entries of pUIFiles; 0 after initSysConf, set by the host
    /// The host's table of user-interface texts, set after init. The table itself stays the host's,
    /// the texts in it become this record's. After the controller's uinit, which frees the texts,
    /// the table is not touched any more and may go; before, only once nUIFileSum is set to 0.
    UIFileEntry* pUIFiles;
    char* szUIStyle; ///< the merged user-interface style (XML), malloc'd
    u32 nDeviceType; ///< one of DEVICE_TYPE_*, or what the machine information held
};

/// The process's configuration. Written by initSysConf and uinitSysConf (the controller calls them
/// from init, uinit and resetParameters), and by the host, which sets pUIFiles and nUIFileSum after
/// init and after each reset, with no other call under way. A host that reads it does so between
/// those calls.
extern IMGCTL_API SysConfig g_stSysConf;

/// Fills the record: copies the module configuration, reads the number of schemes from its field
/// "max_scheme" (4 when absent), the device type from the machine information, and the style,
/// merged with the rules for this device. Whatever it held before is overwritten with zeros, the
/// bytes behind the texts included, and not freed. What fails is reported and passed over: without
/// machine information the device type is 0, without a style file the style is empty. Detail and
/// parameter texts that do not fit are cut, and reported.
/// @return SNS_SUCCESS always
IMGCTL_API int initSysConf(const ModuleConfigure& moduleCfg, SysConfig* p_stSysConf);

/// Frees the texts that the record owns (the style, and the texts of the table's entries) and sets
/// their pointers to null. The table and the numbers stay. Safe to call twice, and with null.
IMGCTL_API void uinitSysConf(SysConfig* p_stSysConf);
