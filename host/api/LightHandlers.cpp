#include "host/api/LightHandlers.h"

#include "SensorKeys.h"
#include "host/Camera.h"
#include "host/LightHistory.h"
#include "host/api/Answers.h"
#include "host/api/Documents.h"

namespace host::api {
namespace {

Json dayOrNight(const std::optional<bool>& night) {
    return night ? Json(*night ? "night" : "day") : Json(nullptr);
}

Json thresholdDocument(const Context& context, u32 key) {
    const Parameter* const about = context.snapshot.parameter(key);
    const Value* const value = context.snapshot.value(key);
    if (about == nullptr || value == nullptr || !value->inForce()) {
        return nullptr;
    }
    return {{"key", key},
            {"name", about->shortName},
            {"label", about->label(context.language)},
            {"value", *value->inForce()}};
}

} // namespace

Response getLight(const Context& context, Problem& /*fault*/) {
    Json samples = Json::array();
    for (const LightHistory::Sample& one : context.camera.lightHistory().samples()) {
        samples.push_back({{"time", timestamp(one.time)},
                           {"light", one.light},
                           {"day_night", dayOrNight(one.night)}});
    }
    Json thresholds = Json::array();
    for (const u32 key : {KEY_DTN_THR, KEY_NTD_THR}) {
        Json threshold = thresholdDocument(context, key);
        if (!threshold.is_null()) {
            thresholds.push_back(std::move(threshold));
        }
    }
    const Value* const mode = context.snapshot.value(KEY_DN_MODE);
    return documentResponse({{"boot", context.snapshot.bootId},
                             {"time", timestamp(cameraTime())},
                             {"day_night", dayOrNight(context.snapshot.night)},
                             {"decides", mode != nullptr && mode->inForce() == 0},
                             {"thresholds", std::move(thresholds)},
                             {"samples", std::move(samples)}});
}

} // namespace host::api
