#include "host/Explain.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "LinuxFramework.h"
#include "SensorKeys.h"
#include "SensorRules.h"
#include "host/Names.h"
#include "host/Plan.h"
#include "host/Sentences.h"

namespace host {
namespace {

using Topic = ExplainLine::Topic;
using Why = SchemeRule::Why;

constexpr int kHoursAhead = 24;

class Explainer {
public:
    Explainer(const Snapshot& snapshot, const Journal& journal, const Parameter& about,
              const Value& value, int language)
        : m_snapshot(snapshot),
          m_journal(journal),
          m_about(about),
          m_value(value),
          m_language(language),
          m_label(about.label(language)),
          m_lightDecides(snapshot.rule.why == Why::Day || snapshot.rule.why == Why::Night),
          m_plan(planOf(snapshot, kHoursAhead)) {}

    Explanation make() {
        m_result.key = m_about.key;
        m_result.value = m_value.inForce();
        if (m_lightDecides && m_about.key == KEY_DN_MODE && !m_value.applied && m_value.stored) {
            m_result.value = SENSOR_DN_MODE_BY_LIGHT;
        }
        difference();
        value();
        schedule();
        origin();
        saved();
        factory();
        hardware();
        range();
        blocker();
        next();
        return std::move(m_result);
    }

private:
    std::string shown(int value) const {
        const std::string text = valueText(m_about, value, m_language);
        const bool number = m_about.option(value) == nullptr && !m_about.unit.empty();
        return !number ? text : text + (m_about.unit == "%" ? "%" : " " + m_about.unit);
    }
    std::string shown(const std::optional<int>& value) const {
        return value ? shown(*value) : "not known";
    }
    std::string holder() const { return holderText(m_snapshot, m_snapshot.scheme); }
    bool defaultInForce() const {
        return m_snapshot.scheme + 1 == static_cast<int>(m_snapshot.schemes.size());
    }
    bool readable() const { return m_value.state == nullptr || m_value.state->readable; }
    bool held() const { return m_value.state != nullptr && m_value.state->held; }

    void add(Topic topic, std::string text, std::optional<Advice> advice = std::nullopt) {
        m_result.lines.push_back({topic, std::move(text), std::move(advice)});
    }

    Advice backTo(int wanted) const {
        return setAdvice(m_snapshot, "Back to " + shown(wanted), m_about.key, wanted);
    }

    void difference() {
        const auto found =
            std::find_if(m_snapshot.differences.begin(), m_snapshot.differences.end(),
                         [this](const Difference& one) { return one.key == m_about.key; });
        if (found == m_snapshot.differences.end()) {
            return;
        }
        m_result.differs = true;
        const std::string reason = reasonText(found->refusal);
        std::string text = found->readBack
                               ? "The device reports " + shown(*found->readBack) + " instead of "
                               : "The device does not tell whether it has ";
        text += shown(found->wanted) + (reason.empty() ? "." : "; " + reason + ".");
        text += found->givenUp ? " It is tried again at the next switch or change."
                               : " It is being tried again.";
        add(Topic::Difference, text,
            found->refusal.reason == Reason::Blocked
                ? std::nullopt
                : std::optional<Advice>(Advice{"Send again", Restore{{m_about.key}}}));
    }

    void value() {
        const std::string is = m_label + " is " + shown(m_result.value);
        if (m_about.kind == Parameter::Kind::Button) {
            add(Topic::Value, m_label + " starts something; it has no value.");
        } else if (m_value.applied && m_value.onTrial && m_snapshot.trial) {
            const Trial& trial = *m_snapshot.trial;
            const std::string who = trial.origin.who.empty() ? "" : " by " + trial.origin.who;
            const double left =
                static_cast<double>(trial.endsAt - linux_framework::deviceMicroseconds()) / 1e6;
            add(Topic::Value,
                is + ", on trial" + who + " for another " +
                    std::to_string(std::lround(std::max(0.0, left))) + " s; after that " +
                    shown(m_value.stored) + " again.",
                Advice{"Keep it", KeepTrial{}});
        } else if (m_value.applied) {
            std::string text = is + " until the next switch; it is not recorded.";
            if (m_value.stored) {
                text += " In " + holder() + " it is " + shown(*m_value.stored) + ".";
            }
            std::optional<Advice> advice;
            if (m_value.stored) {
                advice = Advice{"Back to " + shown(*m_value.stored), Restore{{m_about.key}}};
            }
            add(Topic::Value, text, advice);
        } else if (m_about.key == KEY_DN_MODE && m_value.stored &&
                   m_value.stored != m_result.value) {
            add(Topic::Value, is + ", though " + holder() + " has " + shown(*m_value.stored) +
                                  ": outside all windows the light chooses the scheme, and goes "
                                  "on choosing.");
        } else if (m_value.stored && m_about.storedOnly()) {
            add(Topic::Value, is + " in " + holder() + "; it is a part of the schedule.");
        } else if (m_value.stored) {
            add(Topic::Value,
                is + ", as " + holder() + (defaultInForce() ? " have it." : " has it."));
        } else if (m_result.value) {
            add(Topic::Value, is + ". It is in no scheme, so it is never saved and no switch "
                                   "changes it.");
        } else {
            add(Topic::Value, m_label + " is not known: this camera does not tell it.");
        }
    }

    void schedule() {
        if (!m_value.stored || m_about.storedOnly()) {
            return;
        }
        std::string text = "In force";
        if (m_snapshot.bySchedule && !m_plan.switches.empty() && !m_plan.switches[0].atOnce) {
            text += " until " + minuteText(m_plan.switches[0].minute);
        }
        text += ": " + holder();
        text += m_snapshot.rule.text.empty() ? "." : ", " + m_snapshot.rule.text + ".";
        std::optional<Advice> advice;
        if (!m_snapshot.bySchedule) {
            advice = Advice{"Follow the schedule", SetMode{true}};
        }
        add(Topic::Schedule, text, advice);
    }

    std::string at(const CameraTime& time) const {
        const CameraTime& now = m_snapshot.time;
        const bool today = time.day == now.day && time.month == now.month && time.year == now.year;
        char date[48] = "";
        if (!today) {
            std::snprintf(date, sizeof date, "%04d-%02d-%02d ", time.year, time.month, time.day);
        }
        return date + clockText(time);
    }

    /// The newest entry that made the value what it is, and the change in it.
    Journal::Entry lastSet(Change& change) const {
        const int scheme = m_value.stored && !m_value.applied ? m_snapshot.scheme : -1;
        const std::vector<Journal::Entry> entries = m_journal.newest(Journal::kMostEntries);
        for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
            for (const Change& one : (*entry)->changes) {
                if (one.key == m_about.key && one.scheme == scheme &&
                    (*entry)->kind != JournalEntry::Kind::Scheme) {
                    change = one;
                    return *entry;
                }
            }
        }
        return nullptr;
    }

    /// Who it was, as a person would say it: a name where there is one, else where he sat.
    static std::string person(const Origin& origin) {
        const std::string open = "open:"; // nobody needed to log in there
        if (!origin.who.empty() || origin.client.compare(0, open.size(), open) != 0) {
            return origin.who.empty() ? origin.client : origin.who;
        }
        const std::string address = origin.client.substr(open.size());
        const bool here = address.compare(0, 4, "127.") == 0 || address == "::1";
        return here ? "somebody on this machine" : "somebody at " + address;
    }

    static std::string how(const Origin& origin) {
        const std::string who = person(origin);
        switch (origin.cause) {
            case Cause::Request:
                return who.empty() ? "Set" : "Set by " + who;
            case Cause::Start:
                return "Set at the start";
            case Cause::Schedule:
                return "Set by the schedule";
            case Cause::DayNight:
                return "Set by day and night";
            case Cause::Trial:
                return "Set back after a trial";
            case Cause::Restore:
                return "Sent again to the device";
            case Cause::Reset:
                return "Set by the reset";
            case Cause::Device:
                return "Changed by the device, or by another program on it";
        }
        return "Set";
    }

    void origin() {
        if (m_about.kind == Parameter::Kind::Button || !m_result.value) {
            return;
        }
        Change change;
        const Journal::Entry entry = lastSet(change);
        const bool recorded = m_value.stored && !m_value.applied;
        if (entry == nullptr) {
            if (recorded && !defaultInForce()) {
                add(Topic::Origin,
                    "Nobody has changed it in " + holder() + " as far as the history goes back.");
            }
        } else {
            m_result.setBy = entry;
            std::string text = how(entry->origin) + " at " + at(entry->cameraTime);
            text += recorded ? " in " + holder() : "";
            text += change.before ? ", from " + shown(*change.before) : "";
            if (change.after && change.after != m_result.value) {
                text += " to " + shown(*change.after);
            }
            std::optional<Advice> advice;
            if (entry->origin.cause == Cause::Request && change.scheme >= 0 &&
                entry->kind == JournalEntry::Kind::Values) {
                advice =
                    Advice{entry->changes.size() == 1 ? "Undo" : "Undo all of it", Undo{entry->id}};
            }
            add(Topic::Origin, text + ".", advice);
        }
        cameIntoForce(entry);
    }

    /// Says which switch brought the value, if none set it since.
    void cameIntoForce(const Journal::Entry& set) {
        const std::vector<Journal::Entry> entries = m_journal.newest(Journal::kMostEntries);
        const auto last = std::find_if(entries.rbegin(), entries.rend(), [](const auto& entry) {
            return entry->kind == JournalEntry::Kind::Scheme;
        });
        if (last == entries.rend() || (set != nullptr && (*last)->sequence < set->sequence)) {
            return;
        }
        for (const Change& change : (*last)->changes) {
            if (change.key == m_about.key && change.after == m_result.value) {
                add(Topic::Origin, "In force since " + at((*last)->cameraTime) + ", when " +
                                       holder() + " came (" + name((*last)->origin.cause) +
                                       "); before it was " + shown(change.before) + ".");
            }
        }
    }

    void saved() {
        if (!m_value.stored) {
            return;
        }
        if (defaultInForce()) {
            add(Topic::Saved,
                "Nothing can be recorded in the factory values: a change lasts until "
                "the next switch.");
        } else if (!m_value.saved) {
            add(Topic::Saved, "It has never been saved in " + holder() + ".",
                Advice{"Save " + holder(), Save{m_snapshot.scheme}});
        } else if (m_value.unsaved()) {
            add(Topic::Saved,
                "Saved is " + shown(*m_value.saved) + "; " + shown(*m_value.stored) +
                    " is lost at a restart unless it is saved.",
                backTo(*m_value.saved));
        } else {
            add(Topic::Saved, shown(*m_value.saved) + " is saved.");
        }
    }

    void factory() {
        if (!m_about.factory) {
            return;
        }
        std::optional<Advice> advice;
        if (m_about.factory != m_value.stored && m_about.factory != m_value.saved) {
            advice = backTo(*m_about.factory);
        }
        add(Topic::Factory, "The factory value is " + shown(*m_about.factory) + ".", advice);
    }

    void hardware() {
        if (m_about.storedOnly() || m_about.kind == Parameter::Kind::Button) {
            return;
        }
        if (!m_snapshot.layer.present) {
            add(Topic::Hardware, "The camera is not there; its values are sent when it is back.");
        } else if (held()) {
            add(Topic::Hardware,
                "The device keeps " + shown(m_value.state->wanted) + " until it can be applied.");
        } else if (!readable()) {
            add(Topic::Hardware, "What the device has cannot be read back.");
        } else if (m_value.readBack) {
            std::string text = "The device reports " + shown(*m_value.readBack);
            if (m_about.key == KEY_MIRROR && m_value.readBack != m_result.value &&
                !m_result.differs) {
                const Parameter* const turned = m_snapshot.parameter(KEY_BEAWAY);
                text += ": " + (turned != nullptr ? turned->label(m_language) : std::string()) +
                        " swaps the two mirrorings";
            }
            add(Topic::Hardware, text + ".");
        }
    }

    /// Whether the layer takes less than the style shows.
    bool narrower() const {
        const Limits& now = *m_value.limits;
        const Limits& style = *m_about.style;
        if (!style.items.empty()) {
            return std::any_of(style.items.begin(), style.items.end(),
                               [&now](int item) { return !now.allows(item); });
        }
        return !now.items.empty() || now.minimum > style.minimum || now.maximum < style.maximum ||
               now.step > style.step;
    }

    void range() {
        const std::string text = allowedText(m_about, m_value.limits, m_language);
        if (text.empty() || m_about.kind == Parameter::Kind::Button) {
            return;
        }
        std::string line = "It takes " + text + ".";
        if (m_value.restricted) {
            line += " This sensor is restricted to that.";
        } else if (m_value.limits && m_about.style && narrower()) {
            line += " The style would offer " + allowedText(m_about, m_about.style, m_language) +
                    ", but this device takes no more now.";
        }
        add(Topic::Range, line);
    }

    void blocker() {
        const Refusal& block = m_value.block;
        if (block.reason == Reason::None || block.reason == Reason::Gone) {
            return;
        }
        std::string text = block.reason != Reason::Blocked ? "It cannot be set: "
                           : held()                        ? "It waits: "
                                                           : "It has no effect now: ";
        add(Topic::Blocker, text + reasonText(block) + ".", release(block));
    }

    /// What would free a key that is blocked, as far as that is known.
    std::optional<Advice> release(const Refusal& block) const {
        if (m_about.key == KEY_WDR_MODE && !m_snapshot.wideDynamicRangeAllowed) {
            return std::nullopt; // the video stream's rate is not this camera's to change
        }
        const Parameter* const other =
            block.blocker ? m_snapshot.parameter(*block.blocker) : nullptr;
        if (other == nullptr || other->key == m_about.key) {
            return std::nullopt;
        }
        const std::string label = other->label(m_language);
        const std::optional<int> now = m_snapshot.value(other->key)->inForce();
        if (other->kind == Parameter::Kind::Switch && now) {
            return setAdvice(m_snapshot, (*now == 0 ? "Turn on " : "Turn off ") + label, other->key,
                             *now == 0 ? 1 : 0);
        }
        if (other->options.size() == 2 && now) {
            const Parameter::Option& option =
                other->options[other->options[0].value == *now ? 1 : 0];
            return setAdvice(m_snapshot,
                             "Set " + label + " to " + valueText(*other, option.value, m_language),
                             other->key, option.value);
        }
        return Advice{"Show " + label, ShowKey{other->key}};
    }

    void next() {
        if (!m_value.stored || m_about.storedOnly()) {
            return;
        }
        // The end of a trial, where it comes before any switch.
        const CameraTime& time = m_snapshot.time;
        const int trialEnd = m_value.onTrial && m_snapshot.trial
                                 ? (time.minuteOfDay() * 60 + time.second +
                                    static_cast<int>(m_snapshot.trial->secondsLeft)) /
                                       60
                                 : -1;
        if (trialEnd >= 0 && (m_plan.switches.empty() || trialEnd < m_plan.switches[0].minute)) {
            m_result.next = NextValue{trialEnd, m_snapshot.scheme, m_value.stored};
            add(Topic::Next, "Next: when the trial ends, " + shown(*m_value.stored) + " again.");
            return;
        }
        for (const PlanSwitch& planned : m_plan.switches) {
            for (const PlannedChange& change : planned.changes) {
                if (change.key == m_about.key && change.after != m_result.value) {
                    m_result.next = NextValue{planned.minute, planned.to, change.after};
                    add(Topic::Next,
                        "Next: " + (planned.atOnce ? "at once" : minuteText(planned.minute)) +
                            ", " + holderText(m_snapshot, planned.to) + ": " + shown(change.after) +
                            ".");
                    light();
                    return;
                }
            }
        }
        if (light()) {
            return;
        }
        add(Topic::Next, !m_snapshot.bySchedule
                             ? "It does not change by itself: the schedule is off."
                         : m_plan.switches.empty()
                             ? "It does not change by itself: the schedule switches nothing."
                             : "The switches of the coming day leave it as it is.");
    }

    /// What a change between day and night would bring. @return whether it would
    bool light() {
        if (!m_lightDecides || !m_snapshot.bySchedule || m_about.key == KEY_DN_MODE) {
            return false;
        }
        const int other = m_snapshot.scheme == 0 ? 1 : 0;
        const std::optional<int> there = m_snapshot.storedIn(other, m_about.key);
        if (!there || there == m_result.value) {
            return false;
        }
        add(Topic::Next, std::string("When ") + (other == 1 ? "night" : "day") + " comes, " +
                             holderText(m_snapshot, other) + ": " + shown(*there) + ".");
        return true;
    }

    const Snapshot& m_snapshot;
    const Journal& m_journal;
    const Parameter& m_about;
    const Value& m_value;
    int m_language;
    std::string m_label;
    bool m_lightDecides;
    Plan m_plan;
    Explanation m_result;
};

} // namespace

Advice setAdvice(const Snapshot& snapshot, const std::string& text, u32 key, int value) {
    SetValues operation;
    operation.values.push_back({key, value});
    if (snapshot.scheme + 1 < static_cast<int>(snapshot.schemes.size())) {
        operation.scheme = snapshot.scheme;
    }
    return {text, operation};
}

Explanation explain(const Snapshot& snapshot, const Journal& journal, u32 key, int language) {
    const std::size_t index = snapshot.catalogue->indexOf(key);
    return Explainer(snapshot, journal, snapshot.catalogue->parameters[index],
                     snapshot.values[index], language)
        .make();
}

} // namespace host
