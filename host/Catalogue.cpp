#include "host/Catalogue.h"

#include <cctype>
#include <climits>
#include <cstring>

#include "host/Text.h"
#include "host/Xml.h"

namespace host {
namespace {

const char kPrefix[] = "key-";

/// The texts of one language, by what they belong to.
struct Words {
    std::map<int, std::string> keys;
    std::map<std::string, std::string> tabs;
    std::map<std::string, std::string> groups;
    std::map<std::string, std::string> names;
    std::string name;
};

Words readWords(const std::string& language, const std::string& common) {
    Words words;
    TiXmlDocument document;
    for (const std::string* text : {&language, &common}) {
        if (!parseXml(*text, document)) {
            continue;
        }
        const TiXmlElement& root = *document.RootElement();
        words.name = words.name.empty() ? attribute(root, "name") : words.name;
        for (const TiXmlElement* entry = root.FirstChildElement(); entry != nullptr;
             entry = entry->NextSiblingElement()) {
            int id = 0;
            if (attribute(*entry, "id", id)) {
                words.keys[id] = textOf(*entry);
            } else if (entry->ValueStr() == "tab" && entry->Attribute("group") != nullptr) {
                words.groups[attribute(*entry, "group")] = textOf(*entry);
            } else if (entry->ValueStr() == "tab") {
                words.tabs[attribute(*entry, "key")] = textOf(*entry);
            } else {
                words.names[attribute(*entry, "name")] = textOf(*entry);
            }
        }
    }
    return words;
}

class Maker {
public:
    explicit Maker(const CatalogueSource& source);
    std::shared_ptr<const Catalogue> make();

private:
    void addRow(const keycmd& row);
    Parameter& parameterOf(u32 key);
    void takeStyle();
    void takeControl(const TiXmlElement& element, Tab& tab);
    void takeChildren(const TiXmlElement& element, Tab& tab);
    void takeEnableLists();

    template <class Find>
    Labels labels(const Find& find) const {
        Labels result;
        for (const auto& [language, words] : m_words) {
            const std::string* text = find(words);
            if (text != nullptr && !text->empty()) {
                result[language] = *text;
            }
        }
        return result;
    }
    template <class Key>
    Labels labelsIn(std::map<Key, std::string> Words::*texts, const Key& key) const {
        return labels([&](const Words& words) {
            const auto found = (words.*texts).find(key);
            return found == (words.*texts).end() ? nullptr : &found->second;
        });
    }

    const CatalogueSource& m_source;
    std::map<int, Words> m_words;
    std::map<u32, std::string> m_enableLists;
    std::shared_ptr<Catalogue> m_catalogue = std::make_shared<Catalogue>();
};

Maker::Maker(const CatalogueSource& source) : m_source(source) {
    for (const auto& [language, text] : source.languages) {
        const auto common = source.commons.find(language);
        const std::string& commonText =
            common == source.commons.end() ? std::string() : common->second;
        Words& words = m_words[language] = readWords(text, commonText);
        const std::string name = words.name.empty() ? std::to_string(language) : words.name;
        m_catalogue->languages[language] = {name, text, commonText};
    }
}

void Maker::addRow(const keycmd& row) {
    Parameter parameter;
    parameter.key = row.key;
    parameter.name = row.name;
    const std::string low = lowered(row.name);
    parameter.shortName =
        low.compare(0, sizeof kPrefix - 1, kPrefix) == 0 ? low.substr(sizeof kPrefix - 1) : low;
    parameter.command = row.handler == nullptr ? 0 : row.ia_cmd;
    const char* colon = std::strrchr(row.handler_name, ':');
    if (row.handler != nullptr && colon != nullptr) {
        parameter.handler = colon + 1;
    }
    parameter.labels = labelsIn(&Words::keys, static_cast<int>(row.key));
    m_catalogue->positions.emplace(row.key, m_catalogue->parameters.size());
    m_catalogue->parameters.push_back(std::move(parameter));
}

/// The parameter of a key; a key of the style that the library does not know is sent as a command
/// of its own number.
Parameter& Maker::parameterOf(u32 key) {
    const std::size_t index = m_catalogue->indexOf(key);
    if (index < m_catalogue->parameters.size()) {
        return m_catalogue->parameters[index];
    }
    Parameter parameter;
    parameter.key = key;
    parameter.command = key;
    parameter.name = parameter.shortName = std::to_string(static_cast<int>(key));
    parameter.labels = labelsIn(&Words::keys, static_cast<int>(key));
    m_catalogue->positions.emplace(key, m_catalogue->parameters.size());
    m_catalogue->parameters.push_back(std::move(parameter));
    return m_catalogue->parameters.back();
}

void Maker::takeControl(const TiXmlElement& element, Tab& tab) {
    int id = 0;
    if (!attribute(element, "id", id) || element.ValueStr() == "notice") {
        return;
    }
    const auto key = static_cast<u32>(id);
    Parameter& parameter = parameterOf(key);
    parameter.element = element.ValueStr();
    parameter.styleName = attribute(element, "name");
    parameter.tab = tab.key;
    parameter.group = tab.group;
    if (parameter.name == std::to_string(id) && !parameter.styleName.empty()) {
        parameter.shortName = parameter.styleName;
    }
    parameter.unit = attribute(element, "unit");
    tab.keys.push_back(key);
    parameter.options.clear();
    for (const TiXmlElement* item = element.FirstChildElement(); item != nullptr;
         item = item->NextSiblingElement()) {
        int index = 0;
        if (attribute(*item, "index", index)) {
            Parameter::Option option{index, attribute(*item, "name"), {}};
            option.labels = labelsIn(&Words::names, option.name);
            parameter.options.push_back(std::move(option));
        }
    }
    Limits limits;
    int value = 0;
    const bool least = attribute(element, "min", limits.minimum);
    const bool most = attribute(element, "max", limits.maximum);
    if (!attribute(element, "step", limits.step) || limits.step < 1) {
        limits.step = 1;
    }
    if (!parameter.options.empty()) {
        parameter.kind = Parameter::Kind::Choice;
        limits = {};
        limits.minimum = INT_MAX;
        limits.maximum = INT_MIN;
        for (const Parameter::Option& option : parameter.options) {
            limits.items.push_back(option.value);
            limits.minimum = std::min(limits.minimum, option.value);
            limits.maximum = std::max(limits.maximum, option.value);
        }
        parameter.style = limits;
    } else if (parameter.element == "switch") {
        parameter.kind = Parameter::Kind::Switch;
        parameter.style = Limits{0, 1, 1, {}};
        for (const char* word : {"off", "on"}) {
            parameter.options.push_back(
                {value++, word, labelsIn(&Words::names, std::string(word))});
        }
    } else if (parameter.element == "button") {
        parameter.kind = Parameter::Kind::Button;
    } else {
        parameter.kind = Parameter::Kind::Number;
        if (least && most) {
            parameter.style = limits;
        }
    }
    const std::string list = attribute(element, "enable_list");
    if (!list.empty()) {
        m_enableLists[key] = list;
    }
}

void Maker::takeChildren(const TiXmlElement& element, Tab& tab) {
    for (const TiXmlElement* child = element.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (child->Attribute("index") == nullptr) {
            takeControl(*child, tab);
            takeChildren(*child, tab);
        }
    }
}

void Maker::takeStyle() {
    m_catalogue->style = m_source.style;
    TiXmlDocument document;
    if (!parseXml(m_source.style, document)) {
        return;
    }
    for (const TiXmlElement* element = document.RootElement()->FirstChildElement();
         element != nullptr; element = element->NextSiblingElement()) {
        Tab tab;
        tab.key = attribute(*element, "key");
        tab.group = attribute(*element, "group");
        tab.labels = labelsIn(&Words::tabs, tab.key);
        if (!tab.group.empty()) {
            m_catalogue->groups[tab.group] = labelsIn(&Words::groups, tab.group);
        }
        takeChildren(*element, tab);
        m_catalogue->tabs.push_back(std::move(tab));
    }
}

void Maker::takeEnableLists() {
    for (const auto& [key, list] : m_enableLists) {
        std::string spaced = list;
        for (char& c : spaced) {
            c = std::isdigit(static_cast<unsigned char>(c)) != 0 ? c : ' ';
        }
        for (const std::string& word : words(spaced, spaced.size())) {
            int number = 0;
            if (!readInt(word, number)) {
                continue;
            }
            const std::size_t index = m_catalogue->indexOf(static_cast<u32>(number));
            if (index < m_catalogue->parameters.size()) {
                m_catalogue->parameters[index].enabledBy = key;
                m_catalogue->parameters[m_catalogue->indexOf(key)].enables.push_back(
                    static_cast<u32>(number));
            }
        }
    }
}

std::shared_ptr<const Catalogue> Maker::make() {
    for (const keycmd& row : m_source.rows) {
        addRow(row);
    }
    takeStyle();
    for (const KeyVal& pair : m_source.factory) {
        Parameter& parameter = parameterOf(pair.key);
        if (!parameter.factory) { // a key twice in a style: its first record counts
            parameter.factory = static_cast<int>(pair.value);
        }
        m_catalogue->schemeKeys.push_back(pair.key);
    }
    takeEnableLists();
    return m_catalogue;
}

} // namespace

std::shared_ptr<const Catalogue> makeCatalogue(const CatalogueSource& source) {
    return Maker(source).make();
}

} // namespace host
