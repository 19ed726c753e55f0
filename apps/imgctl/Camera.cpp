#include "Camera.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "DKDeviceTime.h"
#include "DeviceTree.h"
#include "DravikTime.h"
#include "Interrupt.h"
#include "LinuxFramework.h"
#include "MachineInfo.h"
#include "ModuleConfigure.h"
#include "ModuleConfigureParser.h"
#include "Schemes.h"
#include "SimulatedImageAdjust.h"
#include "SystemInfoParser.h"
#include "Text.h"

namespace host {
namespace {

const char kModuleList[] = "/hd1/moduleConfig/moduleConfig.xml";

int minutesOfDay() {
    const DKDeviceTime now = DKDeviceTime::getCurrentTime();
    return now.hour * 60 + now.minute;
}

/// The first entry of the module list for this machine; an empty one without the list, as a camera
/// starts all the same.
ModuleConfigure moduleOf(const Options& options) {
    MachineInfo machine;
    SystemInfoParser::parseMachineInfo(kMachineInfo, machine);
    std::vector<ModuleConfigure> modules;
    ModuleConfigureParser::parse(kModuleList, std::to_string(machine.getDeviceType()),
                                 machine.getModelName(), modules);
    ModuleConfigure module;
    if (modules.empty()) {
        std::fprintf(stderr, "imgctl: %s lists no module for device type %d\n", kModuleList,
                     machine.getDeviceType());
    } else {
        module = modules.front();
    }
    if (options.detailGiven) {
        module.setDetail(options.detail);
    }
    return module;
}

} // namespace

Camera::~Camera() {
    std::string ignored;
    stop(ignored);
}

bool Camera::stop(std::string& problem) {
    m_controller.uinit();
    m_controller.setVideoStreamModule(nullptr);
    simulated_ia::traceTo(nullptr);
    if (m_trace == nullptr) {
        return true;
    }
    m_video->traceTo(nullptr);
    const bool written = std::ferror(m_trace.get()) == 0;
    if (std::fclose(m_trace.release()) == 0 && written) {
        return true;
    }
    problem = "trace file " + quoted(m_traceName) + " could not be written";
    return false;
}

void Camera::startClock(const Options& options) {
    m_speed = options.speed > 0 ? options.speed : 1;
    if (options.clockGiven) {
        linux_framework::setClock(options.hour, options.minute, options.second, m_speed);
    } else if (options.speed > 0) {
        linux_framework::setClockSpeed(m_speed);
    }
    simulated_ia::setTimeSource(linux_framework::deviceMicroseconds);
    simulated_ia::setTimeOfDaySource(minutesOfDay);
}

bool Camera::start(const Options& options, std::string& problem) {
    if (!openDeviceTree(options.device.empty() ? defaultDeviceTree() : options.device, problem)) {
        return false;
    }
    if ((options.debugLevelGiven || options.abort) &&
        !writeSignFile(options.debugLevel, options.abort, problem)) {
        return false;
    }
    if (options.deviceType != 0 && !writeDeviceType(options.deviceType, problem)) {
        return false;
    }
    if (!options.trace.empty()) {
        m_traceName = options.trace;
        m_trace.reset(std::fopen(options.trace.c_str(), "we"));
        if (m_trace == nullptr) {
            problem = "trace file " + quoted(options.trace) + ": " + std::strerror(errno);
            return false;
        }
        simulated_ia::traceTo(m_trace.get());
    }
    startClock(options);
    m_fps = options.fps;
    m_video = std::make_unique<Video>(m_fps);
    m_video->traceTo(m_trace.get());
    m_controller.setVideoStreamModule(m_video.get());
    m_controller.init(moduleOf(options));
    m_uiTexts.provide();
    return true;
}

bool Camera::reset(std::string& problem) {
    const SchemeFilesOfBefore before;
    const bool done = m_controller.resetParameters();
    m_uiTexts.provide();
    const std::string left = before.left();
    if (!done) {
        problem = "the camera did not start again";
    } else if (!left.empty()) {
        // The library cannot tell: it has its files removed without hearing how that ended.
        problem = left + " could not be removed; what was saved before is still in force";
    }
    return problem.empty();
}

int Camera::scheme() {
    int number = -1;
    m_controller.getParamScheme(number);
    return number;
}

bool Camera::wait(double seconds) const {
    const auto span = static_cast<long long>(seconds * 1e6);
    const long long end = linux_framework::deviceMicroseconds() + span;
    // Slices of a tenth of a real second, so that an interrupt is seen soon at any speed.
    const auto slice = static_cast<long long>(std::max(m_speed * 1e5, 1.0));
    for (long long left = span; left > 0; left = end - linux_framework::deviceMicroseconds()) {
        if (takeInterrupt()) {
            return false;
        }
        const long long pause = std::min(left, slice);
        DravikTime::wait(
            DravikTime(static_cast<long>(pause / 1000000), static_cast<long>(pause % 1000000)));
    }
    return true;
}

} // namespace host
