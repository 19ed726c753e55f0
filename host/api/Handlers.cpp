#include "host/Camera.h"
#include "host/Exchange.h"
#include "host/Names.h"
#include "host/Text.h"
#include "host/api/Answers.h"
#include "host/api/Documents.h"
#include "host/api/ExplainHandlers.h"
#include "host/api/LightHandlers.h"
#include "host/api/PlanHandlers.h"
#include "host/api/Routing.h"
#include "host/api/SimulatorHandlers.h"

namespace host::api {
namespace {

using access_control::Role;

constexpr std::size_t kMostValues = 100;
constexpr int kMostTrialSeconds = 3600;

// Reads
// ------------------------------------------------------------------------------------------------

Response getCamera(const Context& context, Problem&) {
    return documentResponse(cameraDocument(context.snapshot, context.language));
}

Response getParameters(const Context& context, Problem&) {
    return documentResponse(parametersDocument(context.snapshot, context.language));
}

Response getParameter(const Context& context, Problem& fault) {
    u32 key = 0;
    if (!readKeyOf(context, context.match[0], key, fault)) {
        return {};
    }
    const std::size_t index = context.snapshot.catalogue->indexOf(key);
    return documentResponse(parameterDocument(context.snapshot, index, context.language));
}

Response getSchemes(const Context& context, Problem&) {
    return documentResponse(schemesDocument(context.snapshot, context.language));
}

Response getScheme(const Context& context, Problem& fault) {
    int scheme = 0;
    return readSchemeOf(context, context.match[0], scheme, fault)
               ? documentResponse(schemeDocument(context.snapshot, scheme, context.language))
               : Response{};
}

/// A scheme in the query; the one in force without it.
bool schemeArgument(const Context& context, const char* name, int& scheme, Problem& fault) {
    const std::string* const given = context.request.argument(name);
    scheme = context.snapshot.scheme;
    return given == nullptr || readSchemeOf(context, *given, scheme, fault);
}

Response getCompare(const Context& context, Problem& fault) {
    int one = 0;
    int other = 0;
    if (!schemeArgument(context, "a", one, fault) || !schemeArgument(context, "b", other, fault)) {
        return {};
    }
    return documentResponse(compareDocument(context.snapshot, one, other, context.language));
}

Response getDiff(const Context& context, Problem& fault) {
    int scheme = 0;
    const std::string* const against = context.request.argument("against");
    if (!schemeArgument(context, "scheme", scheme, fault)) {
        return {};
    }
    if (against != nullptr && *against != "saved" && *against != "factory") {
        fault.badRequest("'against' is saved or factory.");
        return {};
    }
    const bool factory = against != nullptr && *against == "factory";
    return documentResponse(diffDocument(context.snapshot, scheme, factory, context.language));
}

Response getHistory(const Context& context, Problem& fault) {
    int count = 50;
    u32 key = 0;
    const std::string* const given = context.request.argument("count");
    const std::string* const wanted = context.request.argument("key");
    const std::string* const after = context.request.argument("since");
    long long since = 0;
    if (after != nullptr && (!readNumber(*after, since) || since < 0)) {
        fault.badRequest("'since' is a sequence number.");
        return {};
    }
    if (given != nullptr && !readIntWithin(*given, 1, Journal::kMostEntries, count)) {
        fault.badRequest("'count' is a number from 1 to 1000.");
        return {};
    }
    if (wanted != nullptr && !readKeyOf(context, *wanted, key, fault)) {
        return {};
    }
    return documentResponse(historyDocument(context.snapshot, context.camera.journal(),
                                            static_cast<std::size_t>(count), key,
                                            static_cast<std::uint64_t>(since), context.language));
}

Response getTrial(const Context& context, Problem&) {
    return documentResponse(trialDocument(context.snapshot, context.language));
}

Response getStyle(const Context& context, Problem&) {
    return textResponse(context.snapshot.catalogue->style, "application/xml");
}

Response getLanguages(const Context& context, Problem&) {
    return documentResponse(languagesDocument(context.snapshot));
}

Response getLanguage(const Context& context, Problem& fault) {
    int language = 0;
    Json document;
    if (readIntWithin(context.match[0], 0, 1000, language)) {
        document = languageDocument(context.snapshot, language);
    }
    if (document.is_null()) {
        fault.set(404, "not_found", "There is no language of that number.");
        return {};
    }
    return documentResponse(document);
}

Response getExport(const Context& context, Problem&) {
    std::size_t count = 0;
    return textResponse(exportText(context.snapshot, count), kSchemesType);
}

// Changes
// ------------------------------------------------------------------------------------------------

/// {"brightness": 60, "34": 60} or [{"key": 34, "value": 60}, ...], in their order.
bool readPairs(const Context& context, const Json* json, std::vector<Pair>& pairs, Problem& fault) {
    if (json == nullptr || (!json->is_object() && !json->is_array()) || json->empty()) {
        return fault.badRequest("'values' holds the parameters and their values.");
    }
    if (json->size() > kMostValues) {
        return fault.set(413, "too_large", "At most 100 values are set at once.");
    }
    const auto take = [&](const std::string& name, const Json& value) {
        Pair pair{};
        if (!readKeyOf(context, name, pair.key, fault) ||
            !readValueOf(context, pair.key, value, pair.value, fault)) {
            return false;
        }
        pairs.push_back(pair);
        return true;
    };
    if (json->is_object()) {
        for (const auto& [name, value] : json->items()) {
            if (!take(name, value)) {
                return false;
            }
        }
        return true;
    }
    for (const Json& one : *json) {
        if (!one.is_object() || one.size() != 2 || !one.contains("key") || !one.contains("value")) {
            return fault.badRequest("Each of 'values' is {\"key\": ..., \"value\": ...}.");
        }
        const Json& key = one["key"];
        const bool isText = key.is_string();
        if (!isText && !key.is_number_unsigned()) {
            return fault.badRequest("'key' is a number or a name.");
        }
        if (!take(isText ? key.get<std::string>() : std::to_string(key.get<u32>()), one["value"])) {
            return false;
        }
    }
    return true;
}

/// What requests that set values have in common.
bool readSetting(const Context& context, Body& body, host::Request& operation, SetValues& set,
                 Problem& fault) {
    int gesture = 0;
    bool record = false;
    if (!body.number("scheme", set.scheme) || !body.flag("record", record) ||
        (body.has("gesture") && !body.number("gesture", 1, 2147483647, gesture)) || !body.end()) {
        return false;
    }
    if (set.scheme) {
        int scheme = 0;
        if (!readSchemeOf(context, std::to_string(*set.scheme), scheme, fault)) {
            return false;
        }
        set.otherwise = record ? WhenNotInForce::Record : WhenNotInForce::Conflict;
    } else if (record) {
        return fault.badRequest("'record' needs the 'scheme' to record in.");
    }
    const std::string* const dryRun = context.request.argument("dry-run");
    set.dryRun = dryRun != nullptr && *dryRun != "0";
    operation.origin.gesture = static_cast<std::uint64_t>(gesture);
    operation.operation = std::move(set);
    return true;
}

bool putParameter(const Context& context, host::Request& operation, Problem& fault) {
    SetValues set;
    Pair pair{};
    Body body(context, fault);
    const Json* const value = body.member("value");
    if (!body.valid() || !readKeyOf(context, context.match[0], pair.key, fault)) {
        return false;
    }
    if (value == nullptr) {
        return fault.badRequest("'value' is missing.");
    }
    if (!readValueOf(context, pair.key, *value, pair.value, fault)) {
        return false;
    }
    set.values.push_back(pair);
    return readSetting(context, body, operation, set, fault);
}

bool patchParameters(const Context& context, host::Request& operation, Problem& fault) {
    SetValues set;
    Body body(context, fault);
    const Json* const values = body.member("values");
    return body.valid() && readPairs(context, values, set.values, fault) &&
           readSetting(context, body, operation, set, fault);
}

bool postApply(const Context& context, host::Request& operation, Problem& fault) {
    ApplyValues apply;
    Body body(context, fault);
    const Json* const values = body.member("values");
    if (!body.valid() || !readPairs(context, values, apply.values, fault) || !body.end()) {
        return false;
    }
    operation.operation = std::move(apply);
    return true;
}

bool postRestore(const Context& context, host::Request& operation, Problem& fault) {
    Restore restore;
    Body body(context, fault);
    const Json* const keys = body.member("keys");
    if (!body.end()) {
        return false;
    }
    if (keys != nullptr && (!keys->is_array() || keys->size() > kMostValues)) {
        return fault.badRequest("'keys' is a list of at most 100 keys.");
    }
    for (std::size_t i = 0; keys != nullptr && i < keys->size(); ++i) {
        const Json& one = (*keys)[i];
        u32 key = 0;
        if (!readKeyOf(context, one.is_string() ? one.get<std::string>() : one.dump(), key,
                       fault)) {
            return false;
        }
        restore.keys.push_back(key);
    }
    operation.operation = std::move(restore);
    return true;
}

bool putScheme(const Context& context, host::Request& operation, Problem& fault) {
    int scheme = 0;
    std::optional<std::string> name;
    std::optional<std::string> start;
    std::optional<std::string> end;
    std::optional<int> with;
    Body body(context, fault);
    if (!readSchemeOf(context, context.match[0], scheme, fault) || !body.texts("name", name) ||
        !body.texts("start", start) || !body.texts("end", end) || !body.number("with", with)) {
        return false;
    }
    const Scheme& now = context.snapshot.schemes[static_cast<std::size_t>(scheme)];
    Window window = now.window;
    const bool changesWindow = start || end || with || body.has("enabled");
    if (!body.flag("enabled", window.enabled) || !body.end() ||
        (start && !readTime(*start, window.startHour, window.startMinute, fault)) ||
        (end && !readTime(*end, window.endHour, window.endMinute, fault))) {
        return false;
    }
    if (name && changesWindow) {
        return fault.badRequest("One request gives a name or a window, not both.");
    }
    if (name) {
        operation.operation = NameScheme{scheme, *name};
    } else if (changesWindow) {
        operation.operation = SetWindows{{{scheme, window}}, std::nullopt, with};
    } else {
        return fault.badRequest("A scheme takes 'name', or 'enabled', 'start', 'end' and 'with'.");
    }
    return true;
}

bool postActivate(const Context& context, host::Request& operation, Problem& fault) {
    int scheme = 0;
    Body body(context, fault);
    if (!readSchemeOf(context, context.match[0], scheme, fault) || !body.end()) {
        return false;
    }
    operation.operation = SwitchScheme{scheme};
    return true;
}

bool postCopy(const Context& context, host::Request& operation, Problem& fault) {
    CopyScheme copy{};
    std::optional<int> to;
    Body body(context, fault);
    if (!readSchemeOf(context, context.match[0], copy.from, fault) || !body.number("to", to) ||
        !body.flag("window", copy.window) || !body.end()) {
        return false;
    }
    if (!to) {
        return fault.badRequest("'to' is missing.");
    }
    if (!readSchemeOf(context, std::to_string(*to), copy.to, fault)) {
        return false;
    }
    operation.operation = copy;
    return true;
}

bool putMode(const Context& context, host::Request& operation, Problem& fault) {
    std::string mode;
    Body body(context, fault);
    if (!body.text("mode", mode) || !body.end()) {
        return false;
    }
    if (mode != "schedule" && mode != "manual") {
        return fault.badRequest("'mode' is schedule or manual.");
    }
    operation.operation = SetMode{mode == "schedule"};
    return true;
}

bool postSave(const Context& context, host::Request& operation, Problem& fault) {
    Save save;
    Body body(context, fault);
    int scheme = 0;
    if (!body.number("scheme", save.scheme) || !body.end() ||
        (save.scheme && !readSchemeOf(context, std::to_string(*save.scheme), scheme, fault))) {
        return false;
    }
    operation.operation = save;
    return true;
}

template <typename Operation>
bool plain(const Context& context, host::Request& operation, Problem& fault) {
    operation.operation = Operation{};
    return Body(context, fault).end();
}

bool postImport(const Context& context, host::Request& operation, Problem&) {
    const std::string* const dryRun = context.request.argument("dry-run");
    operation.operation = Import{context.request.body, dryRun != nullptr && *dryRun != "0"};
    return true;
}

bool postTrial(const Context& context, host::Request& operation, Problem& fault) {
    TryValues trial;
    Body body(context, fault);
    int seconds = 0;
    int gesture = 0;
    const Json* const values = body.member("values");
    if (!body.valid() || !body.number("seconds", 1, kMostTrialSeconds, seconds) ||
        (body.has("gesture") && !body.number("gesture", 1, 2147483647, gesture)) ||
        !body.number("scheme", trial.scheme) || !readPairs(context, values, trial.values, fault) ||
        !body.end()) {
        return false;
    }
    trial.seconds = seconds;
    operation.origin.gesture = static_cast<std::uint64_t>(gesture);
    operation.operation = std::move(trial);
    return true;
}

bool putWideDynamicRange(const Context& context, host::Request& operation, Problem& fault) {
    AllowWideDynamicRange allow{};
    Body body(context, fault);
    if (body.valid() && !body.has("allowed")) {
        return fault.badRequest("'allowed' is missing.");
    }
    if (!body.flag("allowed", allow.allowed) || !body.end()) {
        return false;
    }
    operation.operation = allow;
    return true;
}

bool postUndo(const Context& context, host::Request& operation, Problem& fault) {
    Body body(context, fault);
    Undo undo{};
    int entry = 0;
    if (!body.number("entry", 1, 2147483647, entry) || !body.flag("force", undo.force) ||
        !body.end()) {
        return false;
    }
    undo.entry = static_cast<std::uint64_t>(entry);
    operation.operation = undo;
    return true;
}

bool postLens(const Context& context, host::Request& operation, Problem& fault) {
    struct Named {
        const char* name;
        LensAction::Action action;
        bool takesValue;
    };
    using Action = LensAction::Action;
    static constexpr Named actions[] = {
        {"read", Action::Read, false},
        {"focus-far", Action::FocusFar, false},
        {"focus-near", Action::FocusNear, false},
        {"iris-up", Action::IrisUp, false},
        {"iris-down", Action::IrisDown, false},
        {"zoom-in", Action::ZoomIn, false},
        {"zoom-out", Action::ZoomOut, false},
        {"zoom-to", Action::ZoomTo, true},
        {"focus-to", Action::FocusTo, true},
        {"focus-mode", Action::FocusMode, true},
        {"pan-tilt", Action::PanTiltMoves, true},
    };
    for (const Named& named : actions) {
        if (context.match[0] != named.name) {
            continue;
        }
        LensAction lens;
        lens.action = named.action;
        Body body(context, fault);
        std::optional<int> value;
        if (!body.number("value", value) || !body.end()) {
            return false;
        }
        if (named.takesValue != value.has_value()) {
            return fault.badRequest(named.takesValue ? "'value' is missing."
                                                     : "This action takes no value.");
        }
        lens.value = value.value_or(0);
        operation.operation = lens;
        return true;
    }
    return fault.set(404, "not_found", "The lens has no such action.");
}

} // namespace

const std::vector<Handler>& handlers() {
    static const std::vector<Handler> all = {
        {{"GET", "/camera", Role::Monitor, nullptr, 0}, getCamera, nullptr, false},
        {{"GET", "/parameters", Role::Viewer, nullptr, 0}, getParameters, nullptr, true},
        {{"PATCH", "/parameters", Role::Operator, nullptr, kMostBody}, nullptr, patchParameters},
        {{"GET", "/parameters/{key}", Role::Viewer, nullptr, 0}, getParameter, nullptr},
        {{"PUT", "/parameters/{key}", Role::Operator, nullptr, kMostBody}, nullptr, putParameter},
        {{"POST", "/apply", Role::Operator, nullptr, kMostBody}, nullptr, postApply},
        {{"POST", "/restore", Role::Operator, nullptr, kMostBody}, nullptr, postRestore},
        {{"GET", "/schemes", Role::Viewer, nullptr, 0}, getSchemes, nullptr},
        {{"PUT", "/schemes", Role::Operator, nullptr, kMostBody}, nullptr, putSchemes},
        {{"GET", "/schemes/{scheme}", Role::Viewer, nullptr, 0}, getScheme, nullptr},
        {{"PUT", "/schemes/{scheme}", Role::Operator, nullptr, kMostBody}, nullptr, putScheme},
        {{"POST", "/schemes/{scheme}/activate", Role::Operator, nullptr, kMostBody},
         nullptr,
         postActivate},
        {{"POST", "/schemes/{scheme}/copy", Role::Operator, nullptr, kMostBody}, nullptr, postCopy},
        {{"GET", "/compare", Role::Viewer, nullptr, 0}, getCompare, nullptr},
        {{"GET", "/diff", Role::Viewer, nullptr, 0}, getDiff, nullptr},
        {{"GET", "/explain/{key}", Role::Viewer, nullptr, 0}, getExplain, nullptr},
        {{"GET", "/light", Role::Viewer, nullptr, 0}, getLight, nullptr},
        {{"GET", "/plan", Role::Viewer, nullptr, 0}, getPlan, nullptr},
        {{"POST", "/plan", Role::Viewer, nullptr, kMostBody}, postPlan, nullptr},
        {{"PUT", "/mode", Role::Administrator, nullptr, kMostBody}, nullptr, putMode},
        {{"POST", "/save", Role::Operator, nullptr, kMostBody}, nullptr, postSave},
        {{"POST", "/reload", Role::Administrator, nullptr, kMostBody}, nullptr, plain<Reload>},
        {{"POST", "/reset", Role::Administrator, nullptr, kMostBody}, nullptr, plain<Reset>},
        {{"POST", "/settle", Role::Operator, nullptr, kMostBody}, nullptr, plain<Settle>},
        {{"POST", "/correct", Role::Operator, nullptr, kMostBody}, nullptr, plain<CorrectScheme>},
        {{"PUT", "/wide-dynamic-range", Role::Operator, nullptr, kMostBody},
         nullptr,
         putWideDynamicRange},
        {{"POST", "/lens/{action}", Role::Operator, nullptr, kMostBody}, nullptr, postLens},
        {{"GET", "/history", Role::Viewer, nullptr, 0}, getHistory, nullptr},
        {{"POST", "/undo", Role::Operator, nullptr, kMostBody}, nullptr, postUndo},
        {{"GET", "/trial", Role::Viewer, nullptr, 0}, getTrial, nullptr},
        {{"POST", "/trial", Role::Operator, nullptr, kMostBody}, nullptr, postTrial},
        {{"POST", "/trial/keep", Role::Operator, nullptr, kMostBody}, nullptr, plain<KeepTrial>},
        {{"DELETE", "/trial", Role::Operator, nullptr, kMostBody}, nullptr, plain<DropTrial>},
        {{"GET", "/export", Role::Viewer, nullptr, 0}, getExport, nullptr},
        {{"POST", "/import", Role::Administrator, kSchemesType, kMostImport}, nullptr, postImport},
        {{"GET", "/simulator", Role::Viewer, nullptr, 0}, getSimulator, nullptr},
        {{"PUT", "/simulator", Role::Administrator, nullptr, kMostBody}, nullptr, putSimulator},
        {{"GET", "/style", Role::Viewer, nullptr, 0}, getStyle, nullptr},
        {{"GET", "/languages", Role::Viewer, nullptr, 0}, getLanguages, nullptr},
        {{"GET", "/languages/{id}", Role::Viewer, nullptr, 0}, getLanguage, nullptr},
    };
    return all;
}

} // namespace host::api
