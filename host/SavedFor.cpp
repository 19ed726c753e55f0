#include "host/SavedFor.h"

#include <unistd.h>
#include <algorithm>
#include <climits>
#include <filesystem>
#include <set>
#include <system_error>

#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "SensorPaths.h"
#include "SySystem.h"
#include "host/Catalogue.h"
#include "host/DeviceTree.h"
#include "host/SchemeFiles.h"
#include "host/Text.h"
#include "host/Xml.h"

namespace host {
namespace {

constexpr std::size_t kLongest = 1UL << 20;

// Lines of the kept text that are no part of the identity.
constexpr char kUntouched[] = "untouched ";
constexpr char kCarrying[] = "carrying over ";
constexpr char kRemade[] = "style made anew ";
constexpr char kBefore[] = ".before";

/// What is kept beside the schemes.
struct Kept {
    std::string identity;  ///< empty: nothing is kept, or it cannot be read now
    std::string untouched; ///< a sum over the files as the library made them
    std::string ending;    ///< of the originals, while they are carried over
    std::string remade;    ///< a sum over the style that may be carried over to unasked
};

std::string styleFile(int deviceType) {
    return std::string(sensor_paths::kStyles) +
           (hasDomeStyle(deviceType) ? "/Style_dome.xml" : "/Style.xml");
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
    const std::shared_ptr<const Catalogue> controls = controlsOf(text);
    std::string list;
    for (const Parameter& parameter : controls->parameters) {
        list += parameter.shortName + " " +
                (parameter.style ? parameter.style->text() : std::string()) + "\n";
    }
    return "sum " + sumOf(list);
}

/// A saved value that a style does not take, as a part of a sentence; "" where there is none.
std::string outsideOf(const std::string& style, const std::string& ending) {
    const std::shared_ptr<const Catalogue> controls = controlsOf(style);
    for (int scheme = 0; scheme < SENSOR_SCHEME_MAX; ++scheme) {
        std::vector<KeyVal> values;
        savedValues(scheme, values, ending);
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

bool startsWith(const std::string& text, const std::string& with) {
    return text.compare(0, with.size(), with) == 0;
}

Kept readKept() {
    Kept kept;
    std::string text;
    readDeviceFile(sensor_paths::kSavedFor, kLongest, text);
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t end = std::min(text.find('\n', position), text.size());
        const std::string line = text.substr(position, end - position);
        if (startsWith(line, kUntouched)) {
            kept.untouched = line.substr(sizeof kUntouched - 1);
        } else if (startsWith(line, std::string(kCarrying) + kBefore) &&
                   line.find('/') == std::string::npos) {
            kept.ending = line.substr(sizeof kCarrying - 1);
        } else if (startsWith(line, kRemade)) {
            kept.remade = line.substr(sizeof kRemade - 1);
        } else {
            kept.identity += line + "\n";
        }
        position = end + 1;
    }
    return kept;
}

bool writeKept(const Kept& kept, std::string& problem) {
    const auto line = [](const char* name, const std::string& value) {
        return value.empty() ? value : name + value + "\n";
    };
    return writeDeviceFile(sensor_paths::kSavedFor,
                           kept.identity + line(kUntouched, kept.untouched) +
                               line(kCarrying, kept.ending) + line(kRemade, kept.remade),
                           problem);
}

bool exists(const std::string& path) {
    return sy_access(path.c_str(), F_OK) == 0;
}

bool anythingSaved(const std::string& ending) {
    std::vector<KeyVal> values;
    for (int scheme = 0; scheme < SENSOR_SCHEME_MAX; ++scheme) {
        if (savedValues(scheme, values, ending) == FileState::Unreadable || !values.empty()) {
            return true;
        }
    }
    return false;
}

std::string sumOfSchemes() {
    std::string all;
    std::string content;
    for (int scheme = 0; scheme < SENSOR_SCHEME_MAX; ++scheme) {
        if (readDeviceFile(schemeFile(scheme), kLongest, content)) {
            all += std::to_string(scheme) + " " + std::to_string(content.size()) + " " + content;
        }
    }
    return sumOf(all);
}

/// Whoever saved, and whatever then kept the line from being removed, the files tell.
bool isUntouched(const Kept& kept) {
    return !kept.untouched.empty() && kept.untouched == sumOfSchemes();
}

std::string onHost(const std::string& path) {
    char name[PATH_MAX];
    return linux_framework::hostPath(path.c_str(), name, sizeof name) ? name : std::string();
}

/// The first of ".before", ".before2" ... that no file of a scheme has: what was put aside once
/// is never overwritten.
std::string freeEnding() {
    for (int number = 1;; ++number) {
        std::string ending = kBefore + (number == 1 ? std::string() : std::to_string(number));
        bool taken = false;
        for (int scheme = 0; scheme < SENSOR_SCHEME_MAX && !taken; ++scheme) {
            std::error_code error; // a link that leads nowhere is there all the same
            taken = std::filesystem::exists(
                std::filesystem::symlink_status(onHost(schemeFile(scheme) + ending), error));
        }
        if (!taken) {
            return ending;
        }
    }
}

/// The content of every scheme's file, or of the copy with that ending.
bool readSchemes(const std::string& ending, std::map<int, std::string>& files,
                 std::string& problem) {
    for (int scheme = 0; scheme < SENSOR_SCHEME_MAX; ++scheme) {
        const std::string file = schemeFile(scheme) + ending;
        if (exists(file) && !readDeviceFile(file, kLongest, files[scheme])) {
            problem = onHost(file) + " cannot be read";
            return false;
        }
    }
    return true;
}

bool writeSchemes(const std::string& ending, const std::map<int, std::string>& files,
                  std::string& problem) {
    return std::all_of(files.begin(), files.end(), [&](const auto& file) {
        return writeDeviceFile(schemeFile(file.first) + ending, file.second, problem);
    });
}

bool removeSchemes(std::string& problem) {
    for (int scheme = 0; scheme < SENSOR_SCHEME_MAX; ++scheme) {
        std::error_code error;
        const std::string file = onHost(schemeFile(scheme));
        std::filesystem::remove(file, error);
        if (error) {
            problem = file + " cannot be removed: " + error.message();
            return false;
        }
    }
    return true;
}

/// The copies are complete and remembered before anything is removed.
bool putAside(Kept kept, SavedStart& start, std::string& problem) {
    const bool begun = !kept.ending.empty(); // by a start that came to no end
    if (!readSchemes(kept.ending, start.aside, problem)) {
        return false;
    }
    start.ending = begun ? kept.ending : freeEnding();
    kept.ending = start.ending;
    kept.untouched.clear();
    return (begun || (keepAside(start, problem) && writeKept(kept, problem))) &&
           removeSchemes(problem);
}

/// What carrying over left in their place is made of nothing but them.
bool bringBack(Kept kept, std::string& problem) {
    std::map<int, std::string> originals;
    if (!readSchemes(kept.ending, originals, problem)) {
        return false;
    }
    if (!originals.empty() && (!removeSchemes(problem) || !writeSchemes("", originals, problem))) {
        return false;
    }
    kept.ending.clear();
    return writeKept(kept, problem);
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
    const Kept kept = readKept();
    if (kept.identity.empty() || kept.identity == identity || !anythingSaved(kept.ending) ||
        isUntouched(kept)) {
        return "";
    }
    for (const char* const name : {"device type", "module", "detail", "style"}) {
        const std::string was = lineOf(kept.identity, name);
        const std::string is = lineOf(identity, name);
        if (was != is) {
            return "they were saved for " + printable(was) + ", this is " + is;
        }
    }
    // Other ranges matter where a value no longer fits.
    const std::string was = lineOf(kept.identity, "ranges");
    return was.empty() || was == lineOf(identity, "ranges")
               ? std::string()
               : outsideOf(styleText(deviceType), kept.ending);
}

bool prepareSaved(const std::string& identity, int deviceType, SavedStart& start,
                  std::string& problem) {
    const Kept kept = readKept();
    if (!savedForOther(identity, deviceType).empty()) {
        return putAside(kept, start, problem);
    }
    if (!kept.ending.empty()) {
        return bringBack(kept, problem);
    }
    start.untouched = isUntouched(kept);
    if (start.untouched && kept.identity != identity && !removeSchemes(problem)) {
        return false;
    }
    // Whose the files are is kept before the library makes them, for a start that is killed.
    const bool nothing = !anythingSaved("");
    if (nothing || !exists(sensor_paths::kSavedFor)) {
        rememberSavedFor(identity);
    }
    start.untouched = start.untouched || nothing;
    return true;
}

bool keepAside(const SavedStart& start, std::string& problem) {
    return writeSchemes(start.ending, start.aside, problem);
}

bool rememberSavedFor(const std::string& identity) {
    std::string before;
    std::string problem;
    return (readDeviceFile(sensor_paths::kSavedFor, kLongest, before) && before == identity) ||
           writeKept({identity, "", "", ""}, problem);
}

void rememberUntouched(const std::string& identity) {
    std::string problem;
    writeKept({identity, sumOfSchemes(), "", ""}, problem);
}

bool rememberRemade(std::string& problem) {
    Kept kept = readKept();
    const std::string line = lineOf(kept.identity, "device type");
    int deviceType = DEVICE_TYPE_CAMERA;
    readInt(line.substr(line.rfind(' ') + 1), deviceType);
    const std::string style = styleText(deviceType);
    if (lineOf(kept.identity, "style") == "style of " + keysOfStyle(style) &&
        lineOf(kept.identity, "ranges") == "ranges " + rangesOfStyle(style)) {
        return false;
    }
    kept.remade = sumOf(style);
    return !kept.identity.empty() && !isUntouched(kept) && anythingSaved(kept.ending) &&
           writeKept(kept, problem);
}

bool isRemade(const std::string& identity, int deviceType) {
    const Kept kept = readKept();
    const auto same = [&](const char* name) {
        return lineOf(kept.identity, name) == lineOf(identity, name);
    };
    return !kept.remade.empty() && kept.remade == sumOf(styleText(deviceType)) &&
           same("device type") && same("module") && same("detail");
}

std::vector<std::string> styleProblems(int deviceType) {
    std::vector<std::string> problems;
    check(sensor_paths::kModuleList, problems);
    check(styleFile(deviceType), problems);
    return problems;
}

std::vector<std::string> treeProblems(int deviceType) {
    std::vector<std::string> problems = styleProblems(deviceType);
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
        problems.push_back(onHost(languages) + " is missing");
    }
    std::sort(problems.begin(), problems.end());
    return problems;
}

} // namespace host
