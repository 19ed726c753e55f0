#include <algorithm>
#include <iterator>

#include "Layer.h"
#include "SensorKeyTable.h"
#include "host/Names.h"
#include "host/Sentences.h"
#include "host/api/Documents.h"
#include "host/api/Pieces.h"

namespace host::api {
namespace {

/// What the key table says of a key; null for one that is not in it.
const SensorKeyRow* rowOf(u32 key) {
    const auto found = std::find_if(std::begin(SENSOR_KEY_TABLE), std::end(SENSOR_KEY_TABLE),
                                    [key](const SensorKeyRow& row) { return row.key == key; });
    return found != std::end(SENSOR_KEY_TABLE) ? &*found : nullptr;
}

const char* controlName(Parameter::Kind kind) {
    switch (kind) {
        case Parameter::Kind::Number:
            return "slider";
        case Parameter::Kind::Switch:
            return "switch";
        case Parameter::Kind::Choice:
            return "choice";
        case Parameter::Kind::Button:
            return "button";
        case Parameter::Kind::Hidden:
            break;
    }
    return "none";
}

Json choicesDocument(const Parameter& parameter, const Value& value, int language) {
    Json list = Json::array();
    for (const Parameter::Option& option : parameter.options) {
        list.push_back({{"value", option.value},
                        {"name", option.name},
                        {"label", valueText(parameter, option.value, language)},
                        {"available", !value.limits || value.limits->allows(option.value)}});
    }
    return list;
}

Json flagsDocument(const Snapshot& snapshot, const Parameter& parameter, const Value& value) {
    Json flags = Json::array();
    const auto flag = [&flags](bool set, const char* name) {
        if (set) {
            flags.push_back(name);
        }
    };
    const image_adjust::CommandState* const state = value.state.get();
    flag(value.block.reason == Reason::Blocked || (state != nullptr && state->inactive),
         "inactive");
    flag(state != nullptr && state->held, "held");
    flag(state != nullptr && !state->readable, "write_only");
    flag(parameter.storedOnly(), "stored_only");
    flag(!value.supported(), "not_on_camera");
    flag(value.restricted, "restricted");
    flag(parameter.key >= KEY_SCHEME_ENABLE && parameter.key <= KEY_SCHEME_END_MIN, "window");
    flag(!parameter.inScheme(), "not_in_scheme");
    flag(snapshot.scheme >= 0 && value.unsaved(), "unsaved");
    flag(value.onTrial, "trial");
    return flags;
}

Json blockerDocument(const Snapshot& snapshot, const Refusal& block, int language) {
    if (block.reason == Reason::None || !block.blocker) {
        return nullptr;
    }
    Json document = nameAndLabel(snapshot, *block.blocker, language);
    document["text"] = block.detail;
    return document;
}

} // namespace

Json parameterDocument(const Snapshot& snapshot, std::size_t index, int language) {
    const Parameter& parameter = snapshot.catalogue->parameters[index];
    const Value& value = snapshot.values[index];
    const std::optional<int> inForce = value.inForce();
    const SensorKeyRow* const row = rowOf(parameter.key);
    const std::string why =
        value.block.reason == Reason::None ? std::string() : reasonText(value.block);
    return {
        {"key", parameter.key},
        {"name", parameter.shortName},
        {"symbol", parameter.name},
        {"style_name", textOrNull(parameter.styleName)},
        {"label", parameter.label(language)},
        {"help", row != nullptr ? Json(row->meaning) : Json(nullptr)},
        {"unit", parameter.unit},
        {"group", textOrNull(parameter.group)},
        {"tab", textOrNull(parameter.tab)},
        {"control", controlName(parameter.kind)},
        {"element", textOrNull(parameter.element)},
        {"value", orNull(inForce)},
        {"value_text", inForce ? Json(valueText(parameter, *inForce, language)) : Json(nullptr)},
        {"stored", orNull(value.stored)},
        {"saved", orNull(value.saved)},
        {"factory", orNull(parameter.factory)},
        {"hardware", orNull(value.readBack)},
        {"range", limitsDocument(value.limits ? value.limits : parameter.style)},
        {"style_range", limitsDocument(parameter.style)},
        {"choices", choicesDocument(parameter, value, language)},
        {"flags", flagsDocument(snapshot, parameter, value)},
        {"why", textOrNull(why)},
        {"blocker", blockerDocument(snapshot, value.block, language)}};
}

Json parametersDocument(const Snapshot& snapshot, int language) {
    const Catalogue& catalogue = *snapshot.catalogue;
    // Tabs of one group stand together, in the order in which the groups first appear.
    Json groups = Json::array();
    for (const Tab& tab : catalogue.tabs) {
        Json entry = {{"key", tab.key}, {"label", tab.key}, {"parameters", tab.keys}};
        const auto label = tab.labels.find(language);
        const auto english = tab.labels.find(0);
        if (label != tab.labels.end()) {
            entry["label"] = label->second;
        } else if (english != tab.labels.end()) {
            entry["label"] = english->second;
        }
        auto group = groups.begin();
        while (group != groups.end() && (*group)["id"] != tab.group) {
            ++group;
        }
        if (group == groups.end()) {
            std::string title = tab.group;
            const auto texts = catalogue.groups.find(tab.group);
            if (texts != catalogue.groups.end()) {
                const auto text = texts->second.count(language) != 0 ? texts->second.find(language)
                                                                     : texts->second.find(0);
                title = text != texts->second.end() ? text->second : title;
            }
            groups.push_back({{"id", tab.group}, {"label", title}, {"tabs", Json::array()}});
            group = groups.end() - 1;
        }
        (*group)["tabs"].push_back(std::move(entry));
    }
    Json parameters = Json::array();
    for (std::size_t i = 0; i < catalogue.parameters.size(); ++i) {
        parameters.push_back(parameterDocument(snapshot, i, language));
    }
    return {{"boot", snapshot.bootId},
            {"sequence", snapshot.number},
            {"scheme", snapshot.scheme},
            {"groups", std::move(groups)},
            {"parameters", std::move(parameters)}};
}

} // namespace host::api
