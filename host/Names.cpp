#include "host/Names.h"

#include <algorithm>
#include <cctype>

#include "host/Text.h"

namespace host {
namespace {

const char kPrefix[] = "key-";

std::string withoutPrefix(const std::string& name) {
    const std::string low = lowered(name);
    return low.compare(0, sizeof kPrefix - 1, kPrefix) == 0 ? low.substr(sizeof kPrefix - 1) : low;
}

/// One spelling for all that people write: exposeMode, expose-mode, "Expose mode".
std::string folded(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c != '-' && c != '_' && c != ' ') {
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return result;
}

/// Calls visit(name) with every name of a parameter, the one for reports first.
template <class Visit>
void eachName(const Parameter& parameter, int language, const Visit& visit) {
    visit(parameter.shortName);
    if (!parameter.styleName.empty()) {
        visit(parameter.styleName);
    }
    for (const int number : {0, language}) {
        const auto found = parameter.labels.find(number);
        if (found != parameter.labels.end() && !found->second.empty()) {
            visit(found->second);
        }
    }
}

template <class Visit>
void eachName(const Parameter::Option& option, int language, const Visit& visit) {
    visit(option.name);
    for (const int number : {0, language}) {
        const auto found = option.labels.find(number);
        if (found != option.labels.end()) {
            visit(found->second);
        }
    }
}

} // namespace

bool readKey(const Catalogue& catalogue, const std::string& text, int language, u32& key,
             std::string& problem) {
    int number = 0;
    if (readInt(text, number)) {
        key = static_cast<u32>(number);
        return true;
    }
    const std::string wanted = withoutPrefix(text);
    const std::string loose = folded(wanted);
    // A name of its own goes before another key's label.
    for (const bool exact : {true, false}) {
        for (const Parameter& parameter : catalogue.parameters) {
            bool found = exact && parameter.shortName == wanted;
            if (!exact && !loose.empty()) {
                eachName(parameter, language,
                         [&](const std::string& name) { found |= folded(name) == loose; });
            }
            if (found) {
                key = parameter.key;
                return true;
            }
        }
    }
    problem = "no key " + quoted(text) + didYouMean(wanted, keyNames(catalogue)) +
              " (a key is a number or a name; 'keys' lists them)";
    return false;
}

bool readValue(const Catalogue& catalogue, u32 key, const std::string& text, int language,
               int& value, std::string& problem) {
    long long number = 0;
    if (readNumber(text, number)) {
        // Numbers beyond 32 bits become the nearest that fits, as everywhere in pair text.
        number = std::clamp<long long>(number, INT32_MIN, INT32_MAX);
        value = static_cast<int>(number);
        return true;
    }
    const Parameter* parameter = catalogue.find(key);
    const std::string wanted = folded(text);
    if (parameter != nullptr && !wanted.empty()) {
        for (const Parameter::Option& option : parameter->options) {
            bool found = false;
            eachName(option, language,
                     [&](const std::string& name) { found |= folded(name) == wanted; });
            if (found) {
                value = option.value;
                return true;
            }
        }
    }
    problem = "value " + quoted(text) + " of " + keyName(catalogue, key) + " is no number";
    if (parameter != nullptr && !parameter->options.empty()) {
        const std::vector<std::string> names = valueNames(catalogue, key); // what can be typed
        std::string list;
        for (const std::string& name : names) {
            list += (list.empty() ? "" : ", ") + name;
        }
        problem += didYouMean(text, names) + " (allowed: " + list + ")";
    }
    return false;
}

std::string valueText(const Parameter& parameter, int value, int language) {
    const Parameter::Option* option = parameter.option(value);
    return option == nullptr || option->name.empty()
               ? std::to_string(value)
               : textIn(option->labels, language, option->name);
}

std::string allowedText(const Parameter& parameter, const std::optional<Limits>& limits,
                        int language) {
    if (parameter.options.empty()) {
        return limits ? limits->text() : parameter.style ? parameter.style->text() : "";
    }
    std::string text;
    for (const Parameter::Option& option : parameter.options) {
        if (!limits || limits->allows(option.value)) {
            text += (text.empty() ? "" : ", ") + valueText(parameter, option.value, language);
        }
    }
    return text;
}

std::vector<std::string> keyNames(const Catalogue& catalogue) {
    std::vector<std::string> names;
    for (const Parameter& parameter : catalogue.parameters) {
        names.push_back(parameter.shortName);
    }
    return names;
}

std::vector<std::string> valueNames(const Catalogue& catalogue, u32 key) {
    std::vector<std::string> names;
    const Parameter* parameter = catalogue.find(key);
    for (std::size_t i = 0; parameter != nullptr && i < parameter->options.size(); ++i) {
        names.push_back(parameter->options[i].name);
    }
    return names;
}

std::string schemeTitle(const Snapshot& snapshot, int scheme) {
    if (scheme + 1 == static_cast<int>(snapshot.schemes.size())) {
        return "factory values";
    }
    const bool known = scheme >= 0 && scheme < static_cast<int>(snapshot.schemes.size());
    const std::string name =
        known ? snapshot.schemes[static_cast<std::size_t>(scheme)].name : std::string();
    const std::string number = std::to_string(scheme);
    return name.empty() ? "scheme " + number : number + " " + name;
}

std::string keyName(const Catalogue& catalogue, u32 key) {
    const Parameter* parameter = catalogue.find(key);
    return parameter == nullptr ? std::to_string(static_cast<int>(key)) : parameter->name;
}

} // namespace host
