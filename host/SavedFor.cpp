#include "host/SavedFor.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <set>
#include <system_error>

#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "host/Catalogue.h"
#include "host/DeviceTree.h"
#include "host/SchemeFiles.h"
#include "host/Text.h"
#include "host/Xml.h"

namespace host {
namespace {

const char kMemory[] = "/mnt/mtd/code/config_file/saved-for.txt";
const char kSensorConfig[] = "/hd1/moduleConfig/sensorConfig";
constexpr std::size_t kLongest = 1UL << 20;

std::string styleFile(int deviceType) {
    return std::string(kSensorConfig) +
           (deviceType == DEVICE_TYPE_DOME ? "/style/Style_dome.xml" : "/style/Style.xml");
}

std::string sumOf(const std::string& text) {
    unsigned int sum = 5381;
    for (const char c : text) {
        sum = sum * 33 + static_cast<unsigned char>(c);
    }
    return std::to_string(sum);
}

std::string styleText(int deviceType) {
    std::string text;
    readDeviceFile(styleFile(deviceType), kLongest, text);
    return text;
}

/// The keys of a style, by which its schemes are laid out; a label may change.
std::string keysOfStyle(const std::string& text) {
    std::set<std::string> keys;
    for (std::size_t at = 0; (at = text.find(" id=\"", at)) != std::string::npos; at += 5) {
        keys.insert(text.substr(at + 5, text.find('"', at + 5) - at - 5));
    }
    std::string list;
    for (const std::string& key : keys) {
        list += key + ",";
    }
    return std::to_string(keys.size()) + " keys, sum " + sumOf(list);
}

std::shared_ptr<const Catalogue> controlsOf(const std::string& style) {
    CatalogueSource source;
    source.style = style;
    return makeCatalogue(source);
}

/// What the controls of a style take.
std::string rangesOfStyle(const std::string& text) {
    std::string list;
    const std::shared_ptr<const Catalogue> controls = controlsOf(text);
    for (const Parameter& parameter : controls->parameters) {
        list += parameter.shortName + " " +
                (parameter.style ? parameter.style->text() : std::string()) + "\n";
    }
    return "sum " + sumOf(list);
}

/// A saved value that a style does not take, as a part of a sentence; "" where there is none.
std::string outsideOf(const std::string& style) {
    const std::shared_ptr<const Catalogue> controls = controlsOf(style);
    for (int scheme = 0; scheme < SENSOR_SCHEME_MAX; ++scheme) {
        std::vector<KeyVal> values;
        savedValues(scheme, values);
        for (const KeyVal& value : values) {
            const Parameter* const about = controls->find(value.key);
            if (about != nullptr && about->style &&
                !about->style->allows(static_cast<int>(value.value))) {
                return about->styleName + " is saved as " +
                       std::to_string(static_cast<int>(value.value)) + ", this style takes " +
                       about->style->text();
            }
        }
    }
    return "";
}

std::string lineOf(const std::string& text, const std::string& name) {
    const std::string lines = "\n" + text;
    const std::size_t begin = lines.find("\n" + name + " ");
    return begin == std::string::npos
               ? std::string()
               : lines.substr(begin + 1, lines.find('\n', begin + 1) - begin - 1);
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
        problems.push_back(onHost(path) + " is missing or cannot be read");
    } else if (!parseXml(text, document) || document.RootElement() == nullptr) {
        problems.push_back(onHost(path) + " is no XML");
    }
}

} // namespace

std::string identityOf(int deviceType, int module, const std::string& detail) {
    const std::string style = styleText(deviceType);
    return "device type " + std::to_string(deviceType) + "\nmodule " + std::to_string(module) +
           "\ndetail " + printable(detail) + "\nstyle of " + keysOfStyle(style) + "\nranges " +
           rangesOfStyle(style) + "\n";
}

std::string savedForOther(const std::string& identity, int deviceType) {
    std::string before;
    if (!readDeviceFile(kMemory, kLongest, before) || before == identity || !anythingSaved()) {
        return "";
    }
    for (const char* const name : {"device type", "module", "detail", "style"}) {
        const std::string was = lineOf(before, name);
        const std::string is = lineOf(identity, name);
        if (was != is) {
            return "they were saved for " + printable(was) + ", this is " + is;
        }
    }
    // Other ranges matter where a value no longer fits.
    const std::string was = lineOf(before, "ranges");
    return was.empty() || was == lineOf(identity, "ranges") ? std::string()
                                                            : outsideOf(styleText(deviceType));
}

void rememberSavedFor(const std::string& identity) {
    std::string before;
    std::string problem;
    if (!readDeviceFile(kMemory, kLongest, before) || before != identity) {
        writeDeviceFile(kMemory, identity, problem);
    }
}

void forgetSavedFor() {
    std::error_code error;
    std::filesystem::remove(onHost(kMemory), error);
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
    check("/hd1/moduleConfig/moduleConfig.xml", problems);
    check(styleFile(deviceType), problems);
    const std::string languages = std::string(kSensorConfig) + "/language";
    std::error_code error;
    for (std::filesystem::directory_iterator entry(onHost(languages), error), end;
         !error && entry != end; entry.increment(error)) {
        const std::string folder = languages + "/" + entry->path().filename().string();
        for (const char* const name : {"/language.xml", "/common.xml"}) {
            check(folder + name, problems);
        }
    }
    if (error) {
        problems.push_back(onHost(languages) + " is missing");
    }
    std::sort(problems.begin(), problems.end());
    return problems;
}

} // namespace host
