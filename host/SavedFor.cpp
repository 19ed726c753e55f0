#include "host/SavedFor.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <set>
#include <system_error>

#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "SensorPaths.h"
#include "host/DeviceTree.h"
#include "host/SchemeFiles.h"
#include "host/Text.h"
#include "host/Xml.h"

namespace host {
namespace {

constexpr std::size_t kLongest = 1UL << 20;

std::string styleFile(int deviceType) {
    return std::string(sensor_paths::kStyles) +
           (hasDomeStyle(deviceType) ? "/Style_dome.xml" : "/Style.xml");
}

/// The keys of a style, by which its schemes are laid out; a label or a range may change.
std::string keysOfStyle(int deviceType) {
    std::string text;
    readDeviceFile(styleFile(deviceType), kLongest, text);
    std::set<std::string> keys;
    for (std::size_t at = 0; (at = text.find(" id=\"", at)) != std::string::npos; at += 5) {
        keys.insert(text.substr(at + 5, text.find('"', at + 5) - at - 5));
    }
    unsigned int sum = 5381;
    for (const std::string& key : keys) {
        for (const char c : key + ",") {
            sum = sum * 33 + static_cast<unsigned char>(c);
        }
    }
    return std::to_string(keys.size()) + " keys, sum " + std::to_string(sum);
}

std::string lineOf(const std::string& text, const std::string& name) {
    const std::size_t begin = text.find(name + " ");
    return begin == std::string::npos ? std::string()
                                      : text.substr(begin, text.find('\n', begin) - begin);
}

bool anythingSaved() {
    std::vector<KeyVal> values;
    for (int scheme = 0; scheme < SENSOR_SCHEME_MAX; ++scheme) {
        if (savedValues(scheme, values) == FileState::Unreadable || !values.empty()) {
            return true;
        }
    }
    return false;
}

std::string onHost(const std::string& path) {
    char name[PATH_MAX];
    return linux_framework::hostPath(path.c_str(), name, sizeof name) ? name : std::string();
}

void check(const std::string& path, std::vector<std::string>& problems) {
    std::string text;
    TiXmlDocument document;
    if (!readDeviceFile(path, kLongest, text)) {
        problems.push_back(path + " is missing or cannot be read");
    } else if (!parseXml(text, document) || document.RootElement() == nullptr) {
        problems.push_back(path + " is no XML");
    }
}

} // namespace

std::string identityOf(int deviceType, int module, const std::string& detail) {
    return "device type " + std::to_string(deviceType) + "\nmodule " + std::to_string(module) +
           "\ndetail " + printable(detail) + "\nstyle of " + keysOfStyle(deviceType) + "\n";
}

std::string savedForOther(const std::string& identity) {
    std::string before;
    if (!readDeviceFile(sensor_paths::kSavedFor, kLongest, before) || before == identity ||
        !anythingSaved()) {
        return "";
    }
    for (const char* const name : {"device type", "module", "detail", "style"}) {
        const std::string was = lineOf(before, name);
        const std::string is = lineOf(identity, name);
        if (was != is) {
            return "they were saved for " + printable(was) + ", this is " + is;
        }
    }
    return "";
}

void rememberSavedFor(const std::string& identity) {
    std::string before;
    std::string problem;
    if (!readDeviceFile(sensor_paths::kSavedFor, kLongest, before) || before != identity) {
        writeDeviceFile(sensor_paths::kSavedFor, identity, problem);
    }
}

void forgetSavedFor() {
    std::error_code error;
    std::filesystem::remove(onHost(sensor_paths::kSavedFor), error);
}

std::map<int, std::vector<KeyVal>> putSavedAside() {
    std::map<int, std::vector<KeyVal>> all;
    for (int scheme = 0; scheme < SENSOR_SCHEME_MAX; ++scheme) {
        std::vector<KeyVal> values;
        if (savedValues(scheme, values) == FileState::Missing) {
            continue;
        }
        const std::string file = onHost(schemeFile(scheme));
        std::error_code error;
        std::filesystem::rename(file, file + ".before", error);
        all[scheme] = std::move(values);
    }
    return all;
}

std::vector<std::string> treeProblems(int deviceType) {
    std::vector<std::string> problems;
    check(sensor_paths::kModuleList, problems);
    check(styleFile(deviceType), problems);
    const std::string languages = sensor_paths::kLanguages;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(onHost(languages), error), end;
         !error && entry != end; entry.increment(error)) {
        const std::string folder = languages + "/" + entry->path().filename().string();
        for (const char* const name : {"/language.xml", "/common.xml"}) {
            check(folder + name, problems);
        }
    }
    if (error) {
        problems.push_back(languages + " is missing");
    }
    std::sort(problems.begin(), problems.end());
    return problems;
}

} // namespace host
