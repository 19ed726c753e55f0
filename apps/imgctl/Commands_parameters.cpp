#include "CommandFunctions.h"
#include "SensorKeys.h"
#include "Words.h"
#include "host/Sentences.h"
#include "host/Text.h"

namespace imgctl {
namespace {

using host::KeyOutcome;
using host::KeyResult;
using host::Outcome;
using host::Result;

/// Minus the key that was refused, as the library answers; 0 for none.
long long code(const Outcome& outcome) {
    for (const KeyOutcome& key : outcome.keys) {
        if (key.result == KeyResult::Refused) {
            return -static_cast<long long>(static_cast<int>(key.key));
        }
    }
    return 0;
}

/// Why a key was refused, with what it takes.
std::string refusalText(const host::Snapshot& now, const KeyOutcome& key) {
    const host::Refusal& refusal = key.refusal;
    const bool range = refusal.reason == host::Reason::Range && refusal.allowed;
    return keyName(now, key.key) + " = " + std::to_string(key.wanted) + " was refused" +
           (range ? "; it takes " + refusal.allowed->text() : ": " + host::reasonText(refusal));
}

Status applyPairs(const Call& call, bool record) {
    const auto now = call.camera.snapshot();
    std::vector<host::Pair> pairs;
    std::string problem;
    switch (readPairs(*now, call.arguments[0], pairs, problem)) {
        case PairResult::malformed:
            return call.refuse(Status::usage, problem);
        case PairResult::unknownKey:
            return call.refuse(Status::rejected, problem);
        case PairResult::good:
            break;
    }
    const std::size_t most = now->catalogue->schemeKeys.size();
    if (pairs.size() > most) {
        return call.refuse(Status::usage, std::to_string(pairs.size()) + " parameters; at most " +
                                              std::to_string(most) + " are taken at once");
    }
    host::SetValues set;
    set.values = pairs;
    const Outcome outcome =
        record ? call.perform(set) : call.perform(host::ApplyValues{std::move(pairs)});
    if (outcome.keys.empty() && !outcome.done()) {
        return call.refuse(outcome);
    }
    call.answer(std::to_string(code(outcome)));
    bool notRecorded = false;
    for (const KeyOutcome& key : outcome.keys) {
        if (key.result == KeyResult::Refused) {
            call.note(refusalText(*now, key));
        } else if (key.result == KeyResult::TakenDifferently) {
            call.note(host::sentence(*now, key));
        }
        notRecorded = notRecorded || key.result == KeyResult::NotRecorded;
    }
    if (!outcome.done()) {
        return Status::rejected;
    }
    if (record && notRecorded) {
        call.note("applied, but not recorded: the default scheme is in force");
    }
    return Status::done;
}

std::string pairText(u32 key, int value) {
    return "(" + std::to_string(static_cast<int>(key)) + "," + std::to_string(value) + ")";
}

} // namespace

Status runSet(const Call& call) {
    return applyPairs(call, true);
}

Status runApply(const Call& call) {
    return applyPairs(call, false);
}

Status runGet(const Call& call) {
    const auto now = call.camera.snapshot();
    std::vector<u32> keys;
    std::string problem;
    const std::string& argument = call.arguments[0];
    if (!readQuery(*now, argument, keys, problem)) {
        return call.refuse(Status::usage, problem);
    }
    const Outcome outcome = call.perform(host::ReadKeys{keys});
    std::string answer;
    std::size_t missing = 0;
    for (const u32 key : keys) {
        const auto value = outcome.values.find(key);
        if (value == outcome.values.end()) {
            ++missing;
        } else {
            answer += pairText(key, value->second);
        }
    }
    if (keys.size() == 1 && missing == 1) {
        return call.refuse(Status::failed, "the layer does not tell " + keyName(*now, keys[0]));
    }
    call.answer(answer);
    return missing == 0 ? Status::done
                        : call.refuse(Status::failed,
                                      std::to_string(missing) + " of the keys cannot be read");
}

Status runAll(const Call& call) {
    const Outcome outcome = call.perform(host::CorrectScheme{});
    call.answer(outcome.text);
    return outcome.done() ? Status::done : call.refuse(outcome);
}

Status runRestore(const Call& call) {
    const auto now = call.camera.snapshot();
    u32 key = 0;
    std::string problem;
    if (!readKey(*now, call.arguments[0], key, problem)) {
        return call.refuse(Status::rejected, problem);
    }
    const Outcome outcome = call.perform(host::Restore{{key}});
    const bool missing = outcome.refusal.reason == host::Reason::NotInScheme ||
                         outcome.refusal.reason == host::Reason::UnknownKey;
    call.answer(std::to_string(missing ? -1 : code(outcome)));
    if (missing) {
        return call.refuse(Status::rejected, keyName(*now, key) + " is not in the current scheme");
    }
    return outcome.result == Result::Refused
               ? call.refuse(Status::rejected, refusalText(*now, outcome.keys.front()))
               : Status::done;
}

Status runRestoreAe(const Call& call) {
    const Outcome outcome = call.perform(host::Restore{{KEY_EXPOSE_MODE, KEY_AUTO_FOCUS_MODE}});
    const bool done = code(outcome) == 0;
    call.answer(done ? "1" : "0");
    return done ? Status::done
                : call.refuse(Status::rejected,
                              "exposure mode or focus mode was refused, or is not in the current "
                              "scheme: " +
                                  host::reasonText(outcome.refusal));
}

Status runReload(const Call& call) {
    const Outcome outcome = call.perform(host::Reload{});
    call.answer(outcome.done() ? "1" : "0");
    return outcome.done() ? Status::done
                          : call.refuse(Status::failed,
                                        "a saved value was refused; those behind it are not "
                                        "applied: " +
                                            host::reasonText(outcome.refusal));
}

Status runReset(const Call& call) {
    const Outcome outcome = call.perform(host::Reset{});
    call.answer(outcome.done() ? "1" : "0");
    return outcome.done() ? Status::done
                          : call.refuse(Status::failed, host::reasonText(outcome.refusal));
}

} // namespace imgctl
