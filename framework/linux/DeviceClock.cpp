#include "DKDeviceTime.h"

#include <time.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "DravikTime.h"
#include "LinuxFramework.h"
#include "StopRequest.h"

namespace {

using linux_framework::StopRequest;

constexpr long long kSecond = 1000000; // microseconds
constexpr long long kDay = 86400 * kSecond;
// Spans and elapsed time stop here, so that the sum of two still fits.
constexpr long long kEver = 4000000000000000000;

long long monotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kSecond + now.tv_nsec / 1000;
}

/// The machine's local time in microseconds since 1970-01-01 00:00 local time; not below 0, as it
/// would be west of Greenwich on a board whose clock was never set.
long long machineLocalNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    const long long seconds = static_cast<long long>(now.tv_sec) + local.tm_gmtoff;
    return std::max(seconds, 0LL) * kSecond + now.tv_nsec / 1000;
}

/// Device time only ever runs forward, at the set speed; what the clock shows is another matter:
/// the machine's local time, or device time plus an offset.
class Clock {
public:
    // Never destroyed: a thread may still pause while the process exits.
    static Clock& instance() {
        static Clock& clock = *new Clock;
        return clock;
    }

    long long elapsed() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return now();
    }

    long long shown() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return shownNow();
    }

    /// @param timeOfDay  microseconds since midnight, or below 0 to keep the time shown
    void simulate(long long timeOfDay, double speed) {
        const std::lock_guard<std::mutex> guard(m_lock);
        run(speed);
        // A clock that keeps its time keeps its offset: none of its time is lost however often the
        // speed is set, and however long that takes.
        if (timeOfDay >= 0)
            m_nOffset = machineLocalNow() / kDay * kDay + timeOfDay - m_nBase;
        else if (!m_bSimulated)
            m_nOffset = machineLocalNow() - m_nBase;
        m_bSimulated = true;
    }

    void followMachine() {
        const std::lock_guard<std::mutex> guard(m_lock);
        run(1.0);
        m_bSimulated = false;
    }

    void pause(long long span, const StopRequest* request) {
        std::unique_lock<std::mutex> guard(m_lock);
        const long long end = now() + span;
        while (!(request != nullptr && request->raised())) {
            const long long left = end - now();
            if (left <= 0) {
                return;
            }
            // In steps of an hour: the system's own arithmetic on far deadlines may overflow.
            const double real = std::min(static_cast<double>(left) / m_fSpeed, 3600e6);
            m_changed.wait_for(guard, std::chrono::microseconds(static_cast<long long>(real) + 1));
        }
    }

    template <typename Change>
    void wakeAfter(Change change) {
        const std::lock_guard<std::mutex> guard(m_lock);
        change();
        m_changed.notify_all();
    }

private:
    long long now() const { return at(monotonicNow()); }

    long long at(long long monotonic) const {
        const double run = static_cast<double>(monotonic - m_nSince) * m_fSpeed;
        const long long ran =
            run < static_cast<double>(kEver) ? static_cast<long long>(run) : kEver;
        return std::min(m_nBase + ran, kEver);
    }

    long long shownNow() const { return m_bSimulated ? now() + m_nOffset : machineLocalNow(); }

    void run(double speed) {
        const long long monotonic = monotonicNow();
        m_nBase = at(monotonic);
        m_nSince = monotonic;
        m_fSpeed = speed;
        m_changed.notify_all();
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    long long m_nSince = monotonicNow(); // when the speed was set
    long long m_nBase = 0;               // device time at that moment
    double m_fSpeed = 1.0;
    bool m_bSimulated = false;
    long long m_nOffset = 0; // simulated: local time minus device time
};

thread_local const StopRequest* t_request = nullptr;

/// Our own calendar: a fast clock leaves the range of a 32-bit time_t, and
/// so of gmtime, in no time.
void setDate(long long daysSince1970, DKDeviceTime& time) {
    // Years that begin in March put the leap day last.
    const long long day = daysSince1970 + 719468; // since 0000-03-01
    const long long era = day / 146097;
    const long long dayOfEra = day % 146097;
    const long long yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long long monthFromMarch = (5 * dayOfYear + 2) / 153;
    const long long month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    time.year = static_cast<unsigned short>(era * 400 + yearOfEra + (month <= 2 ? 1 : 0));
    time.month = static_cast<unsigned short>(month);
    time.day = static_cast<unsigned short>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
}

bool validSpeed(double speed) {
    return speed > 0.0 && speed <= 1e6;
}

} // namespace

namespace linux_framework {

bool setClock(int hour, int minute, int second, double speed) {
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59 ||
        !validSpeed(speed)) {
        return false;
    }
    Clock::instance().simulate((hour * 3600 + minute * 60 + second) * kSecond, speed);
    return true;
}

bool setClockSpeed(double speed) {
    if (!validSpeed(speed)) {
        return false;
    }
    Clock::instance().simulate(-1, speed);
    return true;
}

void useRealClock() {
    Clock::instance().followMachine();
}

long long deviceMicroseconds() {
    return Clock::instance().elapsed();
}

void StopRequest::raise() {
    // Under the clock's lock, so that a thread about to pause cannot miss it.
    Clock::instance().wakeAfter([this] { m_bRaised.store(true, std::memory_order_release); });
}

void StopRequest::obey() const {
    t_request = this;
}

} // namespace linux_framework

DKDeviceTime DKDeviceTime::getCurrentTime() {
    const long long shown = Clock::instance().shown();
    const long long secondOfDay = shown % kDay / kSecond;
    DKDeviceTime time;
    setDate(shown / kDay, time);
    time.hour = static_cast<unsigned short>(secondOfDay / 3600);
    time.minute = static_cast<unsigned short>(secondOfDay / 60 % 60);
    time.second = static_cast<unsigned short>(secondOfDay % 60);
    return time;
}

DravikTime::DravikTime(long seconds, long microseconds)
    : m_nSeconds(seconds), m_nMicroseconds(microseconds) {}

void DravikTime::wait(DravikTime const& span) {
    const long long seconds = std::clamp<long long>(span.m_nSeconds, 0, kEver / kSecond);
    const long long rest = std::clamp<long long>(span.m_nMicroseconds, 0, kEver);
    const long long total = std::min(seconds * kSecond + rest, kEver);
    if (total > 0) {
        Clock::instance().pause(total, t_request);
    }
}
