#include "SimulatedImageAdjust.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "EventThread.h"
#include "ImageAdjustRecords.h"
#include "SimulatedSensor.h"

namespace simulated_ia {
namespace {

using namespace image_adjust;

long long monotonicMicroseconds() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000LL + now.tv_nsec / 1000;
}

int localMinutes() {
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    return local.tm_hour * 60 + local.tm_min;
}

// Everything but the delay, the events and the observation is guarded by the lock.
struct Device {
    Device() {
        sensor.microseconds = monotonicMicroseconds;
        sensor.minutesOfDay = localMinutes;
    }

    std::mutex lock;
    SimulatedSensor sensor;
    unsigned long calls = 0;
    bool gone = false;
    long long goneAt = 0;
    std::atomic<unsigned int> delay{0};
    EventThread events;
    std::mutex observing; // of the observation
    Observation observation;
};

Device& device() {
    static Device instance;
    return instance;
}

typedef std::lock_guard<std::mutex> Guard;

// A set is told by a step's or a start's name; what it is at cannot be asked.
bool isStep(unsigned int cmd) {
    switch (cmd) {
        case CMD_IRIS_UP:
        case CMD_IRIS_DOWN:
        case CMD_FOCUS_ONCE:
        case CMD_FOCUS_NEAR:
        case CMD_FOCUS_FAR:
        case CMD_ZOOM_IN:
        case CMD_ZOOM_OUT:
        case CMD_LENS_RESET:
            return true;
        default:
            return false;
    }
}

class SimulatedLayer : public Layer {
public:
    int ioctl(unsigned int cmd, unsigned int opt, void* data) override {
        Device& d = simulated_ia::device();
        // Outside the lock: the calls of several threads take their time side by side.
        if (const unsigned int delay = d.delay) {
            std::this_thread::sleep_for(std::chrono::microseconds(delay));
        }
        const Guard guard(d.lock);
        ++d.calls;
        return d.gone ? static_cast<int>(IA_ERR_FAILED) : d.sensor.call(cmd, opt, data);
    }

    std::string name() const override { return "simulator"; }
    std::string device() const override { return "simulated motor zoom camera"; }

    DeviceState state(double* since) const override {
        Device& d = simulated_ia::device();
        const Guard guard(d.lock);
        if (since != nullptr) {
            *since = d.gone ? static_cast<double>(d.sensor.microseconds() - d.goneAt) / 1e6 : 0;
        }
        return d.gone ? DeviceState::Gone : DeviceState::Present;
    }

    int light() const override {
        Device& d = simulated_ia::device();
        const Guard guard(d.lock);
        return d.gone ? -1 : d.sensor.world.light;
    }

    CommandState about(unsigned int cmd) const override {
        CommandState about;
        const int row = findCommand(cmd);
        about.supported = row >= 0 || isReadOnly(cmd);
        about.readable = about.supported && !isStep(cmd);
        if (row < 0) {
            return about;
        }
        Device& d = simulated_ia::device();
        const Guard guard(d.lock);
        if (const Dependency* blocker = d.sensor.blocker(cmd)) {
            about.inactive = true;
            about.blocker = blocker->blocker;
            about.blockerCommand = blocker->master;
        }
        const char* failure = d.gone ? "the sensor is unplugged" : d.sensor.failure(row);
        about.lastFailure = failure != nullptr ? failure : "";
        return about;
    }

    void onEvent(std::function<void(const LayerEvent&)> listener) override {
        simulated_ia::device().events.listen(std::move(listener));
    }
};

} // namespace

std::shared_ptr<Layer> layer() {
    static const std::shared_ptr<Layer> instance = std::make_shared<SimulatedLayer>();
    return instance;
}

void reset() {
    observe(nullptr);
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.reset();
    d.calls = 0;
    d.gone = false;
    d.delay = 0;
}

void setTimeSource(long long (*microseconds)()) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.microseconds = microseconds != nullptr ? microseconds : monotonicMicroseconds;
}

void setTimeOfDaySource(int (*minutesOfDay)()) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.minutesOfDay = minutesOfDay != nullptr ? minutesOfDay : localMinutes;
}

void observe(std::function<void(const Call&)> observer) {
    // What it was goes last, after the lock: ending waits for an observer that
    // may come here itself.
    Observation observation = observer ? image_adjust::observe(std::move(observer)) : Observation();
    Device& d = device();
    const Guard guard(d.observing);
    d.observation.swap(observation);
}

unsigned long callCount() {
    Device& d = device();
    const Guard guard(d.lock);
    return d.calls;
}

void fail(unsigned int cmd, int code, unsigned int count) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.faults.failCommand(cmd, code, count);
}

std::vector<Fault> faults() {
    Device& d = device();
    const Guard guard(d.lock);
    std::vector<Fault> list;
    for (const auto& fault : d.sensor.faults.commands()) {
        list.push_back({fault.first, fault.second.code, fault.second.left});
    }
    return list;
}

std::vector<Restriction> restrictions() {
    Device& d = device();
    const Guard guard(d.lock);
    return d.sensor.restrictions.all();
}

void failNthCall(unsigned long n, int code) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.faults.failNth(n, code);
}

void setLight(unsigned int level) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.setLight(level);
}

void unplug() {
    Device& d = device();
    const Guard guard(d.lock);
    if (!d.gone) {
        d.gone = true;
        d.goneAt = d.sensor.microseconds();
        d.events.send({LayerEvent::Kind::DeviceGone, 0, 0});
    }
}

void plugIn() {
    Device& d = device();
    const Guard guard(d.lock);
    if (d.gone) {
        d.sensor.powerUp();
        d.gone = false;
        d.events.send({LayerEvent::Kind::DeviceBack, 0, 0});
    }
}

bool changeFromOutside(unsigned int cmd, int value) {
    Device& d = device();
    const Guard guard(d.lock);
    if (d.gone || !d.sensor.change(cmd, value)) {
        return false;
    }
    d.events.send({LayerEvent::Kind::ValueChanged, cmd, value});
    return true;
}

void setFog(unsigned int level) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.world.fog = static_cast<int>(std::min(level, 100U));
}

void setLamp(unsigned int level) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.world.lamp = static_cast<int>(std::min(level, 100U));
}

void setShake(unsigned int level) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.world.shake = static_cast<int>(std::min(level, 100U));
}

World world() {
    Device& d = device();
    const Guard guard(d.lock);
    return d.sensor.world;
}

SensorState sensorState(const Assumptions& assumptions) {
    Device& d = device();
    const Guard guard(d.lock);
    if (assumptions.empty()) {
        return d.sensor.state();
    }
    SimulatedSensor other = d.sensor;
    for (const auto& assumption : assumptions) {
        other.assume(assumption.first, assumption.second);
    }
    return other.state();
}

bool lampOn() {
    Device& d = device();
    const Guard guard(d.lock);
    return d.sensor.lampOn();
}

bool limit(unsigned int cmd, int defaultValue, const std::vector<int>& items) {
    Device& d = device();
    const Guard guard(d.lock);
    return d.sensor.restrictions.limit(cmd, defaultValue, items);
}

bool unlimit(unsigned int cmd) {
    Device& d = device();
    const Guard guard(d.lock);
    return d.sensor.restrictions.unlimit(cmd);
}

bool describe(unsigned int cmd, Range& range) {
    const int row = findCommand(cmd);
    if (row < 0) {
        return false;
    }
    const CommandRow& found = commandRow(row);
    range = Range{found.min, found.max, found.defaultValue, found.name};
    return true;
}

void setDelay(unsigned int microseconds) {
    device().delay = microseconds;
}

void setLie(const Lie& lie) {
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.lie = lie;
}

} // namespace simulated_ia
