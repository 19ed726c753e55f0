#include <cstdlib>

#include "CommandFunctions.h"
#include "ImageAdjust.h"
#include "Interrupt.h"
#include "host/SchemeFiles.h"
#include "host/Sentences.h"
#include "host/Text.h"

namespace imgctl {
namespace {

constexpr double kLongestWait = 1e7;

std::string field(const char* name, long long value) {
    return std::string(" ") + name + "=" + std::to_string(value);
}

int timedSchemes(const Call& call) {
    return static_cast<int>(call.camera.snapshot()->schemes.size()) - 1;
}

} // namespace

Status runScheme(const Call& call) {
    if (call.arguments.empty()) {
        // Asked of the controller thread: the clock may have switched since the last snapshot.
        call.answer(std::to_string(call.perform(host::Refresh{}).scheme));
        return Status::done;
    }
    const int last = timedSchemes(call);
    int number = 0;
    if (!host::readIntWithin(call.arguments[0], 0, last, number)) {
        return call.refuse(Status::usage, "no scheme " + host::quoted(call.arguments[0]) +
                                              "; allowed: 0 .. " + std::to_string(last) + " (" +
                                              std::to_string(last) + " is the default scheme)");
    }
    const host::Outcome outcome = call.perform(host::SwitchScheme{number});
    if (!outcome.done()) {
        return call.refuse(outcome);
    }
    call.answer(std::to_string(outcome.scheme));
    return Status::done;
}

Status runMode(const Call& call) {
    int mode = 0;
    if (!call.arguments.empty()) {
        if (!host::readIntWithin(call.arguments[0], 0, 1, mode)) {
            return call.refuse(Status::usage,
                               "no mode " + host::quoted(call.arguments[0]) + "; allowed: 0 or 1");
        }
        call.perform(host::SetMode{mode == 1});
    }
    call.answer(call.camera.snapshot()->bySchedule ? "1" : "0");
    return Status::done;
}

Status runFlush(const Call& call) {
    const int scheme = call.perform(host::Refresh{}).scheme;
    if (scheme >= timedSchemes(call)) {
        call.answer("0");
        call.note("the default scheme is never saved");
        return Status::done;
    }
    host::Save save;
    save.scheme = scheme;
    const host::Outcome outcome = call.perform(save);
    const bool window = outcome.refusal.reason == host::Reason::Window;
    call.answer(std::to_string(window ? outcome.refusal.code : 0));
    if (outcome.done()) {
        return Status::done;
    }
    return outcome.schemes.empty()
               ? call.refuse(outcome)
               : call.refuse(Status::failed, host::sentence(outcome.schemes.front()));
}

Status runWait(const Call& call) {
    const std::string& text = call.arguments[0];
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0' || !(seconds >= 0 && seconds <= kLongestWait)) {
        return call.refuse(Status::usage, host::quoted(text) +
                                              " is no number of seconds; allowed: 0 .. " +
                                              std::to_string(static_cast<long>(kLongestWait)));
    }
    if (!call.camera.wait(seconds, takeInterrupt)) {
        return call.refuse(Status::failed, "interrupted");
    }
    call.answer(text);
    return Status::done;
}

Status runStatus(const Call& call) {
    const host::Outcome night = call.perform(host::ReadKeys{{IA_CMD_DN_STATE}, true});
    const auto now = call.camera.snapshot();
    const int timed = static_cast<int>(now->schemes.size()) - 1;
    const int due = host::schemeAt(now->schemes, now->time.minuteOfDay());
    const auto state = night.values.find(IA_CMD_DN_STATE);
    const host::Scheme& inForce = now->schemes[static_cast<std::size_t>(now->scheme)];
    call.answer("scheme=" + std::to_string(now->scheme) + field("mode", now->bySchedule ? 1 : 0) +
                field("schemes", timed) +
                field("parameters", static_cast<long long>(now->catalogue->schemeKeys.size())) +
                " time=" + host::clockText(host::cameraTime()) + field("due", due) +
                field("in-window", due < timed ? 1 : 0) + " day-night=" +
                (state == night.values.end() ? "-" : std::to_string(state->second)) +
                field("device-type", now->deviceType) + field("module", now->moduleId) +
                field("started", 1) +
                " window-check=" + (inForce.timed ? std::to_string(inForce.windowFault) : "-") +
                field("fps", now->framesPerSecond) + " detail=" + host::jsonString(now->detail) +
                " version=" + host::jsonString(now->layer.version));
    return Status::done;
}

} // namespace imgctl
