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
    stored
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
constexpr Row kRows[] = {
#define KEY(symbol, key, command, handler, ...) {symbol, command, handler, #symbol},
    SENSOR_KEYS(KEY)
#undef KEY
};
constexpr int kRowCount = static_cast<int>(sizeof kRows / sizeof kRows[0]);
static_assert(kRowCount >= 87, "hosts know the first 87 rows by their numbers");

#undef HANDLER

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
