#include "host/Core.h"

#include "DeviceType.h"
#include "LinuxFramework.h"
#include "host/SchemeFiles.h"

namespace host {
namespace {

constexpr long long kPassEvery = 1000000; ///< camera microseconds, as the library's worker does
constexpr int kDay = 24 * 60;

std::string shortTime(int minuteOfDay) {
    CameraTime time;
    time.hour = minuteOfDay / 60;
    time.minute = minuteOfDay % 60;
    return clockText(time).substr(0, 5);
}

} // namespace

Core::ScheduleHold::ScheduleHold(Core& core) : m_core(core) {
    if (m_core.m_holds++ == 0 && m_core.m_bySchedule) {
        // The first call may come while the worker, past its look at the mode, begins a switch; the
        // second one then waits for the end of that, and no other can begin.
        m_core.m_controller->setParamMode(0);
        m_core.m_controller->setParamMode(0);
        m_core.noticeScheme();
    }
}

Core::ScheduleHold::~ScheduleHold() {
    if (--m_core.m_holds == 0 && m_core.m_bySchedule) {
        m_core.m_controller->setParamMode(1);
    }
}

int Core::scheme() {
    int number = -1;
    m_controller->getParamScheme(number);
    return number;
}

/// One pass of the library's worker on this thread, where one is due and would switch.
void Core::runDueSwitch() {
    const long long now = linux_framework::deviceMicroseconds();
    if (!m_bySchedule || now - m_lastPass < kPassEvery) {
        return;
    }
    m_lastPass = now;
    int due = 0;
    int inWindow = 0;
    m_controller->judgeCurScheme(due, inWindow);
    if (m_dayNightSchemes || due != scheme()) {
        m_pauses.raise();
        m_controller->sensorThread();
        m_pauses.clear();
    }
}

/// Whether day and night decide which scheme is in force now.
bool Core::lightDecides() const {
    int due = 0;
    int inWindow = 0;
    return m_dayNightSchemes && m_bySchedule && m_controller->judgeCurScheme(due, inWindow) == 0 &&
           inWindow == 0;
}

/// Sees a switch that has been made since the last look, and writes it down.
/// @param origin  who asked for it; null: the schedule or the light did it
void Core::noticeScheme(const Origin* origin) {
    const int now = scheme();
    if (now == m_scheme) {
        return;
    }
    JournalEntry entry;
    entry.kind = JournalEntry::Kind::Scheme;
    entry.cameraTime = cameraTime();
    entry.schemeBefore = m_scheme;
    entry.schemeAfter = now;
    if (origin != nullptr) {
        entry.origin = *origin;
    } else {
        entry.origin.cause = lightDecides() ? Cause::DayNight : Cause::Schedule;
    }
    m_memory.refresh(*m_controller, m_scheme);
    m_memory.refresh(*m_controller, now);
    for (const u32 key : m_memory.keys()) {
        const Parameter* about = parameter(key);
        const std::optional<int> before = about == nullptr ? std::nullopt : inForce(*about);
        const std::optional<int> after = m_memory.stored(now, key);
        if (about != nullptr && !about->storedOnly() && before != after) {
            entry.changes.push_back({key, now, before, after});
        }
    }
    for (const auto& overlay : m_overlays) {
        m_mustSend.insert(overlay.first);
    }
    m_scheme = now;
    if (m_trial) {
        endTrial("the scheme changed", entry.origin);
    }
    m_overlays.clear();
    journal.add(std::move(entry));
    tryAllAgain();
    m_changed = true;
}

bool Core::readNight() {
    m_lastNightRead = Clock::now();
    int state = 0;
    const std::optional<bool> before = m_night;
    m_night = m_controller->getDNMode(state) ? std::optional<bool>(state != 0) : std::nullopt;
    return before != m_night;
}

SchemeRule Core::ruleNow(const CameraTime& time) const {
    using Why = SchemeRule::Why;
    if (!m_bySchedule) {
        return {Why::ByHand, "chosen by hand; the schedule is off"};
    }
    int due = 0;
    int inWindow = 0;
    m_controller->judgeCurScheme(due, inWindow);
    const std::string now = shortTime(time.minuteOfDay());
    if (inWindow != 0 && due == m_scheme) {
        return {Why::Window, "lowest enabled window that holds " + now};
    }
    if (inWindow == 0 && m_dayNightSchemes) {
        if (m_scheme == 0) {
            return {Why::Day, "outside all windows, by day"};
        }
        if (m_scheme == 1) {
            return {Why::Night, "outside all windows, by night"};
        }
    } else if (due == m_scheme) {
        return {Why::OutsideWindows, "no window holds " + now};
    }
    return {Why::Due, "chosen by hand; the schedule asks for " + std::to_string(due)};
}

/// Looks only at the edges of windows, and only once a minute.
std::optional<NextSwitch> Core::nextSwitch(const CameraTime& time) {
    const int now = time.minuteOfDay();
    if (!m_bySchedule) {
        m_nextFor = -1;
        return std::nullopt;
    }
    if (m_nextFor == now) {
        return m_next;
    }
    m_nextFor = now;
    m_next.reset();
    std::vector<Scheme> schemes;
    for (int number = 0; number <= m_memory.timed(); ++number) {
        schemes.push_back(m_memory.describe(number));
    }
    std::set<int> edges; // minutes from now
    for (const Scheme& scheme : schemes) {
        if (scheme.window.enabled) {
            const Window& window = scheme.window;
            for (const int minute : {window.startHour * 60 + window.startMinute,
                                     window.endHour * 60 + window.endMinute}) {
                edges.insert(((minute - now) % kDay + kDay) % kDay);
            }
        }
    }
    const int current = schemeAt(schemes, now);
    for (const int edge : edges) {
        const int minute = (now + edge) % kDay;
        if (edge != 0 && schemeAt(schemes, minute) != current) {
            m_next = NextSwitch{minute, schemeAt(schemes, minute)};
            break;
        }
    }
    return m_next;
}

} // namespace host
