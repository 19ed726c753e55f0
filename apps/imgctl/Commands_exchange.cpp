#include "CommandFunctions.h"

#include <algorithm>
#include <set>

#include "Camera.h"
#include "Exchange.h"
#include "Files.h"
#include "KeyNames.h"
#include "Schemes.h"
#include "Text.h"

namespace host {
namespace {

constexpr std::size_t kLongestImport = 1UL << 20;

/// Keeps the clock from switching schemes while several are worked on.
class NoSwitching {
public:
    explicit NoSwitching(ISensorController& controller) : m_controller(controller) {
        m_controller.getParamMode(m_mode);
        m_controller.setParamMode(0);
    }
    ~NoSwitching() { m_controller.setParamMode(m_mode); }
    NoSwitching(const NoSwitching&) = delete;
    NoSwitching& operator=(const NoSwitching&) = delete;

private:
    ISensorController& m_controller;
    int m_mode = 1;
};

std::size_t countChanges(ISensorController& controller,
                         const std::vector<Assignment>& assignments) {
    const auto changes =
        std::count_if(assignments.begin(), assignments.end(), [&](const Assignment& wanted) {
            u32 value = 0;
            controller.getKeyValFromCache(wanted.scheme, wanted.pair.key, value);
            return value != wanted.pair.value;
        });
    return static_cast<std::size_t>(changes);
}

/// Sets the values of the current scheme in the layer and of the others in memory. The current one
/// comes first: it is the only one that can fail.
int setValues(ISensorController& controller, u32 current,
              const std::vector<Assignment>& assignments) {
    std::vector<KeyVal> now;
    for (const Assignment& assignment : assignments) {
        if (assignment.scheme == current) {
            now.push_back(assignment.pair);
        }
    }
    const int result = controller.setParameters(now.data(), static_cast<u32>(now.size()), true);
    if (result != 0) {
        return result;
    }
    for (const Assignment& assignment : assignments) {
        if (assignment.scheme != current) {
            controller.setKeyValToCache(assignment.scheme, assignment.pair.key,
                                        assignment.pair.value, false);
        }
    }
    return 0;
}

} // namespace

Status runExport(const Call& call) {
    std::size_t count = 0;
    std::string problem;
    const std::string text = exportText(call.camera.controller(), count);
    if (!replaceFile(call.arguments[0], text, problem)) {
        return call.refuse(Status::failed, problem);
    }
    call.answer(std::to_string(count));
    return Status::done;
}

Status runImport(const Call& call) {
    std::string text;
    std::string problem;
    if (!readFile(call.arguments[0], kLongestImport, text, problem)) {
        return call.refuse(Status::failed, problem);
    }
    std::vector<std::string> refusals;
    const std::vector<Assignment> assignments = readText(text, refusals);
    for (const std::string& refusal : refusals) {
        call.refuse(Status::rejected, refusal);
    }
    if (!refusals.empty()) {
        return call.refuse(Status::rejected, "nothing is changed");
    }
    ISensorController& controller = call.camera.controller();
    const NoSwitching guard(controller);
    const auto current = static_cast<u32>(call.camera.scheme());
    const std::size_t changes = countChanges(controller, assignments);
    const int result = setValues(controller, current, assignments);
    if (result != 0) {
        const u32 key = 0u - static_cast<u32>(result);
        return call.refuse(Status::rejected, "the layer refused " + keyName(key) +
                                                 " of the current scheme; nothing is saved");
    }
    std::set<u32> schemes;
    for (const Assignment& assignment : assignments) {
        schemes.insert(assignment.scheme);
    }
    Status status = Status::done;
    for (const u32 scheme : schemes) {
        const bool saved = checkSaved(controller, scheme) == 0;
        const int code = saved ? 0 : saveScheme(controller, scheme);
        if (code != 0) {
            status =
                call.refuse(Status::rejected, "scheme " + std::to_string(scheme) +
                                                  " is set but not saved: " + saveProblem(code));
        }
    }
    call.answer(std::to_string(assignments.size()) + " changed=" + std::to_string(changes));
    return status;
}

} // namespace host
