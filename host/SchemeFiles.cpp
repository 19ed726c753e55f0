#include "host/SchemeFiles.h"

#include <sys/statvfs.h>
#include <unistd.h>
#include <algorithm>
#include <cstring>

#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "SensorFile.h"
#include "SensorKeys.h"
#include "SensorPaths.h"
#include "SySystem.h"
#include "host/DeviceTree.h"
#include "host/Text.h"

namespace host {
namespace {

constexpr std::size_t kLongestNames = 65536;
constexpr std::size_t kLongestFile = 65536;

Refusal refused(Reason reason, std::string detail) {
    Refusal refusal;
    refusal.reason = reason;
    refusal.detail = std::move(detail);
    return refusal;
}

} // namespace

std::string schemeFile(int scheme) {
    return sensor_paths::SchemeFile(static_cast<u32>(scheme)).text;
}

std::vector<KeyVal> factoryValues() {
    std::vector<KeyVal> values(SENSOR_KEYVAL_MAX);
    u32 count = 0;
    getFctData(g_stSysConf.szUIStyle, values.data(), &count);
    values.resize(count);
    return values;
}

std::vector<KeyVal> recordsOf(const std::string& content) {
    std::vector<KeyVal> records(
        std::min<std::size_t>(content.size() / sizeof(KeyVal), SENSOR_KEYVAL_MAX));
    if (!records.empty()) {
        std::memcpy(records.data(), content.data(), records.size() * sizeof(KeyVal));
    }
    return records;
}

FileState savedValues(int scheme, std::vector<KeyVal>& values, const std::string& ending) {
    const std::string name = schemeFile(scheme) + ending;
    std::string bytes;
    values.clear();
    if (!readDeviceFile(name, kLongestFile, bytes)) {
        return sy_access(name.c_str(), F_OK) == 0 ? FileState::Unreadable : FileState::Missing;
    }
    values = recordsOf(bytes);
    return FileState::Read;
}

Refusal saveValues(int scheme, std::vector<KeyVal> records) {
    std::string name = schemeFile(scheme);
    keyValToFile(name.data(), records.data(), static_cast<u32>(records.size()));
    std::vector<KeyVal> saved;
    const auto same = [](const KeyVal& left, const KeyVal& right) {
        return left.key == right.key && left.value == right.value;
    };
    if (savedValues(scheme, saved) == FileState::Read && saved.size() >= records.size() &&
        std::equal(records.begin(), records.end(), saved.begin(), same)) {
        return {};
    }
    return refused(Reason::Storage, storageProblem());
}

std::string storageProblem() {
    char folder[4096];
    struct statvfs about {};
    if (!linux_framework::hostPath(sensor_paths::kSavedFolder, folder, sizeof folder) ||
        access(folder, F_OK) != 0) {
        return "the folder of the saved schemes is missing";
    }
    if (statvfs(folder, &about) == 0) {
        if ((about.f_flag & ST_RDONLY) != 0) {
            return "the flash is read-only";
        }
        if (about.f_bavail == 0) {
            return "the flash is full";
        }
    }
    return access(folder, W_OK) != 0 ? "the folder of the saved schemes may not be written"
                                     : "its file could not be written";
}

Window windowOf(const std::vector<u32>& keys, const std::vector<int>& values) {
    const auto at = [&](u32 key) {
        const auto found = std::find(keys.begin(), keys.end(), key);
        const auto index = static_cast<std::size_t>(found - keys.begin());
        return index < values.size() ? values[index] : 0;
    };
    return {at(KEY_SCHEME_ENABLE) != 0, at(KEY_SCHEME_START_HOUR), at(KEY_SCHEME_START_MIN),
            at(KEY_SCHEME_END_HOUR), at(KEY_SCHEME_END_MIN)};
}

std::vector<Pair> windowPairs(const Window& window) {
    return {{KEY_SCHEME_ENABLE, window.enabled ? 1 : 0},
            {KEY_SCHEME_START_HOUR, window.startHour},
            {KEY_SCHEME_START_MIN, window.startMinute},
            {KEY_SCHEME_END_HOUR, window.endHour},
            {KEY_SCHEME_END_MIN, window.endMinute}};
}

int windowFault(const Window& window) {
    const auto asNumber = [](int hour, int minute) {
        return static_cast<u32>(hour) * 100 + static_cast<u32>(minute);
    };
    const u32 start = asNumber(window.startHour, window.startMinute);
    const u32 end = asNumber(window.endHour, window.endMinute);
    constexpr u32 kEndOfDay = 2400;
    if (start > kEndOfDay) {
        return 505;
    }
    if (end > kEndOfDay) {
        return 506;
    }
    return start >= end ? 507 : 0;
}

Refusal windowRefusal(int fault) {
    Refusal refusal = refused(
        Reason::Window, fault == 505   ? "its time window starts after 24:00 (505)"
                        : fault == 506 ? "its time window ends after 24:00 (506)"
                                       : "its time window does not start before it ends (507)");
    refusal.code = fault;
    return refusal;
}

std::map<int, std::string> schemeNames() {
    std::map<int, std::string> names;
    std::string text;
    if (!readDeviceFile(sensor_paths::kSchemeNames, kLongestNames, text)) {
        return names;
    }
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t end = std::min(text.find('\n', position), text.size());
        const std::vector<std::string> parts = words(text.substr(position, end - position), 2);
        int scheme = 0;
        if (parts.size() == 2 && readIntWithin(parts[0], 0, SENSOR_SCHEME_MAX - 1, scheme)) {
            names[scheme] = parts[1].substr(0, 64);
        }
        position = end + 1;
    }
    return names;
}

Refusal saveSchemeNames(const std::map<int, std::string>& names) {
    std::string text;
    for (const auto& [scheme, name] : names) {
        if (!name.empty()) {
            text += std::to_string(scheme) + " " + name + "\n";
        }
    }
    std::string problem;
    std::string kept;
    if (writeDeviceFile(sensor_paths::kSchemeNames, text, problem) &&
        readDeviceFile(sensor_paths::kSchemeNames, kLongestNames, kept) && kept == text) {
        return {};
    }
    return refused(Reason::Storage, storageProblem());
}

} // namespace host
