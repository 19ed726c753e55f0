#include "host/api/Documents.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "Layer.h"
#include "LinuxFramework.h"
#include "host/Names.h"
#include "host/Sentences.h"
#include "host/api/Pieces.h"

namespace host::api {
namespace {

const char* ruleName(SchemeRule::Why why) {
    switch (why) {
        case SchemeRule::Why::Window:
            return "schedule";
        case SchemeRule::Why::OutsideWindows:
            return "outside";
        case SchemeRule::Why::Day:
        case SchemeRule::Why::Night:
            return "day_night";
        case SchemeRule::Why::ByHand:
            return "manual";
        case SchemeRule::Why::Due:
            return "due";
    }
    return "";
}

Json schemeSummary(const Snapshot& snapshot, const Scheme& scheme) {
    Json result = {{"number", scheme.number},
                   {"name", scheme.name},
                   {"title", schemeTitle(snapshot, scheme.number)},
                   {"default", !scheme.timed},
                   {"in_force", scheme.inForce}};
    if (scheme.timed) {
        result["enabled"] = scheme.window.enabled;
        result["start"] = timeOfDay(scheme.window.startHour, scheme.window.startMinute);
        result["end"] = timeOfDay(scheme.window.endHour, scheme.window.endMinute);
        result["unsaved"] = scheme.unsaved;
        result["window_fault"] = scheme.windowFault == 0 ? Json(nullptr) : Json(scheme.windowFault);
    }
    return result;
}

Json unsavedDocument(const Snapshot& snapshot) {
    Json schemes = Json::array();
    for (const Scheme& scheme : snapshot.schemes) {
        if (scheme.unsaved == 0) {
            continue;
        }
        Json keys = Json::array();
        for (std::size_t i = 0; i < snapshot.catalogue->schemeKeys.size(); ++i) {
            if (scheme.values && i < scheme.values->size() &&
                (!scheme.saved || i >= scheme.saved->size() ||
                 (*scheme.saved)[i] != (*scheme.values)[i])) {
                keys.push_back(snapshot.catalogue->schemeKeys[i]);
            }
        }
        schemes.push_back({{"scheme", scheme.number},
                           {"title", schemeTitle(snapshot, scheme.number)},
                           {"count", scheme.unsaved},
                           {"keys", std::move(keys)}});
    }
    return {{"count", snapshot.unsaved}, {"schemes", std::move(schemes)}};
}

Json differencesDocument(const Snapshot& snapshot, int language) {
    Json list = Json::array();
    for (const Difference& difference : snapshot.differences) {
        Json one = nameAndLabel(snapshot, difference.key, language);
        one["wanted"] = difference.wanted;
        one["hardware"] = orNull(difference.readBack);
        one["state"] = difference.refusal.reason == Reason::Blocked ? "blocked"
                       : difference.givenUp                         ? "refused"
                                                                    : "retrying";
        one["reason"] = textOrNull(reasonText(difference.refusal));
        list.push_back(std::move(one));
    }
    return list;
}

} // namespace

std::string timestamp(const CameraTime& time) {
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", time.year, time.month,
                  time.day, time.hour, time.minute, time.second);
    return text;
}

std::string timeOfDay(int hour, int minute) {
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d", hour, minute);
    return text;
}

std::string machineTimestamp(long long milliseconds) {
    const auto seconds = static_cast<std::time_t>(milliseconds / 1000);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char day[32];
    std::strftime(day, sizeof day, "%Y-%m-%dT%H:%M:%S", &parts);
    char text[48];
    std::snprintf(text, sizeof text, "%s.%03dZ", day, static_cast<int>(milliseconds % 1000));
    return text;
}

Json cameraDocument(const Snapshot& snapshot, int language) {
    const Scheme* inForce = nullptr;
    for (const Scheme& scheme : snapshot.schemes) {
        if (scheme.inForce) {
            inForce = &scheme;
        }
    }
    Json next = nullptr;
    if (snapshot.next) {
        const int minute = snapshot.next->minuteOfDay;
        next = {{"time", timeOfDay(minute / 60, minute % 60)},
                {"scheme", snapshot.next->scheme},
                {"title", schemeTitle(snapshot, snapshot.next->scheme)}};
    }
    const CameraTime time = cameraTime();
    return {{"boot", snapshot.bootId},
            {"sequence", snapshot.number},
            {"journal", snapshot.journal},
            {"time", timestamp(time)}, // of now: the snapshot may be a minute old
            {"time_of_day", clockText(time)},
            {"scheme",
             {{"number", snapshot.scheme},
              {"name", inForce != nullptr ? inForce->name : std::string()},
              {"title", schemeTitle(snapshot, snapshot.scheme)},
              {"default", inForce == nullptr || !inForce->timed},
              {"reason", ruleName(snapshot.rule.why)},
              {"reason_text", snapshot.rule.text}}},
            {"next", std::move(next)},
            {"due", schemeAt(snapshot.schemes, snapshot.time.minuteOfDay())},
            {"mode", snapshot.bySchedule ? "schedule" : "manual"},
            {"parameters", snapshot.catalogue->schemeKeys.size()},
            {"day_night_schemes", snapshot.dayNightSchemes},
            {"day_night", snapshot.night ? Json(*snapshot.night ? "night" : "day") : Json(nullptr)},
            {"fps", snapshot.framesPerSecond},
            {"wide_dynamic_range_allowed", snapshot.wideDynamicRangeAllowed},
            {"device_type", snapshot.deviceType},
            {"module", snapshot.moduleId},
            {"detail", snapshot.detail},
            {"layer",
             {{"name", snapshot.layer.name},
              {"device", textOrNull(snapshot.layer.device)},
              {"state", snapshot.layer.present ? "present" : "gone"},
              {"gone_seconds", static_cast<long long>(snapshot.layer.goneSeconds)},
              {"version", textOrNull(snapshot.layer.version)}}},
            {"settled", snapshot.settled},
            {"unsaved", unsavedDocument(snapshot)},
            {"differences", differencesDocument(snapshot, language)},
            {"trial", trialDocument(snapshot, language)},
            {"problems", snapshot.problems}};
}

Json schemesDocument(const Snapshot& snapshot, int) {
    Json list = Json::array();
    for (const Scheme& scheme : snapshot.schemes) {
        list.push_back(schemeSummary(snapshot, scheme));
    }
    return {{"boot", snapshot.bootId},
            {"sequence", snapshot.number},
            {"mode", snapshot.bySchedule ? "schedule" : "manual"},
            {"schemes", std::move(list)}};
}

Json schemeDocument(const Snapshot& snapshot, int number, int language) {
    const Scheme& scheme = snapshot.schemes[static_cast<std::size_t>(number)];
    Json result = schemeSummary(snapshot, scheme);
    Json values = Json::array();
    const Catalogue& catalogue = *snapshot.catalogue;
    for (std::size_t i = 0; scheme.values && i < scheme.values->size(); ++i) {
        Json one = nameAndLabel(snapshot, catalogue.schemeKeys[i], language);
        const Parameter* const parameter = catalogue.find(catalogue.schemeKeys[i]);
        one["value"] = (*scheme.values)[i];
        one["saved"] =
            scheme.saved && i < scheme.saved->size() ? orNull((*scheme.saved)[i]) : Json(nullptr);
        one["factory"] = parameter != nullptr ? orNull(parameter->factory) : Json(nullptr);
        values.push_back(std::move(one));
    }
    result["values"] = std::move(values);
    result["boot"] = snapshot.bootId;
    result["sequence"] = snapshot.number;
    return result;
}

Json compareDocument(const Snapshot& snapshot, int one, int other, int language) {
    Json differences = Json::array();
    Json commands = Json::array();
    for (const u32 key : snapshot.catalogue->schemeKeys) {
        const std::optional<int> left = snapshot.storedIn(one, key);
        const std::optional<int> right = snapshot.storedIn(other, key);
        const Parameter* const parameter = snapshot.parameter(key);
        if (left == right || parameter == nullptr) {
            continue;
        }
        Json row = nameAndLabel(snapshot, key, language);
        row["a"] = orNull(left);
        row["b"] = orNull(right);
        row["a_text"] = left ? valueText(*parameter, *left, language) : "";
        row["b_text"] = right ? valueText(*parameter, *right, language) : "";
        differences.push_back(row);
        if (!parameter->storedOnly() && right) {
            commands.push_back({{"command", parameter->command},
                                {"name", parameter->shortName},
                                {"value", *right}});
        }
    }
    return {{"a", one},
            {"b", other},
            {"a_title", schemeTitle(snapshot, one)},
            {"b_title", schemeTitle(snapshot, other)},
            {"differences", std::move(differences)},
            {"commands", std::move(commands)}};
}

Json diffDocument(const Snapshot& snapshot, int number, bool factory, int language) {
    Json differences = Json::array();
    const Scheme& scheme = snapshot.schemes[static_cast<std::size_t>(number)];
    const Catalogue& catalogue = *snapshot.catalogue;
    for (std::size_t i = 0; scheme.values && i < scheme.values->size(); ++i) {
        const Parameter* const parameter = catalogue.find(catalogue.schemeKeys[i]);
        if (parameter == nullptr) {
            continue;
        }
        std::optional<int> before = parameter->factory;
        if (!factory) {
            before = scheme.saved && i < scheme.saved->size() ? (*scheme.saved)[i] : std::nullopt;
        }
        const int now = (*scheme.values)[i];
        if (before == now) {
            continue;
        }
        Json row = nameAndLabel(snapshot, parameter->key, language);
        row["before"] = orNull(before);
        row["now"] = now;
        row["before_text"] = before ? valueText(*parameter, *before, language) : "";
        row["now_text"] = valueText(*parameter, now, language);
        differences.push_back(std::move(row));
    }
    return {{"scheme", number},
            {"title", schemeTitle(snapshot, number)},
            {"against", factory ? "factory" : "saved"},
            {"differences", std::move(differences)}};
}

Json languagesDocument(const Snapshot& snapshot) {
    Json list = Json::array();
    for (const auto& [id, language] : snapshot.catalogue->languages) {
        list.push_back({{"id", id}, {"name", language.name}});
    }
    return {{"languages", std::move(list)}};
}

Json languageDocument(const Snapshot& snapshot, int id) {
    const auto found = snapshot.catalogue->languages.find(id);
    if (found == snapshot.catalogue->languages.end()) {
        return nullptr;
    }
    return {{"id", id},
            {"name", found->second.name},
            {"texts", found->second.texts},
            {"common", found->second.common}};
}

Json trialDocument(const Snapshot& snapshot, int language) {
    if (!snapshot.trial) {
        return nullptr;
    }
    const Trial& trial = *snapshot.trial;
    const double left =
        static_cast<double>(trial.endsAt - linux_framework::deviceMicroseconds()) / 1e6;
    Json values = Json::array();
    for (const Pair& pair : trial.values) {
        Json one = nameAndLabel(snapshot, pair.key, language);
        one["value"] = pair.value;
        const auto back = trial.returnsTo.find(pair.key);
        one["returns_to"] = back != trial.returnsTo.end() ? Json(back->second) : Json(nullptr);
        values.push_back(std::move(one));
    }
    return {{"number", trial.number},
            {"who", textOrNull(trial.origin.who)},
            {"client", textOrNull(trial.origin.client)},
            {"scheme", trial.scheme},
            {"seconds_left", std::lround(std::max(0.0, left))},
            {"values", std::move(values)}};
}

} // namespace host::api
