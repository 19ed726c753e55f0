#include "host/Sentences.h"

#include "host/Names.h"
#include "host/Text.h"

namespace host {
namespace {

std::string keptInForce(const Parameter& parameter, const KeyOutcome& outcome, int language) {
    return outcome.before
               ? " " + valueText(parameter, *outcome.before, language) + " stays in force."
               : std::string();
}

} // namespace

std::string reasonText(const Refusal& refusal) {
    const std::string takes = refusal.allowed ? "; it takes " + refusal.allowed->text() : "";
    const std::string more = refusal.detail.empty() ? "" : ": " + refusal.detail;
    const std::string code =
        refusal.code == 0 ? "" : " (code " + std::to_string(refusal.code) + ")";
    switch (refusal.reason) {
        case Reason::None:
            return "";
        case Reason::Range:
            return "out of range" + takes;
        case Reason::Choices:
            return "not among what is allowed" + takes;
        case Reason::LayerFault:
            return "the layer failed" + code + more;
        case Reason::Blocked:
            return refusal.detail.empty() ? "something else must change first" : refusal.detail;
        case Reason::Busy:
            return "the device is busy" + more;
        case Reason::Gone:
            return "the camera is not there" + more;
        case Reason::Unsupported:
            return "this camera has no such control" + more;
        case Reason::UnknownKey:
            return "no such key ('keys' lists them)";
        case Reason::NotInScheme:
            return "it is in no scheme of this camera" + more;
        case Reason::NoScheme:
            return refusal.detail.empty() ? "no such scheme" : refusal.detail;
        case Reason::Conflict:
            return "another scheme is in force" + more;
        case Reason::Newer:
            return "it was changed again since" + more;
        case Reason::Nothing:
            return refusal.detail.empty() ? "there is nothing to do it to" : refusal.detail;
        case Reason::Stopping:
            return "the camera is being switched off";
        case Reason::Window:
        case Reason::Storage:
        case Reason::Text:
            return refusal.detail;
    }
    return refusal.detail;
}

std::string sentence(const Snapshot& snapshot, const KeyOutcome& outcome, int language) {
    const Parameter* known = snapshot.parameter(outcome.key);
    Parameter unknown;
    unknown.shortName = std::to_string(static_cast<int>(outcome.key));
    const Parameter& parameter = known == nullptr ? unknown : *known;
    const std::string label = parameter.label(language);
    const std::string wanted = valueText(parameter, outcome.wanted, language);
    const std::string in =
        outcome.scheme < 0 ? std::string() : " in " + schemeTitle(snapshot, outcome.scheme);
    const Value* const value = snapshot.value(outcome.key);
    const std::string idle = value != nullptr && !outcome.dryRun && outcome.scheme < 0 &&
                                     value->block.reason == Reason::Blocked
                                 ? " It has no effect now: " + reasonText(value->block) + "."
                                 : std::string();
    switch (outcome.result) {
        case KeyResult::AlreadyInForce:
            return label + " is " + wanted + in + " already." + idle;
        case KeyResult::Changed:
            return label + " is " + wanted + in + " now." + idle;
        case KeyResult::TakenDifferently:
            return label + ": asked " + wanted + ", the camera took " +
                   (outcome.taken ? valueText(parameter, *outcome.taken, language)
                                  : std::string("another value")) +
                   ".";
        case KeyResult::NotRecorded:
            return label + " is " + wanted +
                   (value != nullptr && value->onTrial ? " on trial" : " until the next switch") +
                   "; it is not recorded." + idle;
        case KeyResult::NotPartOfScheme:
            return label + " is " + wanted + " now; it is in no scheme, so it is not saved.";
        case KeyResult::NotTried:
            return label + " was not tried" +
                   (outcome.refusal.reason == Reason::None ? ""
                                                           : ": " + reasonText(outcome.refusal)) +
                   ".";
        case KeyResult::Refused:
            break;
    }
    const Refusal& refusal = outcome.refusal;
    if (refusal.reason == Reason::Range || refusal.reason == Reason::Choices) {
        const std::string allowed =
            allowedText(parameter, refusal.allowed ? refusal.allowed : parameter.style, language);
        return label + " takes " + allowed + "; " + wanted + " was refused." +
               keptInForce(parameter, outcome, language);
    }
    return label + " = " + wanted + " was refused: " + reasonText(refusal) + "." +
           keptInForce(parameter, outcome, language);
}

std::string sentence(const SchemeOutcome& outcome) {
    const std::string scheme = "scheme " + std::to_string(outcome.scheme);
    return outcome.saved ? scheme + " is saved"
                         : scheme + " is not saved: " + reasonText(outcome.refusal);
}

const char* name(Cause cause) {
    switch (cause) {
        case Cause::Start:
            return "start";
        case Cause::Request:
            return "request";
        case Cause::Schedule:
            return "schedule";
        case Cause::DayNight:
            return "day-night";
        case Cause::Trial:
            return "trial";
        case Cause::Restore:
            return "restore";
        case Cause::Reset:
            return "reset";
        case Cause::Device:
            return "device";
    }
    return "";
}

const char* name(KeyResult result) {
    switch (result) {
        case KeyResult::AlreadyInForce:
            return "already in force";
        case KeyResult::Changed:
            return "changed";
        case KeyResult::TakenDifferently:
            return "taken differently";
        case KeyResult::NotRecorded:
            return "not recorded";
        case KeyResult::NotPartOfScheme:
            return "not part of a scheme";
        case KeyResult::Refused:
            return "refused";
        case KeyResult::NotTried:
            return "not tried";
    }
    return "";
}

const char* name(Reason reason) {
    static const char* const names[] = {
        "none",   "range",       "choices",     "layer fault",   "blocked",   "busy",
        "gone",   "unsupported", "unknown key", "not in scheme", "no scheme", "conflict",
        "window", "storage",     "text",        "newer",         "nothing",   "stopping"};
    static_assert(sizeof names / sizeof *names == static_cast<std::size_t>(Reason::Stopping) + 1);
    return names[static_cast<std::size_t>(reason)];
}

} // namespace host
