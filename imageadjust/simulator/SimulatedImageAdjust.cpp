#include "SimulatedImageAdjust.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "CallTrace.h"
#include "ImageAdjust.h"
#include "SimulatedSensor.h"

namespace simulated_ia {
namespace {

typedef std::function<void(const Call&)> Observer;

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

// Everything but the delay is guarded by the lock.
struct Device {
    Device() {
        sensor.microseconds = monotonicMicroseconds;
        sensor.minutesOfDay = localMinutes;
    }

    std::mutex lock;
    SimulatedSensor sensor;
    unsigned long calls = 0;
    FILE* trace = nullptr;
    std::shared_ptr<const Observer> observer; // shared, so that a call copies it without allocating
    std::atomic<unsigned int> delay{0};
};

Device& device() {
    static Device instance;
    return instance;
}

typedef std::lock_guard<std::mutex> Guard;

} // namespace

void reset() {
    std::shared_ptr<const Observer> old; // goes after the lock: its captures are the host's
    Device& d = device();
    const Guard guard(d.lock);
    d.sensor.reset();
    d.calls = 0;
    d.trace = nullptr;
    d.observer.swap(old);
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

void traceTo(FILE* file) {
    Device& d = device();
    const Guard guard(d.lock);
    d.trace = file;
}

void observe(std::function<void(const Call&)> observer) {
    std::shared_ptr<const Observer> shared;
    if (observer) {
        shared = std::make_shared<const Observer>(std::move(observer));
    }
    Device& d = device();
    const Guard guard(d.lock);
    d.observer.swap(shared);
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

extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data) {
    using namespace simulated_ia;
    Device& d = device();
    // Outside the lock: the calls of several threads take their time side by side.
    if (const unsigned int delay = d.delay) {
        std::this_thread::sleep_for(std::chrono::microseconds(delay));
    }
    Words in;
    Words out;
    int result = 0;
    std::shared_ptr<const Observer> observer;
    {
        const Guard guard(d.lock);
        ++d.calls;
        result = d.sensor.call(cmd, opt, data, in, out);
        if (d.trace != nullptr) {
            writeTrace(d.trace, cmd, opt, in, out, result);
        }
        observer = d.observer;
    }
    if (observer) {
        (*observer)(Call{cmd, opt, std::vector<int>(in.word, in.word + in.count),
                         std::vector<int>(out.word, out.word + out.count), result});
    }
    return result;
}
