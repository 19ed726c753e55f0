#include "host/UiTexts.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include "LinuxFramework.h"
#include "SensorPaths.h"
#include "host/DeviceTree.h"
#include "host/Text.h"

namespace host {
namespace {

constexpr std::size_t kLongestText = 1UL << 20;

/// @return the text of a file of the device, allocated with malloc; null when there is none
char* mallocedText(const std::string& path) {
    std::string text;
    return readDeviceFile(path, kLongestText, text) ? strdup(text.c_str()) : nullptr;
}

std::vector<int> languageIds() {
    std::vector<int> ids;
    char folder[PATH_MAX];
    std::error_code error;
    if (!linux_framework::hostPath(sensor_paths::kLanguages, folder, sizeof folder)) {
        return ids;
    }
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        int id = 0;
        if (readIntWithin(entry->path().filename().string(), 0, INT_MAX, id)) {
            ids.push_back(id);
        }
    }
    // The first entry serves every language that is missing.
    std::sort(ids.begin(), ids.end());
    return ids;
}

} // namespace

UiTexts::~UiTexts() {
    withdraw();
}

void UiTexts::provide() {
    withdraw();
    for (const int id : languageIds()) {
        const std::string folder = std::string(sensor_paths::kLanguages) + "/" + std::to_string(id);
        UIFileEntry entry{};
        entry.nLanguageId = id;
        std::snprintf(entry.szEntryLabel, sizeof entry.szEntryLabel, "%d", id);
        entry.pszLanguageFile = mallocedText(folder + "/language.xml");
        entry.pszCommonFile = mallocedText(folder + "/common.xml");
        m_entries.push_back(entry);
    }
    g_stSysConf.pUIFiles = m_entries.data();
    g_stSysConf.nUIFileSum = static_cast<u32>(m_entries.size());
}

std::vector<int> UiTexts::languages() const {
    std::vector<int> ids;
    for (const UIFileEntry& entry : m_entries) {
        ids.push_back(entry.nLanguageId);
    }
    return ids;
}

void UiTexts::withdraw() {
    for (UIFileEntry& entry : m_entries) {
        std::free(entry.pszLanguageFile); // null where the library has freed it
        std::free(entry.pszCommonFile);
    }
    m_entries.clear();
    g_stSysConf.pUIFiles = nullptr;
    g_stSysConf.nUIFileSum = 0;
}

} // namespace host
