#include "Schemes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <climits>

#include "ISensorController.h"
#include "ImageAdjust.h"
#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "SensorFile.h"
#include "SySystem.h"

namespace host {
namespace {

std::string schemeFile(u32 scheme) {
    return "/mnt/mtd/code/config_file/sensor" + std::to_string(scheme) + ".cfg";
}

/// The window rule of the current scheme (ISensorController::paramCheck), for any scheme.
int windowCheck(ISensorController& controller, u32 scheme) {
    u32 hourMinute[4] = {};
    for (u32 i = 0; i < 4; ++i) {
        controller.getKeyValFromCache(scheme, KEY_SCHEME_START_HOUR + i, hourMinute[i]);
    }
    const u32 start = hourMinute[0] * 100 + hourMinute[1];
    const u32 end = hourMinute[2] * 100 + hourMinute[3];
    if (start > 2400) {
        return 505;
    }
    if (end > 2400) {
        return 506;
    }
    return start >= end ? 507 : 0;
}

} // namespace

std::vector<KeyVal> factoryValues() {
    std::vector<KeyVal> values(SENSOR_KEYVAL_MAX);
    u32 count = 0;
    getFctData(g_stSysConf.szUIStyle, values.data(), &count);
    values.resize(count);
    return values;
}

u32 recordCount(ISensorController& controller) {
    u32 count = 0;
    for (int i = 0; i < g_nKeyCmdNum; ++i) {
        u32 value = 0;
        const int index =
            controller.getKeyValFromCache(g_stSysConf.nSchemeSum, g_pKeyCmdMap[i].key, value);
        count = std::max(count, static_cast<u32>(index + 1));
    }
    return count;
}

bool savedValues(u32 scheme, std::vector<KeyVal>& values) {
    std::string name = schemeFile(scheme);
    if (sy_access(name.c_str(), R_OK) != 0) {
        return false;
    }
    const INT64 length = getFileLen(name.c_str());
    const INT64 longest = sizeof(KeyVal) * SENSOR_KEYVAL_MAX;
    values.resize(static_cast<std::size_t>(std::min(length, longest)) / sizeof(KeyVal));
    keyValFromFile(name.data(), values.data(), static_cast<u32>(values.size()));
    return true;
}

SchemeFilesOfBefore::SchemeFilesOfBefore() {
    for (u32 scheme = 0; scheme < g_stSysConf.nSchemeSum; ++scheme) {
        const std::string path = schemeFile(scheme);
        char onHost[PATH_MAX];
        if (!linux_framework::hostPath(path.c_str(), onHost, sizeof onHost)) {
            continue;
        }
        // As long as it is open, no other file gets its number.
        const int descriptor = open(onHost, O_PATH | O_NOFOLLOW | O_CLOEXEC);
        if (descriptor >= 0) {
            m_files.push_back({path, descriptor});
        }
    }
}

SchemeFilesOfBefore::~SchemeFilesOfBefore() {
    for (const File& file : m_files) {
        close(file.descriptor);
    }
}

std::string SchemeFilesOfBefore::left() const {
    for (const File& file : m_files) {
        char onHost[PATH_MAX];
        struct stat old {};
        struct stat now {};
        if (linux_framework::hostPath(file.path.c_str(), onHost, sizeof onHost) &&
            fstat(file.descriptor, &old) == 0 && lstat(onHost, &now) == 0 &&
            old.st_dev == now.st_dev && old.st_ino == now.st_ino) {
            return file.path;
        }
    }
    return {};
}

const u32* valueOf(const std::vector<KeyVal>& values, u32 key) {
    const auto found = std::find_if(values.begin(), values.end(),
                                    [key](const KeyVal& pair) { return pair.key == key; });
    return found == values.end() ? nullptr : &found->value;
}

int saveScheme(ISensorController& controller, u32 scheme) {
    const int code = windowCheck(controller, scheme);
    if (code != 0) {
        return code;
    }
    std::vector<KeyVal> records = factoryValues();
    for (std::size_t i = 0; i < records.size(); ++i) {
        // A style whose order has changed since the start would put values under wrong keys.
        const int index = controller.getKeyValFromCache(scheme, records[i].key, records[i].value);
        if (index < 0 || static_cast<std::size_t>(index) > i) {
            return -1;
        }
    }
    std::string name = schemeFile(scheme);
    keyValToFile(name.data(), records.data(), static_cast<u32>(records.size()));
    return checkSaved(controller, scheme);
}

int checkSaved(ISensorController& controller, u32 scheme) {
    std::vector<KeyVal> saved;
    if (!savedValues(scheme, saved) || saved.size() < recordCount(controller)) {
        return -1;
    }
    for (const KeyVal& pair : saved) {
        u32 value = 0;
        if (controller.getKeyValFromCache(scheme, pair.key, value) >= 0 &&
            value != *valueOf(saved, pair.key)) {
            return -1;
        }
    }
    return 0;
}

std::string saveProblem(int code) {
    switch (code) {
        case 505:
            return "its time window starts after 24:00 (505)";
        case 506:
            return "its time window ends after 24:00 (506)";
        case 507:
            return "its time window does not start before it ends (507)";
        default:
            return "its file could not be written";
    }
}

bool rangeOf(u32 command, ia_dynamic_params_attr_st& range) {
    range = {};
    return ia_ioctrl(command, IA_CMD_OPT_GET_PARAM_RNAGE, &range) == 0;
}

std::string rangeText(const ia_dynamic_params_attr_st& range) {
    const int count = std::clamp<int>(range.items_cnt, 0, IA_DYNAMIC_ITEM_MAX);
    if (count == 0) {
        return std::to_string(range.min_value) + ".." + std::to_string(range.max_value);
    }
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : ",") + std::to_string(range.item[i]);
    }
    return text;
}

bool isAllowed(const ia_dynamic_params_attr_st& range, int value) {
    const int count = std::clamp<int>(range.items_cnt, 0, IA_DYNAMIC_ITEM_MAX);
    if (count == 0) {
        return value >= range.min_value && value <= range.max_value;
    }
    return std::find(range.item, range.item + count, value) != range.item + count;
}

std::string allowedFor(u32 command) {
    ia_dynamic_params_attr_st range{};
    return rangeOf(command, range) ? "; it takes " + rangeText(range) : "";
}

} // namespace host
