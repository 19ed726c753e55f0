#include "host/MakeDevice.h"

#include <tinyxml.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <system_error>

#include "ImageAdjust.h"
#include "Layer.h"
#include "SensorKeyTable.h"
#include "SensorKeys.h"
#include "SensorPaths.h"
#include "host/DeviceTemplate.h"
#include "host/Files.h"

namespace host {
namespace {

namespace fs = std::filesystem;
using image_adjust::CommandState;

constexpr std::uintmax_t largestText = 1U << 20U;

/// A text of this file alone, in the order of the languages.
struct ExtraText {
    const char* name;
    const char* texts[3];
};
constexpr ExtraText extraTexts[] = {
    {"aperturePriority", {"Automatic exposure time", "光圈优先", "Automatische Belichtungszeit"}},
    {"spot", {"Spot", "点测光", "Punkt"}},
    {"matrix", {"Matrix", "矩阵测光", "Matrix"}},
    {"frameRateFirst", {"Keeps the frame rate", "保持帧率", "Hält die Bildrate"}},
    {"exposureFirst", {"May lower the frame rate", "可降低帧率", "Darf die Bildrate senken"}},
};

/// The command that carries a key.
unsigned int commandOf(int key) {
    for (const SensorKeyRow& row : SENSOR_KEY_TABLE) {
        if (row.key == static_cast<unsigned int>(key) && !row.isStoredOnly()) {
            return row.command;
        }
    }
    return static_cast<unsigned int>(key);
}

std::string decapitalized(std::string text) {
    if (!text.empty()) {
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    }
    return text;
}

std::string print(const TiXmlDocument& document) {
    TiXmlPrinter printer;
    printer.SetIndent("  ");
    document.Accept(&printer);
    return printer.CStr();
}

/// Visits each element with a number for an id, which may take its element out of the document.
void forEachWithId(TiXmlElement& root, const std::function<void(TiXmlElement&, int)>& visit) {
    for (TiXmlElement* child = root.FirstChildElement(); child != nullptr;) {
        TiXmlElement* next = child->NextSiblingElement();
        int id = 0;
        if (child->QueryIntAttribute("id", &id) == TIXML_SUCCESS) {
            visit(*child, id);
        } else {
            forEachWithId(*child, visit);
        }
        child = next;
    }
}

/// A path of the device, from its root.
std::string inTree(const char* path) {
    return path + 1;
}

class Maker {
public:
    Maker(image_adjust::Layer& layer, const fs::path& root, MadeDevice& made, std::string& problem)
        : m_layer(layer), m_root(root), m_made(made), m_problem(problem) {}

    bool make() {
        for (const char* folder : sensor_paths::kFolders) {
            std::error_code error;
            fs::create_directories(m_root / inTree(folder), error);
            if (error) {
                m_problem = (m_root / inTree(folder)).string() + ": " + error.message();
                return false;
            }
        }
        const std::string style = makeStyle();
        if (m_made.controls == 0) {
            m_problem = m_layer.device() + ": the camera has no control that is known here";
            return false;
        }
        bool good = write(inTree(sensor_paths::kStyles) + "/Style.xml", style) &&
                    writeOnce(inTree(sensor_paths::kStyleRules) + "/StyleDiversity.xml", rules()) &&
                    writeOnce(inTree(sensor_paths::kModuleList), modules()) &&
                    writeOnce(inTree(sensor_paths::kMachineInfo), machine());
        for (const device_template::Language& language : device_template::languages) {
            const std::string folder =
                inTree(sensor_paths::kLanguages) + "/" + std::to_string(language.id) + "/";
            good = good && writeTexts(folder + "language.xml", language.texts, -1) &&
                   writeTexts(folder + "common.xml", language.common, language.id);
        }
        return good;
    }

private:
    std::string makeStyle() {
        TiXmlDocument document;
        document.Parse(device_template::style, nullptr, TIXML_ENCODING_UTF8);
        TiXmlElement& root = *document.RootElement();
        for (TiXmlNode* node = document.FirstChild(); node != &root;) {
            TiXmlNode* next = node->NextSibling();
            if (node->ToComment() != nullptr) {
                document.RemoveChild(node); // it speaks of the sample
            }
            node = next;
        }
        document.InsertBeforeChild(
            &root, TiXmlComment(" Made from what the camera tells of itself. To be made anew, "
                                "not to be changed: texts are in the languages. "));
        forEachWithId(root, [this](TiXmlElement& element, int key) {
            const bool stored = key >= int{KEY_SCHEME_ENABLE} && key <= int{KEY_SCHEME_END_MIN};
            if (stored || (key == 0 ? has(KEY_WDR_MODE) : describe(element, key))) {
                m_keys.insert(key);
            } else {
                element.Parent()->RemoveChild(&element);
            }
        });
        forEachWithId(root, [this](TiXmlElement& element, int) { prune(element); });
        for (TiXmlElement* tab = root.FirstChildElement(); tab != nullptr;) {
            TiXmlElement* next = tab->NextSiblingElement();
            if (tab->FirstChildElement() == nullptr) {
                root.RemoveChild(tab);
            } else {
                m_tabs.insert(tab->Attribute("key"));
            }
            tab = next;
        }
        return print(document);
    }

    bool has(int key) const { return m_layer.about(commandOf(key)).supported; }

    /// Makes a control of the style this camera's. @return false when it has none of it
    bool describe(TiXmlElement& element, int key) {
        if (m_layer.name() == "simulator") {
            ++m_made.controls;
            return true; // it is the sample camera, with choices that no range tells
        }
        const CommandState about = m_layer.about(commandOf(key));
        ia_dynamic_params_attr_st range = {};
        if (!about.supported ||
            m_layer.ioctl(commandOf(key), IA_CMD_OPT_GET_PARAM_RNAGE, &range) != 0) {
            return false;
        }
        ++m_made.controls;
        const bool itemsFit = itemsCover(element, range);
        for (const char* name : {"value", "min", "max", "step"}) {
            element.RemoveAttribute(name);
        }
        if (!about.readable || element.ValueStr() == "button") {
            element.SetValue("button");
            return true;
        }
        // The sample keeps its motors out of the schemes; what holds no position over a restart
        // is to get it back.
        element.SetAttribute("value", range.default_value);
        if (about.choices.empty() && itemsFit) {
            return true;
        }
        element.Clear();
        if (!about.choices.empty()) {
            element.SetValue("choice");
            for (const CommandState::Choice& choice : about.choices) {
                TiXmlElement item("item");
                item.SetAttribute("index", choice.value);
                item.SetAttribute("name", nameOf(key, choice, about));
                element.InsertEndChild(item);
            }
        } else if (range.min_value == 0 && range.max_value == 1) {
            element.SetValue("switch");
        } else {
            element.SetValue("slider");
            element.SetAttribute("min", range.min_value);
            element.SetAttribute("max", range.max_value);
            element.SetAttribute("step", about.step);
        }
        return true;
    }

    /// Whether the sample's choices are all the values that there are.
    static bool itemsCover(const TiXmlElement& element, const ia_dynamic_params_attr_st& range) {
        long long count = 0;
        for (const TiXmlElement* item = element.FirstChildElement("item"); item != nullptr;
             item = item->NextSiblingElement("item")) {
            int index = range.min_value - 1;
            item->QueryIntAttribute("index", &index);
            if (index < range.min_value || index > range.max_value) {
                return false;
            }
            ++count;
        }
        return count == 1LL + range.max_value - range.min_value;
    }

    /// The name of a choice: one that the languages know, where it is one; else the device's own.
    std::string nameOf(int key, const CommandState::Choice& choice,
                       const CommandState& about) const {
        if (key == KEY_EXPOSE_MODE && choice.value >= 0 && choice.value < 4) {
            constexpr const char* names[] = {"automatic", "manual", "shutterPriority",
                                             "manualIris"};
            const bool other = std::any_of(about.choices.begin(), about.choices.end(),
                                           [](const auto& one) { return one.value == 0; });
            // Without an iris it is the way to be automatic, or one of two.
            return choice.value != 3 || has(KEY_IRIS_POSITION) ? names[choice.value]
                   : other                                     ? "aperturePriority"
                                                               : "automatic";
        }
        if (key == KEY_METER_AREA && choice.value >= 0 && choice.value < 4) {
            constexpr const char* names[] = {"wholePicture", "centre", "spot", "matrix"};
            return names[choice.value];
        }
        const std::string plain = decapitalized(choice.name);
        const bool known = std::strstr(device_template::languages[0].common,
                                       ("name=\"" + plain + "\"").c_str()) != nullptr;
        return known ? plain : choice.name;
    }

    /// A switch does not enable what is not there, and what is no switch enables nothing.
    void prune(TiXmlElement& element) const {
        const char* list = element.Attribute("enable_list");
        if (list == nullptr) {
            return;
        }
        std::string left;
        std::istringstream keys(list);
        for (std::string key; std::getline(keys, key, ',');) {
            if (m_keys.count(std::atoi(key.c_str())) != 0) {
                left += (left.empty() ? "" : ",") + key;
            }
        }
        if (left.empty() || element.ValueStr() != "switch") {
            element.RemoveAttribute("enable_list");
        } else {
            element.SetAttribute("enable_list", left);
        }
    }

    /// Writes the sample's texts of what this camera has, those that the file already has first.
    /// @param common  the language, for the texts of values; below 0 for those of parameters
    bool writeTexts(const std::string& path, const char* sample, int common) {
        TiXmlDocument wanted;
        wanted.Parse(sample, nullptr, TIXML_ENCODING_UTF8);
        TiXmlElement& root = *wanted.RootElement();
        for (TiXmlElement* entry = root.FirstChildElement(); entry != nullptr && common < 0;) {
            TiXmlElement* next = entry->NextSiblingElement();
            int key = 0;
            const char* tab = entry->Attribute("key");
            const bool useful = entry->QueryIntAttribute("id", &key) == TIXML_SUCCESS
                                    ? m_keys.count(key) != 0
                                    : tab == nullptr || m_tabs.count(tab) != 0;
            if (!useful) {
                root.RemoveChild(entry);
            }
            entry = next;
        }
        for (const ExtraText& extra : extraTexts) {
            if (common >= 0) {
                TiXmlElement text("text");
                text.SetAttribute("name", extra.name);
                text.InsertEndChild(TiXmlText(extra.texts[common]));
                root.InsertEndChild(text);
            }
        }
        std::string before;
        if (read(path, before)) {
            TiXmlDocument old;
            old.Parse(before.c_str(), nullptr, TIXML_ENCODING_UTF8);
            TiXmlElement* kept = old.Error() ? nullptr : old.RootElement();
            if (kept == nullptr) {
                m_made.kept.push_back(path); // somebody is at work on it
                return true;
            }
            return addMissing(*kept, root) ? write(path, print(old)) : keep(path);
        }
        return write(path, print(wanted));
    }

    static std::string identityOf(const TiXmlElement& entry) {
        for (const char* name : {"id", "key", "group", "name"}) {
            const char* value = entry.Attribute(name);
            if (value != nullptr) {
                return entry.ValueStr() + " " + name + " " + value;
            }
        }
        return entry.ValueStr();
    }

    /// @return whether something was missing
    static bool addMissing(TiXmlElement& to, const TiXmlElement& from) {
        std::set<std::string> there;
        for (const TiXmlElement* entry = to.FirstChildElement(); entry != nullptr;
             entry = entry->NextSiblingElement()) {
            there.insert(identityOf(*entry));
        }
        bool added = false;
        for (const TiXmlElement* entry = from.FirstChildElement(); entry != nullptr;
             entry = entry->NextSiblingElement()) {
            if (there.count(identityOf(*entry)) == 0) {
                to.InsertEndChild(*entry);
                added = true;
            }
        }
        return added;
    }

    static std::string rules() {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<!-- The style was made for this very camera: no rule has anything to change. -->\n"
               "<variant noSuchField=\"0\"/>\n";
    }

    std::string modules() const {
        TiXmlDocument document;
        document.InsertEndChild(TiXmlDeclaration("1.0", "UTF-8", ""));
        TiXmlElement module("module");
        module.SetAttribute("id", 3);
        module.SetAttribute("label", model());
        module.SetAttribute("shortLabel", "sensor");
        TiXmlElement detail("detail");
        const bool motor = has(KEY_MF_POSITION) || has(KEY_MZ_POSITION);
        detail.InsertEndChild(
            TiXmlText("(max_scheme=4)(isInfrared=" + std::string(has(KEY_IR_SWITCH) ? "1" : "0") +
                      ")(lensType=" + (motor ? "motor" : "fixed") +
                      ")(hasWdr=" + (has(KEY_WDR_MODE) ? "1" : "0") + ")"));
        TiXmlElement parameters("parameters");
        parameters.InsertEndChild(TiXmlText("bus=v4l2"));
        module.InsertEndChild(parameters);
        module.InsertEndChild(detail);
        TiXmlElement list("modules");
        list.InsertEndChild(module);
        document.InsertEndChild(list);
        return print(document);
    }

    std::string machine() const { return "[machine]\ndeviceType=1\nmodelName=" + model() + "\n"; }

    /// The camera's name without where it is plugged in, as one line.
    std::string model() const {
        std::string text = m_layer.device();
        text = text.substr(0, text.rfind(" ("));
        std::replace_if(
            text.begin(), text.end(),
            [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }, ' ');
        return text.empty() ? "camera" : text;
    }

    bool read(const std::string& path, std::string& text) const {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(m_root / path, error);
        if (error || size > largestText) {
            return false;
        }
        std::ifstream file(m_root / path, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(file), {});
        return !file.bad();
    }

    bool writeOnce(const std::string& path, const std::string& text) {
        std::error_code error;
        return fs::exists(m_root / path, error) ? keep(path) : write(path, text);
    }

    bool keep(const std::string& path) {
        m_made.kept.push_back(path);
        return true;
    }

    bool write(const std::string& path, const std::string& text) {
        const fs::path to = m_root / path;
        std::error_code error;
        fs::create_directories(to.parent_path(), error);
        if (!replaceFile(to.string(), text, m_problem)) {
            return false;
        }
        m_made.written.push_back(path);
        return true;
    }

    image_adjust::Layer& m_layer;
    fs::path m_root;
    MadeDevice& m_made;
    std::string& m_problem;
    std::set<int> m_keys;
    std::set<std::string> m_tabs;
};

} // namespace

bool makeDevice(image_adjust::Layer& layer, const std::string& directory, MadeDevice& made,
                std::string& problem) {
    made = MadeDevice();
    return Maker(layer, directory, made, problem).make();
}

} // namespace host
