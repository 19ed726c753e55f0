#include "ISensorController.h"

#include <mutex>
#include <new>
#include <string>

#include "MutexGuard.h"
#include "SensorConfig.h"
#include "SensorFile.h"
#include "SensorReport.h"

namespace {

constexpr ReportUnit kUnit = ReportUnit::ISensorController;

/// The texts of a language, else those of the table's first entry; null without a table.
const UIFileEntry* uiFileEntry(int languageId) {
    const u32 count = g_stSysConf.pUIFiles ? g_stSysConf.nUIFileSum : 0;
    for (u32 i = 0; i < count; ++i) {
        if (g_stSysConf.pUIFiles[i].nLanguageId == languageId)
            return &g_stSysConf.pUIFiles[i];
    }
    return count > 0 ? g_stSysConf.pUIFiles : nullptr;
}

} // namespace

std::string ISensorController::getUIStyleFile() try {
    const MutexGuard lock(m_mutex, __LINE__);
    // Kept for the life of the process and refilled at each call; a second controller in the
    // process has a lock of its own, hence the lock of the text.
    static std::mutex s_mutex;
    static std::string s_strStyle;
    const std::lock_guard<std::mutex> textLock(s_mutex);
    if (getDnaStyle(g_stSysConf.szUIStyle, s_strStyle) != SNS_SUCCESS)
        REPORT_ASSERTION("SNS_SUCCESS == getDnaStyle(g_stSysConf.szUIStyle, strTmp)");
    REPORT_INFORMATION(kColourPlain, "%s\n", s_strStyle.c_str());
    return s_strStyle;
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return std::string();
}

std::string ISensorController::getUILanguageFile(int languageId) try {
    const MutexGuard lock(m_mutex, __LINE__);
    REPORT_DEBUG("LanguageId(%d)\n", languageId);
    const UIFileEntry* entry = uiFileEntry(languageId);
    return entry && entry->pszLanguageFile ? entry->pszLanguageFile : "";
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return std::string();
}

std::string ISensorController::getUICommonFile(int languageId) try {
    const MutexGuard lock(m_mutex, __LINE__);
    REPORT_DEBUG("LanguageId(%d)\n", languageId);
    const UIFileEntry* entry = uiFileEntry(languageId);
    return entry && entry->pszCommonFile ? entry->pszCommonFile : "";
} catch (const std::bad_alloc&) {
    REPORT_ASSERTION("no std::bad_alloc");
    return std::string();
}
