#include "host/api/PlanHandlers.h"

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

bool readDrafts(const Context& context, const Json* schemes, std::vector<WindowDraft>& drafts,
                Problem& fault) {
    if (schemes == nullptr || !schemes->is_array()) {
        return fault.badRequest("'schemes' is a list of windows.");
    }
    for (const Json& one : *schemes) {
        WindowDraft draft;
        if (!readDraft(context, one, draft, fault)) {
            return false;
        }
        drafts.push_back(draft);
    }
    return true;
}

} // namespace

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
    std::vector<WindowDraft> drafts;
    if (!readHours(context, hours, fault) || !body.end() ||
        !readDrafts(context, schemes, drafts, fault)) {
        return {};
    }
    return documentResponse(
        planDocument(context.snapshot, planOf(context.snapshot, hours, drafts), context.language));
}

bool putSchemes(const Context& context, host::Request& operation, Problem& fault) {
    Body body(context, fault);
    std::optional<int> sequence;
    std::vector<WindowDraft> drafts;
    const Json* const schemes = body.member("schemes");
    if (!body.number("sequence", sequence) || !body.end() ||
        !readDrafts(context, schemes, drafts, fault)) {
        return false;
    }
    SetWindows windows;
    for (const WindowDraft& draft : drafts) {
        if (!windows.windows.emplace(draft.scheme, draft.window).second) {
            return fault.badRequest("Scheme " + std::to_string(draft.scheme) +
                                    " stands in the list twice.");
        }
    }
    if (sequence) {
        windows.seen = static_cast<std::uint64_t>(std::max(*sequence, 0));
    }
    operation.operation = std::move(windows);
    return true;
}

} // namespace host::api
