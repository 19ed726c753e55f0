#include "CommandFunctions.h"
#include "SensorKeys.h"
#include "Shown.h"
#include "host/Text.h"

namespace imgctl {
namespace {

const char* const kMoves[] = {"focus-far", "focus-near", "iris-up",
                              "iris-down", "zoom-in",    "zoom-out"};

Status layerRefused(const Call& call) {
    return call.refuse(Status::failed, "the layer refused");
}

/// Carries an action out with the one number of a command, when it is given, and asks where the
/// lens stands.
/// @return true when there is nothing more to say; status is set then
bool acted(const Call& call, const char* action, Json& lens, Status& status) {
    int value = 0;
    if (!call.arguments.empty() && !host::readInt(call.arguments[0], value)) {
        status = call.refuse(Status::usage, host::quoted(call.arguments[0]) + " is no number");
        return true;
    }
    const Answer answer = call.arguments.empty() ? call.ask("POST", "/lens/read")
                                                 : call.ask("POST", std::string("/lens/") + action,
                                                            Json{{"value", value}});
    if (call.told(answer, status)) {
        return true;
    }
    lens = answer.document.value("lens", Json::object());
    return false;
}

/// " moving=1" while the movement that a command started is under way.
std::string moving(const Json& lens, const char* member) {
    const std::string moves = textOf(lens, member);
    return moves.empty() ? "" : moves == "true" ? " moving=1" : " moving=0";
}

} // namespace

std::string lensSynopsis() {
    std::string text;
    for (const char* move : kMoves) {
        text += (text.empty() ? "" : "|") + std::string(move);
    }
    return text;
}

Status runLens(const Call& call) {
    std::vector<std::string> names;
    for (const char* move : kMoves) {
        names.emplace_back(move);
        if (call.arguments[0] != move) {
            continue;
        }
        const Answer answer = call.ask("POST", std::string("/lens/") + move);
        Status status = Status::done;
        if (!call.json) {
            call.answer(std::string(move) + " " + word(statusOf(answer)));
        }
        if (call.json || !answer.good()) {
            call.told(answer, status);
        }
        return status;
    }
    return call.refuse(Status::usage,
                       "no movement " + host::quoted(call.arguments[0]) +
                           host::didYouMean(host::lowered(call.arguments[0]), names) +
                           " (allowed: " + lensSynopsis() + ")");
}

Status runZoom(const Call& call) {
    Json lens;
    Status status = Status::done;
    if (acted(call, "zoom-to", lens, status)) {
        return status;
    }
    const std::string position = numberOf(lens, "zoom", "");
    if (position.empty()) {
        return layerRefused(call);
    }
    call.answer("position=" + position + " ratio=" + numberOf(lens, "zoom_ratio") +
                moving(lens, "zoom_moves"));
    return status;
}

Status runFocus(const Call& call) {
    Json lens;
    Status status = Status::done;
    if (acted(call, "focus-to", lens, status)) {
        return status;
    }
    const std::string position = numberOf(lens, "focus", "");
    if (position.empty()) {
        return layerRefused(call);
    }
    call.answer("position=" + position + moving(lens, "focus_moves"));
    return status;
}

Status runFocusMode(const Call& call) {
    Json lens;
    Status status = Status::done;
    if (acted(call, "focus-mode", lens, status)) {
        return status;
    }
    const std::string mode = numberOf(lens, "focus_mode", "");
    if (mode.empty()) {
        return layerRefused(call);
    }
    call.answer(mode);
    return status;
}

Status runPtz(const Call& call) {
    Json lens;
    Status status = Status::done;
    if (!acted(call, "pan-tilt", lens, status)) {
        call.answer(call.arguments[0]);
    }
    return status;
}

Status runAf(const Call& call) {
    Json lens;
    Status status = Status::done;
    if (acted(call, "read", lens, status)) {
        return status;
    }
    const std::string sharpness = numberOf(lens, "sharpness", "");
    if (sharpness.empty()) {
        return layerRefused(call);
    }
    call.answer(sharpness);
    return status;
}

Status runWdr(const Call& call) {
    int value = 0;
    if (!call.arguments.empty()) {
        if (!host::readIntWithin(call.arguments[0], 0, 1, value)) {
            return call.refuse(Status::usage, host::quoted(call.arguments[0]) +
                                                  " is not allowed; allowed: 0 or 1");
        }
    }
    Status status = Status::done;
    if (!call.arguments.empty()) {
        const Answer answer = call.ask("PUT", "/wide-dynamic-range", Json{{"allowed", value == 1}});
        if (!answer.good() && call.told(answer, status)) {
            return status;
        }
    }
    const Answer camera = call.ask("GET", "/camera");
    const Answer mode = call.ask("GET", "/parameters/" + std::to_string(KEY_WDR_MODE));
    for (const Answer& answer : {camera, mode}) {
        if (!answer.good()) {
            call.told(answer, status);
            return status;
        }
    }
    if (call.told(mode, status)) {
        return status;
    }
    const std::string hardware = numberOf(mode.document, "hardware", "");
    if (hardware.empty()) {
        return layerRefused(call);
    }
    call.answer("mode=" + hardware + " allowed=" +
                (camera.document.value("wide_dynamic_range_allowed", false) ? "1" : "0"));
    return status;
}

Status runDayNight(const Call& call) {
    const Answer answer = call.ask("GET", "/camera");
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    const std::string night = textOf(answer.document, "day_night");
    if (night.empty()) {
        return layerRefused(call);
    }
    call.answer(night == "night" ? "1" : "0");
    return status;
}

Status runMirror(const Call& call) {
    const Answer answer = call.ask("GET", "/parameters/" + std::to_string(KEY_MIRROR));
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    const std::string mirror = numberOf(answer.document, "value", "");
    if (mirror.empty()) {
        return layerRefused(call);
    }
    call.answer(mirror);
    return status;
}

Status runVersion(const Call& call) {
    const Answer answer = call.ask("GET", "/camera");
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    const std::string version = textOf(answer.document["layer"], "version");
    if (version.empty()) {
        return layerRefused(call);
    }
    call.answer(version);
    return status;
}

} // namespace imgctl
