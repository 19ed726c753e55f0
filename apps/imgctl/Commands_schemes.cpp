#include "CommandFunctions.h"

#include <cstdio>
#include <cstdlib>

#include "Camera.h"
#include "DKDeviceTime.h"
#include "Schemes.h"
#include "SensorConfig.h"
#include "Text.h"

namespace host {
namespace {

constexpr double kLongestWait = 1e7;

std::string field(const char* name, long long value) {
    return std::string(" ") + name + "=" + std::to_string(value);
}

std::string timeOfDay() {
    const DKDeviceTime now = DKDeviceTime::getCurrentTime();
    char text[16];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u", now.hour & 0xffu, now.minute & 0xffu,
                  now.second & 0xffu);
    return text;
}

} // namespace

Status runScheme(const Call& call) {
    if (!call.arguments.empty()) {
        const int last = static_cast<int>(g_stSysConf.nSchemeSum);
        int number = 0;
        if (!readIntWithin(call.arguments[0], 0, last, number)) {
            return call.refuse(Status::usage, "no scheme " + quoted(call.arguments[0]) +
                                                  "; allowed: 0 .. " + std::to_string(last) + " (" +
                                                  std::to_string(last) + " is the default scheme)");
        }
        call.camera.controller().setParamScheme(number);
    }
    call.answer(std::to_string(call.camera.scheme()));
    return Status::done;
}

Status runMode(const Call& call) {
    ISensorController& controller = call.camera.controller();
    int mode = 0;
    if (!call.arguments.empty()) {
        if (!readIntWithin(call.arguments[0], 0, 1, mode)) {
            return call.refuse(Status::usage,
                               "no mode " + quoted(call.arguments[0]) + "; allowed: 0 or 1");
        }
        controller.setParamMode(mode);
    }
    controller.getParamMode(mode);
    call.answer(std::to_string(mode));
    return Status::done;
}

Status runFlush(const Call& call) {
    ISensorController& controller = call.camera.controller();
    const auto scheme = static_cast<u32>(call.camera.scheme());
    int result = controller.flush();
    call.answer(std::to_string(result));
    if (scheme >= g_stSysConf.nSchemeSum) {
        call.note("the default scheme is never saved");
        return Status::done;
    }
    if (result == 0 && call.camera.scheme() == static_cast<int>(scheme)) {
        // A file that could not be written is reported by the library, not told by its result.
        result = checkSaved(controller, scheme);
    }
    return result == 0 ? Status::done
                       : call.refuse(Status::failed, "scheme " + std::to_string(scheme) +
                                                         " is not saved: " + saveProblem(result));
}

Status runWait(const Call& call) {
    const std::string& text = call.arguments[0];
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0' || !(seconds >= 0 && seconds <= kLongestWait)) {
        return call.refuse(Status::usage, quoted(text) +
                                              " is no number of seconds; allowed: 0 .. " +
                                              std::to_string(static_cast<long>(kLongestWait)));
    }
    if (!call.camera.wait(seconds)) {
        return call.refuse(Status::failed, "interrupted");
    }
    call.answer(text);
    return Status::done;
}

Status runStatus(const Call& call) {
    ISensorController& controller = call.camera.controller();
    int mode = 0;
    int night = 0;
    int due = 0;
    int inWindow = 0;
    std::string version;
    controller.getParamMode(mode);
    controller.judgeCurScheme(due, inWindow);
    const bool nightKnown = controller.getDNMode(night);
    controller.getCameraVerInf(version);
    const int scheme = call.camera.scheme();
    const bool timed = static_cast<u32>(scheme) < g_stSysConf.nSchemeSum;
    call.answer("scheme=" + std::to_string(scheme) + field("mode", mode) +
                field("schemes", g_stSysConf.nSchemeSum) +
                field("parameters", recordCount(controller)) + " time=" + timeOfDay() +
                field("due", due) + field("in-window", inWindow) +
                " day-night=" + (nightKnown ? std::to_string(night) : "-") +
                field("device-type", g_stSysConf.nDeviceType) +
                field("module", controller.getSensorType()) +
                field("started", controller.getSensorStatus() ? 1 : 0) +
                " window-check=" + (timed ? std::to_string(controller.paramCheck()) : "-") +
                field("fps", call.camera.framesPerSecond()) + " detail=" +
                jsonString(g_stSysConf.moduleConfig.szDetail) + " version=" + jsonString(version));
    return Status::done;
}

} // namespace host
