#include "host/Plan.h"

#include <algorithm>
#include <ctime>

#include "SensorKeys.h"
#include "SensorRules.h"
#include "host/Names.h"

namespace host {
namespace {

using Rule = PlanStretch::Rule;

constexpr std::size_t kMostNamed = 6; ///< switches that the sentence names

bool sameRule(const PlanStretch& one, const PlanStretch& other) {
    return one.rule == other.rule && one.scheme == other.scheme;
}

class Planner {
public:
    Planner(const Snapshot& snapshot, int hours, const std::vector<WindowDraft>& draft)
        : m_snapshot(snapshot), m_schemes(snapshot.schemes) {
        m_plan.now = snapshot.time;
        m_plan.hours = std::clamp(hours, 1, kMostPlanHours);
        m_plan.bySchedule = snapshot.bySchedule;
        for (const WindowDraft& one : draft) {
            for (Scheme& scheme : m_schemes) {
                if (scheme.timed && scheme.number == one.scheme) {
                    scheme.window = one.window;
                }
            }
        }
    }

    Plan make() {
        for (int minute = 0; minute < kMinutesOfDay; ++minute) {
            m_minutes.push_back(ruleAt(minute));
        }
        m_plan.day = stretches(0, kMinutesOfDay);
        const int now = m_plan.now.minuteOfDay();
        if (m_plan.bySchedule) {
            m_plan.strip = stretches(now, now + m_plan.hours * 60);
        } else {
            m_plan.strip = {{now, now + m_plan.hours * 60, Rule::ByHand, m_snapshot.scheme}};
        }
        makeSwitches();
        m_plan.warnings = windowWarnings(m_snapshot, m_schemes);
        makeText();
        return std::move(m_plan);
    }

private:
    PlanStretch ruleAt(int minute) const {
        const int scheme = schemeAt(m_schemes, minute);
        const bool inWindow = scheme + 1 < static_cast<int>(m_schemes.size());
        if (!inWindow && m_snapshot.dayNightSchemes) {
            return {minute, minute + 1, Rule::Light, std::nullopt};
        }
        return {minute, minute + 1, inWindow ? Rule::Window : Rule::Outside, scheme};
    }

    std::vector<PlanStretch> stretches(int from, int to) const {
        std::vector<PlanStretch> result;
        for (int minute = from; minute < to; ++minute) {
            const PlanStretch& rule = m_minutes[static_cast<std::size_t>(minute % kMinutesOfDay)];
            if (result.empty() || !sameRule(result.back(), rule)) {
                result.push_back({minute, minute, rule.rule, rule.scheme});
            }
            result.back().to = minute + 1;
        }
        return result;
    }

    /// What is in force now, as a stretch without times.
    PlanStretch current() const {
        using Why = SchemeRule::Why;
        const Why why = m_snapshot.rule.why;
        const bool light = why == Why::Day || why == Why::Night;
        return {0, 0, light ? Rule::Light : Rule::Window,
                light ? std::nullopt : std::optional<int>(m_snapshot.scheme)};
    }

    void makeSwitches() {
        if (!m_plan.bySchedule) {
            return;
        }
        PlanStretch before = current();
        for (const PlanStretch& stretch : m_plan.strip) {
            if (before.scheme != stretch.scheme) {
                PlanSwitch next;
                next.minute = stretch.from;
                next.atOnce = &stretch == m_plan.strip.data();
                next.rule = stretch.rule;
                next.from = before.scheme;
                next.to = stretch.scheme;
                next.changes = changes(before, next);
                m_plan.switches.push_back(std::move(next));
            }
            before = stretch;
        }
    }

    std::vector<PlannedChange> changes(const PlanStretch& before, const PlanSwitch& next) const {
        std::vector<PlannedChange> result;
        const bool first = m_plan.switches.empty();
        for (const u32 key : m_snapshot.catalogue->schemeKeys) {
            const Parameter* const parameter = m_snapshot.parameter(key);
            if (parameter == nullptr || parameter->storedOnly()) {
                continue;
            }
            std::optional<int> old = valueUnder(m_snapshot, before.scheme, key);
            const Value* const value = m_snapshot.value(key);
            if (first && value != nullptr && value->applied && !endsBefore(*value, next.minute)) {
                old = value->applied;
            }
            const std::optional<int> after = valueUnder(m_snapshot, next.to, key);
            if (old != after) {
                result.push_back({key, old, after});
            }
        }
        return result;
    }

    /// Whether a value is on a trial that is over by then.
    bool endsBefore(const Value& value, int minute) const {
        const CameraTime& now = m_plan.now;
        const int seconds = (minute - now.minuteOfDay()) * 60 - now.second;
        return value.onTrial && m_snapshot.trial && m_snapshot.trial->secondsLeft < seconds;
    }

    void makeText() {
        std::string& text = m_plan.text;
        const std::string now = holderText(m_snapshot, current().scheme);
        if (!m_plan.bySchedule) {
            text = "The schedule is off; in force until somebody changes it: " +
                   holderText(m_snapshot, m_snapshot.scheme) + ".";
            return;
        }
        if (m_plan.switches.empty()) {
            text = "No switch in the coming " + std::to_string(m_plan.hours) +
                   " hours; in force: " + now + ".";
            return;
        }
        for (std::size_t i = 0; i < std::min(m_plan.switches.size(), kMostNamed); ++i) {
            const PlanSwitch& next = m_plan.switches[i];
            const std::string to = holderText(m_snapshot, next.to);
            if (next.atOnce) {
                const bool many = m_snapshot.scheme + 1 == static_cast<int>(m_schemes.size());
                text = "At once " + now;
                text += many ? " give way to " : " gives way to ";
                text += to;
                continue;
            }
            text += i == 0 ? "" : i == 1 && m_plan.switches[0].atOnce ? "; then " : ", ";
            text += minuteText(next.minute);
            text += " ";
            text += to;
        }
        if (m_plan.switches.size() > kMostNamed) {
            text += " and " + std::to_string(m_plan.switches.size() - kMostNamed) + " more";
        }
        text += ".";
    }

    const Snapshot& m_snapshot;
    std::vector<Scheme> m_schemes;
    std::vector<PlanStretch> m_minutes; ///< of a day
    Plan m_plan;
};

} // namespace

Plan planOf(const Snapshot& snapshot, int hours, const std::vector<WindowDraft>& draft) {
    return Planner(snapshot, hours, draft).make();
}

std::string holderText(const Snapshot& snapshot, const std::optional<int>& scheme) {
    if (!scheme) {
        return "the light's choice of " + schemeTitle(snapshot, 0) + " and " +
               schemeTitle(snapshot, 1);
    }
    const bool isDefault = *scheme + 1 == static_cast<int>(snapshot.schemes.size());
    return (isDefault ? "the " : "") + schemeTitle(snapshot, *scheme);
}

std::optional<int> valueUnder(const Snapshot& snapshot, const std::optional<int>& scheme, u32 key) {
    if (!scheme && key == KEY_DN_MODE && snapshot.storedIn(0, key)) {
        return SENSOR_DN_MODE_BY_LIGHT;
    }
    // Where the light chose just now, its choice is newer than what was last read of it.
    const SchemeRule::Why why = snapshot.rule.why;
    const bool chose = why == SchemeRule::Why::Day || why == SchemeRule::Why::Night;
    const bool night = chose ? why == SchemeRule::Why::Night : snapshot.night.value_or(false);
    return snapshot.storedIn(scheme.value_or(night ? 1 : 0), key);
}

CameraTime timeOf(const Plan& plan, int minute) {
    std::tm parts{};
    parts.tm_year = plan.now.year - 1900;
    parts.tm_mon = plan.now.month - 1;
    parts.tm_mday = plan.now.day;
    parts.tm_min = minute;
    // The camera's clock has no zone: counted as if it were universal time.
    const std::time_t seconds = timegm(&parts);
    gmtime_r(&seconds, &parts);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
            parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

} // namespace host
