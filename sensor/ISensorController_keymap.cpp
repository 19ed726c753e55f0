#include "ISensorController.h"

#include <algorithm>
#include <cstring>

#include "ISensorController_storage.h"
#include "SensorReport.h"

int g_nKeyCmdNum = 100;
keycmd* g_pKeyCmdMap = nullptr;

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

/// The handlers that rows name.
enum HandlerIndex : unsigned char {
    doIaCmd,
    doIaCmd_User,
    doHwdr,
    doDIS,
    doMirror,
    doBeaway,
    doImageAdjust,
    doDNThr,
    doDNTime,
    kNoHandler
};
struct Handler {
    SensorHandler handler;
    const char* name;
};
#define HANDLER(name) \
    { &ISensorController::name, "&ISensorController::" #name }
constexpr Handler kHandlers[] = {
    HANDLER(doIaCmd),  HANDLER(doIaCmd_User), HANDLER(doHwdr),        HANDLER(doDIS),
    HANDLER(doMirror), HANDLER(doBeaway),     HANDLER(doImageAdjust), HANDLER(doDNThr),
    HANDLER(doDNTime), {nullptr, "NULL"},
};

/// A row as the library carries it: without pointers, so that it takes little of the flash and
/// nothing is to be done for it when the library is loaded.
struct Row {
    unsigned short key;
    unsigned short command;
    HandlerIndex handler;
    char name[27];
};
#define ROW(key, command, handler) \
    { key, command, handler, #key }
#define SCHEME_ROW(key) \
    { key, 0, kNoHandler, #key }

// The order is part of the interface. Mind the iris rows, whose commands cross over, and the frame
// rate, whose command is not its key.
constexpr Row kRows[] = {
    ROW(KEY_BRIGHTNESS, 34, doIaCmd),
    ROW(KEY_SATURATION, 2337, doIaCmd),
    ROW(KEY_CONTRAST, 2353, doIaCmd),
    ROW(KEY_SHARPNESS, 2321, doIaCmd),
    ROW(KEY_METER_AREA, 96, doIaCmd),
    ROW(KEY_EXPOSE_MODE, 16, doIaCmd),
    ROW(KEY_MAX_SHUTTER, 49, doIaCmd),
    ROW(KEY_FIX_SHUTTER, 50, doIaCmd),
    ROW(KEY_MAX_GAIN, 65, doIaCmd),
    ROW(KEY_FIX_GAIN, 66, doIaCmd),
    ROW(KEY_IRIS_SWITCH, 80, doIaCmd),
    ROW(KEY_IRIS_SPEED, 81, doIaCmd),
    ROW(KEY_IRIS_POSITION, 82, doIaCmd),
    ROW(KEY_IRIS_SIZE, 85, doIaCmd),
    ROW(KEY_IRIS_UP, 83, doIaCmd_User),
    ROW(KEY_IRIS_DOWN, 84, doIaCmd_User),
    ROW(KEY_WB_MODE, 768, doIaCmd),
    ROW(KEY_R_GAIN, 770, doIaCmd),
    ROW(KEY_B_GAIN, 771, doIaCmd),
    ROW(KEY_DN_MODE, 144, doIaCmd),
    ROW(KEY_DELAY, 147, doIaCmd),
    ROW(KEY_IR_SWITCH, 160, doIaCmd),
    ROW(KEY_IR_MODE, 161, doIaCmd),
    ROW(KEY_IR_AUTO_STRG_NEAR, 162, doIaCmd),
    ROW(KEY_IR_MANUAL_STRG_NEAR, 163, doIaCmd),
    ROW(KEY_IR_AUTO_STRG_MEDIUM, 164, doIaCmd),
    ROW(KEY_IR_MANUAL_STRG_MEDIUM, 165, doIaCmd),
    ROW(KEY_IR_AUTO_STRG_FAR, 166, doIaCmd),
    ROW(KEY_IR_MANUAL_STRG_FAR, 167, doIaCmd),
    ROW(KEY_2D_NR_SWITCH, 2304, doIaCmd),
    ROW(KEY_2D_NR_MODE, 2305, doIaCmd),
    ROW(KEY_2D_NR_STRG_A, 2306, doIaCmd),
    ROW(KEY_2D_NR_STRG_M, 2307, doIaCmd),
    ROW(KEY_3D_NR_SWITCH, 2308, doIaCmd),
    ROW(KEY_3D_NR_MODE, 2309, doIaCmd),
    ROW(KEY_3D_NR_STRG_A, 2312, doIaCmd),
    ROW(KEY_3D_NR_STRG_M, 2313, doIaCmd),
    ROW(KEY_WDR_MODE, 2368, doHwdr),
    ROW(KEY_WDR_STRG, 2369, doIaCmd),
    ROW(KEY_HLC_SWITCH, 112, doIaCmd),
    ROW(KEY_HLC_STRG, 113, doIaCmd),
    ROW(KEY_BLC_SWITCH, 128, doIaCmd),
    ROW(KEY_BLC_MODE, 129, doIaCmd),
    ROW(KEY_BLC_STRG, 130, doIaCmd),
    ROW(KEY_ANTI_SHAKE_SWITCH, 2416, doDIS),
    ROW(KEY_ANTI_SHAKE_STRG, 2417, doIaCmd),
    ROW(KEY_DEFLG_SWITCH, 2400, doIaCmd),
    ROW(KEY_DEFLG_STRG, 2401, doIaCmd),
    ROW(KEY_IN_OUT_SIDE, 176, doIaCmd),
    ROW(KEY_MIRROR, 2384, doMirror),
    ROW(KEY_BEAWAY, 2385, doBeaway),
    ROW(KEY_DTN_THR, 145, doDNThr),
    ROW(KEY_NTD_THR, 146, doDNThr),
    ROW(KEY_DTN_H, 149, doDNTime),
    ROW(KEY_DTN_M, 150, doDNTime),
    ROW(KEY_NTD_H, 151, doDNTime),
    ROW(KEY_NTD_M, 152, doDNTime),
    ROW(KEY_AUTO_FOCUS_MODE, 1536, doIaCmd),
    ROW(KEY_AUTO_FOCUS_NEAR_LIMIT, 1537, doIaCmd),
    ROW(KEY_AUTO_FOCUS_SENSITIVITY, 1538, doIaCmd),
    ROW(KEY_AUTO_FOCUS_ONCE, 1539, doIaCmd_User),
    ROW(KEY_LENS_RESET, 1616, doIaCmd_User),
    ROW(KEY_ZOOM_OUT, 1570, doIaCmd_User),
    ROW(KEY_ZOOM_IN, 1569, doIaCmd_User),
    ROW(KEY_FOCUS_NEAR, 1553, doIaCmd_User),
    ROW(KEY_FOCUS_FAR, 1554, doIaCmd_User),
    ROW(KEY_DIGITAL_ZOOM, 1584, doIaCmd),
    ROW(KEY_MZOOM_SPEED, 1571, doIaCmd),
    SCHEME_ROW(KEY_SCHEME_ENABLE),
    SCHEME_ROW(KEY_SCHEME_START_HOUR),
    SCHEME_ROW(KEY_SCHEME_START_MIN),
    SCHEME_ROW(KEY_SCHEME_END_HOUR),
    SCHEME_ROW(KEY_SCHEME_END_MIN),
    ROW(KEY_MF_POSITION, 1552, doIaCmd),
    ROW(KEY_MZ_POSITION, 1568, doIaCmd),
    ROW(KEY_CAP_OFF_ADJ_DIRECTION, 2432, doImageAdjust),
    ROW(KEY_CAP_OFF_ADJ_STEP, 2433, doIaCmd),
    ROW(KEY_CAP_OFF_ADJ_H_MIN, 2434, doIaCmd),
    ROW(KEY_CAP_OFF_ADJ_H_MAX, 2435, doIaCmd),
    ROW(KEY_CAP_OFF_ADJ_H_CUR, 2436, doImageAdjust),
    ROW(KEY_CAP_OFF_ADJ_V_MIN, 2437, doIaCmd),
    ROW(KEY_CAP_OFF_ADJ_V_MAX, 2438, doIaCmd),
    ROW(KEY_CAP_OFF_ADJ_V_CUR, 2439, doImageAdjust),
    ROW(KEY_SENSOR_FPS, 2464, doIaCmd_User),
    ROW(KEY_FREEZE, 2512, doIaCmd),
    ROW(KEY_GAMMA, 2528, doIaCmd),
    ROW(KEY_DN_AF_MODE, 2560, doIaCmd),
};
constexpr int kRowCount = static_cast<int>(sizeof kRows / sizeof kRows[0]);
static_assert(kRowCount == 87, "the map has 87 rows");

#undef HANDLER
#undef ROW
#undef SCHEME_ROW

} // namespace

/// The map's rows never change, so a map that was built once serves every later start.
void ISensorController::buildKeyCmdMap() {
    if (m_pStorage->map == nullptr) {
        const int rows = std::max(kRowCount, __atomic_load_n(&g_nKeyCmdNum, __ATOMIC_RELAXED));
        m_pStorage->map.reset(new (std::nothrow) keycmd[static_cast<size_t>(rows)]());
        if (m_pStorage->map == nullptr)
            return;
        keycmd* to = m_pStorage->map.get();
        for (const Row& row : kRows) {
            const Handler& handler = kHandlers[row.handler];
            to->key = row.key;
            to->ia_cmd = row.command;
            to->handler = handler.handler;
            memcpy(to->name, row.name, sizeof row.name);
            strncpy(to->handler_name, handler.name, sizeof to->handler_name - 1);
            ++to;
        }
    }
    m_pKeyCmdMap = m_pStorage->map.get();
    // A reset leaves both untouched: hosts read them as plain variables meanwhile.
    if (__atomic_load_n(&g_pKeyCmdMap, __ATOMIC_RELAXED) != m_pStorage->map.get())
        __atomic_store_n(&g_pKeyCmdMap, m_pStorage->map.get(), __ATOMIC_RELEASE);
    if (__atomic_load_n(&g_nKeyCmdNum, __ATOMIC_RELAXED) != kRowCount)
        __atomic_store_n(&g_nKeyCmdNum, kRowCount, __ATOMIC_RELAXED);
}

int ISensorController::findFromKeyCmdMap(const keycmd* p_pKeyCmdMap, unsigned int p_nKey,
                                         keycmd& p_stKeyCmd) {
    const int rows = p_pKeyCmdMap ? __atomic_load_n(&g_nKeyCmdNum, __ATOMIC_RELAXED) : 0;
    for (int i = 0; i < rows; ++i) {
        if (p_pKeyCmdMap[i].key == p_nKey) {
            p_stKeyCmd = p_pKeyCmdMap[i];
            return i;
        }
    }
    REPORT_DEBUG("cand not find key-cmd while key=%d\n", static_cast<int>(p_nKey));
    return -1;
}
