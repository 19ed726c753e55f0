#include "host/api/SimulatorHandlers.h"

#include "host/Simulator.h"
#include "host/api/Answers.h"

namespace host::api {
namespace {

using simulator::Dials;

bool isSimulator(const Context& context, Problem& fault) {
    return context.snapshot.layer.name == "simulator" ||
           fault.set(404, "no_simulator", "This camera is no simulator.");
}

Json document(const Dials& dials) {
    Json faults = Json::array();
    for (const Dials::Fault& one : dials.faults) {
        faults.push_back({{"command", one.command}, {"code", one.code}, {"count", one.count}});
    }
    Json limits = Json::array();
    for (const Dials::Limit& one : dials.limits) {
        limits.push_back(
            {{"command", one.command}, {"default", one.defaultValue}, {"items", one.items}});
    }
    return {{"light", dials.light},         {"fog", dials.fog},
            {"lamp", dials.lamp},           {"shake", dials.shake},
            {"unplugged", dials.unplugged}, {"faults", std::move(faults)},
            {"limits", std::move(limits)}};
}

bool isNumber(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_number_integer() &&
           found->get<long long>() <= 2147483647;
}

/// Reads a list of objects of a command and what else belongs to it; one that is not there leaves
/// the dials as they are.
template <typename Entry, typename Read>
bool readList(const Json* list, const char* shape, std::vector<Entry>& entries, Read read,
              Problem& fault) {
    if (list == nullptr) {
        return true;
    }
    entries.clear();
    bool good = list->is_array() && list->size() <= 100;
    for (std::size_t i = 0; good && i < list->size(); ++i) {
        const Json& one = (*list)[i];
        Entry entry;
        good = one.is_object() && isNumber(one, "command") && one["command"].is_number_unsigned() &&
               read(one, entry);
        if (good) {
            entry.command = one["command"].template get<u32>();
            entries.push_back(std::move(entry));
        }
    }
    return good || fault.badRequest(shape);
}

} // namespace

Response getSimulator(const Context& context, Problem& fault) {
    return isSimulator(context, fault) ? documentResponse(document(simulator::dials()))
                                       : Response{};
}

bool putSimulator(const Context& context, host::Request& operation, Problem& fault) {
    Dials dials = simulator::dials();
    Body body(context, fault);
    if (!body.valid() || !isSimulator(context, fault)) {
        return false;
    }
    for (const auto& [name, dial] : {std::pair{"light", &dials.light},
                                     {"fog", &dials.fog},
                                     {"lamp", &dials.lamp},
                                     {"shake", &dials.shake}}) {
        if (body.member(name) != nullptr && !body.number(name, 0, 100, *dial)) {
            return false;
        }
    }
    const auto readFault = [](const Json& one, Dials::Fault& entry) {
        const bool counted = one.contains("count");
        if (!isNumber(one, "code") || one.size() != (counted ? 3U : 2U) ||
            (counted && (!isNumber(one, "count") || !one["count"].is_number_unsigned()))) {
            return false;
        }
        entry.code = one["code"].get<int>();
        entry.count = counted ? one["count"].get<unsigned int>() : 0;
        return true;
    };
    const auto readLimit = [](const Json& one, Dials::Limit& entry) {
        if (!isNumber(one, "default") || one.size() != 3 || !one.contains("items") ||
            !one["items"].is_array() || one["items"].size() > 1000) {
            return false;
        }
        entry.defaultValue = one["default"].get<int>();
        for (const Json& item : one["items"]) {
            if (!item.is_number_integer() || item.get<long long>() > 2147483647) {
                return false;
            }
            entry.items.push_back(item.get<int>());
        }
        return true;
    };
    std::string problem;
    if (!body.flag("unplugged", dials.unplugged) ||
        !readList(body.member("faults"),
                  "Each of 'faults' is {\"command\": ..., \"code\": ..., \"count\": ...}.",
                  dials.faults, readFault, fault) ||
        !readList(body.member("limits"),
                  "Each of 'limits' is {\"command\": ..., \"default\": ..., \"items\": [...]}.",
                  dials.limits, readLimit, fault) ||
        !body.end()) {
        return false;
    }
    if (!simulator::setDials(dials, problem)) {
        return fault.set(422, "simulator", problem);
    }
    // The camera looks at once what has become of it.
    operation.operation = Refresh{};
    return true;
}

} // namespace host::api
