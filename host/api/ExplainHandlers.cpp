#include "host/api/ExplainHandlers.h"

#include "host/Camera.h"
#include "host/Text.h"
#include "host/api/Answers.h"
#include "host/api/ExplainDocuments.h"

namespace host::api {
namespace {

bool readHours(const Context& context, int& hours, Problem& fault) {
    const std::string* const given = context.request.argument("hours");
    hours = 24;
    return given == nullptr || readIntWithin(*given, 1, kMostPlanHours, hours) ||
           fault.badRequest("'hours' is a number from 1 to " + std::to_string(kMostPlanHours) +
                            ".");
}

/// One scheme of a draft: its number, and what differs from its window as it is.
bool readDraft(const Context& context, const Json& json, WindowDraft& draft, Problem& fault) {
    if (!json.is_object()) {
        return fault.badRequest(
            "Each of 'schemes' is {\"number\": ..., \"enabled\": ..., "
            "\"start\": ..., \"end\": ...}.");
    }
    const std::size_t timed = context.snapshot.schemes.size() - 1;
    bool numbered = false;
    for (const auto& [name, value] : json.items()) {
        if (name == "number" && value.is_number_unsigned() && value.get<std::size_t>() < timed) {
            draft.scheme = value.get<int>();
            draft.window = context.snapshot.schemes[value.get<std::size_t>()].window;
            numbered = true;
        }
    }
    if (!numbered) {
        return fault.badRequest("'number' is that of a scheme with a window.");
    }
    for (const auto& [name, value] : json.items()) {
        Window& window = draft.window;
        if (name == "enabled" && value.is_boolean()) {
            window.enabled = value.get<bool>();
        } else if (name == "start" && value.is_string()) {
            if (!readTime(value.get<std::string>(), window.startHour, window.startMinute, fault)) {
                return false;
            }
        } else if (name == "end" && value.is_string()) {
            if (!readTime(value.get<std::string>(), window.endHour, window.endMinute, fault)) {
                return false;
            }
        } else if (name != "number") {
            return fault.badRequest("A scheme of a draft takes 'enabled', 'start' and 'end'; not " +
                                    quoted(name) + ".");
        }
    }
    return true;
}

} // namespace

Response getExplain(const Context& context, Problem& fault) {
    const std::optional<Look> look = readLook(context.match[0]);
    if (look) {
        return documentResponse(pictureDocument(context.snapshot,
                                                explain(context.snapshot, *look, context.language),
                                                context.language));
    }
    u32 key = 0;
    if (!readKeyOf(context, context.match[0], key, fault)) {
        return {};
    }
    return documentResponse(explanationDocument(
        context.snapshot,
        explain(context.snapshot, context.camera.journal(), key, context.language),
        context.language));
}

Response getPlan(const Context& context, Problem& fault) {
    int hours = 0;
    return readHours(context, hours, fault)
               ? documentResponse(planDocument(context.snapshot, planOf(context.snapshot, hours),
                                               context.language))
               : Response{};
}

Response postPlan(const Context& context, Problem& fault) {
    int hours = 0;
    Body body(context, fault);
    const Json* const schemes = body.member("schemes");
    if (!readHours(context, hours, fault) || !body.end()) {
        return {};
    }
    if (schemes == nullptr || !schemes->is_array()) {
        fault.badRequest("'schemes' is the list of windows that are to be tried.");
        return {};
    }
    std::vector<WindowDraft> drafts;
    for (const Json& one : *schemes) {
        WindowDraft draft;
        if (!readDraft(context, one, draft, fault)) {
            return {};
        }
        drafts.push_back(draft);
    }
    return documentResponse(
        planDocument(context.snapshot, planOf(context.snapshot, hours, drafts), context.language));
}

} // namespace host::api
