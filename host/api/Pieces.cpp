#include "host/api/Pieces.h"

#include "host/Names.h"

namespace host::api {

Json nameAndLabel(const Snapshot& snapshot, u32 key, int language) {
    const Parameter* const parameter = snapshot.parameter(key);
    return {{"key", key},
            {"name", parameter != nullptr ? parameter->shortName : std::to_string(key)},
            {"label", parameter != nullptr ? parameter->label(language) : std::to_string(key)}};
}

Json valueTextOf(const Snapshot& snapshot, u32 key, const std::optional<int>& value, int language) {
    const Parameter* const parameter = snapshot.parameter(key);
    return value && parameter != nullptr ? Json(valueText(*parameter, *value, language))
                                         : Json(nullptr);
}

Json limitsDocument(const std::optional<Limits>& limits) {
    if (!limits) {
        return nullptr;
    }
    Json result = {{"min", limits->minimum}, {"max", limits->maximum}, {"step", limits->step}};
    if (!limits->items.empty()) {
        result["items"] = limits->items;
    }
    return result;
}

} // namespace host::api
