#include "CommandFunctions.h"

#include <algorithm>

#include "Camera.h"
#include "KeyNames.h"
#include "Schemes.h"
#include "SensorConfig.h"
#include "Text.h"

namespace host {
namespace {

/// Why a batch ended with minus a key.
std::string refusal(const std::vector<KeyVal>& pairs, int result) {
    const u32 key = 0u - static_cast<u32>(result);
    const u32* value = valueOf(pairs, key);
    if (value == nullptr) {
        return "key " + keyName(key) + " was refused";
    }
    const std::string text = " = " + std::to_string(static_cast<int>(*value)) + " was refused";
    const keycmd* row = keyRow(key);
    return keyName(key) + text +
           (row == nullptr ? ": no such key ('keys' lists them)" : allowedFor(row->ia_cmd));
}

Status applyPairs(const Call& call, bool record) {
    std::vector<KeyVal> pairs;
    std::string text;
    std::string problem;
    switch (readPairs(call.arguments[0], pairs, text, problem)) {
        case PairResult::malformed:
            return call.refuse(Status::usage, problem);
        case PairResult::unknownKey:
            return call.refuse(Status::rejected, problem);
        case PairResult::good:
            break;
    }
    ISensorController& controller = call.camera.controller();
    const u32 most = recordCount(controller);
    if (pairs.size() > most) {
        return call.refuse(Status::usage, std::to_string(pairs.size()) + " parameters; at most " +
                                              std::to_string(most) + " are taken at once");
    }
    int result = 0;
    if (pairs.size() == 1 && text != call.arguments[0]) {
        result = controller.setParameter(static_cast<int>(pairs[0].key),
                                         static_cast<int>(pairs[0].value), record);
    } else {
        result = controller.setParameters(text, record);
    }
    call.answer(std::to_string(result));
    // Minus key 0 cannot be told from success; no camera has that key.
    if (result != 0 || valueOf(pairs, 0) != nullptr) {
        return call.refuse(Status::rejected, refusal(pairs, result));
    }
    if (record && static_cast<u32>(call.camera.scheme()) >= g_stSysConf.nSchemeSum) {
        call.note("applied, but not recorded: the default scheme is in force");
    }
    return Status::done;
}

/// Answers with the result of an operation that gives true or false.
Status answerBool(const Call& call, bool result, Status otherwise, const char* problem) {
    call.answer(result ? "1" : "0");
    return result ? Status::done : call.refuse(otherwise, problem);
}

Status getOne(const Call& call, u32 key) {
    int value = 0;
    if (!call.camera.controller().getParameter(static_cast<int>(key), value)) {
        return call.refuse(Status::failed, "the layer does not tell " + keyName(key));
    }
    call.answer("(" + std::to_string(static_cast<int>(key)) + "," + std::to_string(value) + ")");
    return Status::done;
}

} // namespace

Status runSet(const Call& call) {
    return applyPairs(call, true);
}

Status runApply(const Call& call) {
    return applyPairs(call, false);
}

Status runGet(const Call& call) {
    std::string query;
    std::string problem;
    const std::string& argument = call.arguments[0];
    const bool several = argument.find_first_of("(, \t") != std::string::npos;
    if (!several) {
        u32 key = 0;
        return readKey(argument, key, problem) ? getOne(call, key)
                                               : call.refuse(Status::usage, problem);
    }
    if (!readQuery(argument, query, problem)) {
        return call.refuse(Status::usage, problem);
    }
    ISensorController& controller = call.camera.controller();
    std::vector<std::string> asked;
    std::string answer;
    if (!controller.parseSensorParameter(query, asked) ||
        !controller.getParameters(query, answer)) {
        return call.refuse(Status::usage,
                           quoted(argument) + " is no query; allowed: KEY or (KEY,KEY,...)");
    }
    call.answer(answer);
    const auto answered = static_cast<std::size_t>(std::count(answer.begin(), answer.end(), '('));
    return answered == asked.size()
               ? Status::done
               : call.refuse(Status::failed, std::to_string(asked.size() - answered) +
                                                 " of the keys cannot be read");
}

Status runAll(const Call& call) {
    std::string text;
    call.camera.controller().getAllParameters(text);
    call.answer(text);
    return Status::done;
}

Status runRestore(const Call& call) {
    u32 key = 0;
    std::string problem;
    if (!readKey(call.arguments[0], key, problem)) {
        return call.refuse(Status::rejected, problem);
    }
    const int result = call.camera.controller().restore(static_cast<int>(key));
    call.answer(std::to_string(result));
    return result == 0 ? Status::done
                       : call.refuse(Status::rejected,
                                     keyName(key) + (result == -1 ? " is not in the current scheme"
                                                                  : " was refused"));
}

Status runRestoreAe(const Call& call) {
    return answerBool(call, call.camera.controller().restoreAeMode(), Status::rejected,
                      "exposure mode or focus mode was refused, or is not in the current scheme");
}

Status runReload(const Call& call) {
    return answerBool(call, call.camera.controller().resetToLastParameters(), Status::failed,
                      "a saved value was refused; those behind it are not applied");
}

Status runReset(const Call& call) {
    std::string problem;
    const bool done = call.camera.reset(problem);
    return answerBool(call, done, Status::failed, problem.c_str());
}

} // namespace host
