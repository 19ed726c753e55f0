#include "host/Core.h"

#include <algorithm>

#include "host/Exchange.h"
#include "host/SavedFor.h"
#include "host/SchemeFiles.h"
#include "host/Text.h"

namespace host {
namespace {

constexpr std::size_t kLongestName = 64;

/// Changes that a reset's entry in the journal lists, lest those of 255 schemes push others out.
constexpr std::size_t kMostOfAReset = 512;

bool isWindowKey(u32 key) {
    return key >= KEY_SCHEME_ENABLE && key <= KEY_SCHEME_END_MIN;
}

template <typename Element>
void addAll(std::vector<Element>& to, const std::vector<Element>& more) {
    to.insert(to.end(), more.begin(), more.end());
}

} // namespace

bool Core::timedScheme(int number, Work& work) const {
    if (m_memory.isTimed(number)) {
        return true;
    }
    refuse(work, Reason::NoScheme,
           number == m_memory.timed() ? "the default scheme is never changed or saved"
                                      : "no scheme " + std::to_string(number));
    return false;
}

SchemeOutcome Core::saveOne(int number) {
    SchemeOutcome outcome;
    outcome.scheme = number;
    m_memory.refresh(*m_controller, number);
    const int fault = m_memory.describe(number).windowFault;
    if (fault != 0) {
        outcome.refusal = windowRefusal(fault);
        return outcome;
    }
    if (number == m_scheme) {
        m_controller->flush();
    } else {
        outcome.refusal = saveValues(number, m_memory.records(number));
    }
    outcome.saved = m_memory.refreshSaved(number) && m_memory.unsaved(number) == 0;
    if (outcome.saved) {
        rememberSavedFor(m_identity);
        outcome.refusal = {};
    } else if (outcome.refusal.reason == Reason::None) {
        outcome.refusal.reason = Reason::Storage;
        outcome.refusal.detail = storageProblem();
    }
    return outcome;
}

void Core::handle(const Save& operation, Work& work) {
    work.outcome.saves = true;
    if (operation.scheme == m_memory.timed()) {
        work.outcome.text = "the default scheme is never saved";
        return;
    }
    if (operation.scheme && !timedScheme(*operation.scheme, work)) {
        return;
    }
    const ScheduleHold hold(*this);
    m_memory.refresh(*m_controller, m_scheme);
    std::string saved;
    bool failed = false;
    for (int number = 0; number < m_memory.timed(); ++number) {
        if (operation.scheme ? number != *operation.scheme : m_memory.unsaved(number) == 0) {
            continue;
        }
        const SchemeOutcome outcome = saveOne(number);
        work.outcome.schemes.push_back(outcome);
        if (outcome.saved) {
            saved += (saved.empty() ? "" : ", ") + std::to_string(number);
        } else if (!failed) {
            failed = true;
            work.outcome.refusal = outcome.refusal;
        }
    }
    if (failed) {
        work.outcome.result = saved.empty() ? Result::Refused : Result::Partly;
    }
    if (!saved.empty()) {
        work.entry.kind = JournalEntry::Kind::Saved;
        work.entry.note = "saved " + saved;
    }
}

void Core::handle(const SwitchScheme& operation, Work& work) {
    if (!m_memory.exists(operation.scheme)) {
        refuse(work, Reason::NoScheme, "no scheme " + std::to_string(operation.scheme));
        return;
    }
    if (m_trial) {
        endTrial("the scheme was switched", work.origin);
    }
    dropOverlays(); // the library sends only values in which the two schemes differ
    m_controller->setParamScheme(operation.scheme);
    noticeScheme(&work.origin);
    work.outcome.scheme = m_scheme;
    settleSoon(std::chrono::milliseconds(20));
}

void Core::handle(const SetMode& operation, Work& work) {
    m_controller->setParamMode(operation.bySchedule ? 1 : 0);
    if (m_bySchedule != operation.bySchedule) {
        work.entry.kind = JournalEntry::Kind::Mode;
        work.entry.note = operation.bySchedule ? "the schedule is on" : "the schedule is off";
        m_nextFor = -1;
    }
    m_bySchedule = operation.bySchedule;
    noticeScheme();
}

void Core::handle(const SetWindows& operation, Work& work) {
    if (operation.seen && *operation.seen < m_windowsChanged) {
        refuse(work, Reason::Newer);
        return;
    }
    if (operation.with) {
        splitWindow(operation.windows.begin()->first, operation.windows.begin()->second,
                    *operation.with, work);
        return;
    }
    std::map<int, std::vector<Pair>> wanted;
    for (const auto& [scheme, window] : operation.windows) {
        if (!timedScheme(scheme, work)) {
            return;
        }
        const int fault = windowFault(window);
        if (fault != 0) {
            work.outcome.scheme = scheme;
            work.outcome.result = Result::Refused;
            work.outcome.refusal = windowRefusal(fault);
            return;
        }
        wanted[scheme] = windowPairs(window);
        if (!knownKeys(wanted[scheme], work)) {
            return;
        }
    }
    const ScheduleHold hold(*this);
    recordWhole(wanted, work);
}

/// Records values of several schemes, those of the one in force by applying them, or puts
/// everything back where one is refused.
/// @return false in that case
bool Core::recordWhole(const std::map<int, std::vector<Pair>>& wanted, Work& work) {
    Before before{{}, m_overlays, m_trial};
    for (const auto& scheme : wanted) {
        m_memory.refresh(*m_controller, scheme.first);
        before.records[scheme.first] = m_memory.records(scheme.first);
    }
    const auto recordOf = [&](int number) {
        const std::vector<Pair>& pairs = wanted.at(number);
        const std::size_t first = work.outcome.keys.size();
        recordIn(number, pairs, work);
        const bool refused = work.outcome.refusal.reason != Reason::None;
        if (refused) {
            work.outcome.scheme = number;
            work.outcome.keys.erase(work.outcome.keys.begin(),
                                    work.outcome.keys.begin() + static_cast<std::ptrdiff_t>(first));
            putBack(before, work);
        }
        return !refused;
    };
    // The device may refuse values of the scheme in force, so they come first.
    if (wanted.count(m_scheme) != 0 && !recordOf(m_scheme)) {
        return false;
    }
    return std::all_of(wanted.begin(), wanted.end(), [&](const auto& scheme) {
        return scheme.first == m_scheme || recordOf(scheme.first);
    });
}

/// As if nothing had been asked: the memory and the trial at once, the device by settling.
void Core::putBack(const Before& before, Work& work) {
    m_overlays = before.overlays;
    m_trial = before.trial;
    for (const auto& overlay : m_overlays) {
        m_mustSend.insert(overlay.first);
    }
    for (const auto& [number, records] : before.records) {
        for (const KeyVal& pair : records) {
            if (number == m_scheme && storedNow(pair.key) != static_cast<int>(pair.value)) {
                m_mustSend.insert(pair.key);
            }
            m_controller->setKeyValToCache(static_cast<u32>(number), pair.key, pair.value, false);
        }
        m_memory.refresh(*m_controller, number);
    }
    for (KeyOutcome& outcome : work.outcome.keys) {
        if (outcome.result != KeyResult::Refused) {
            outcome.result = KeyResult::NotTried;
            outcome.taken.reset();
        }
    }
    work.entry.changes.clear();
    work.trialEnd.reset();
    work.outcome.result = Result::Refused;
    settleSoon(std::chrono::milliseconds(0));
}

/// The evening stays with its scheme, the morning goes to another one with the same values.
void Core::splitWindow(int scheme, const Window& window, int other, Work& work) {
    const Window evening = {true, window.startHour, window.startMinute, 24, 0};
    const Window morning = {true, 0, 0, window.endHour, window.endMinute};
    if (!timedScheme(scheme, work) || !timedScheme(other, work)) {
        return;
    }
    const bool crosses =
        window.startHour * 60 + window.startMinute > window.endHour * 60 + window.endMinute;
    if (!crosses || other == scheme) {
        refuse(work, Reason::Window,
               crosses ? "the time after midnight needs another scheme"
                       : "a second scheme is for a window across midnight");
        return;
    }
    for (const Window& half : {evening, morning}) {
        const int fault = windowFault(half);
        if (fault != 0) {
            work.outcome.result = Result::Refused;
            work.outcome.refusal = windowRefusal(fault);
            return;
        }
    }
    const ScheduleHold hold(*this);
    m_memory.refresh(*m_controller, scheme);
    std::vector<Pair> values = windowPairs(morning);
    for (const u32 key : m_memory.keys()) {
        if (!isWindowKey(key)) {
            values.push_back({key, *m_memory.stored(scheme, key)});
        }
    }
    recordWhole({{scheme, windowPairs(evening)}, {other, values}}, work);
    work.entry.joins = false; // what comes next is not a part of it
    work.outcome.scheme = scheme;
}

/// Records values in a scheme, and applies them where it is the one in force.
void Core::recordIn(int number, const std::vector<Pair>& pairs, Work& work) {
    if (number == m_scheme) {
        applyAll(pairs, Manner::Record, work);
    } else {
        recordAll(number, pairs, work);
        m_memory.refresh(*m_controller, number);
    }
}

void Core::handle(const CopyScheme& operation, Work& work) {
    if (!timedScheme(operation.to, work) || !m_memory.exists(operation.from)) {
        if (m_memory.isTimed(operation.to)) {
            refuse(work, Reason::NoScheme, "no scheme " + std::to_string(operation.from));
        }
        return;
    }
    const ScheduleHold hold(*this);
    m_memory.refresh(*m_controller, operation.from);
    std::vector<Pair> pairs;
    for (const u32 key : m_memory.keys()) {
        if (operation.window || !isWindowKey(key)) {
            pairs.push_back({key, *m_memory.stored(operation.from, key)});
        }
    }
    recordIn(operation.to, pairs, work);
}

void Core::handle(const NameScheme& operation, Work& work) {
    if (!timedScheme(operation.scheme, work)) {
        return;
    }
    const std::string name = trim(operation.name);
    if (name.size() > kLongestName || printable(name) != name) {
        refuse(work, Reason::Text, "a name has at most 64 bytes and no control character");
        return;
    }
    std::map<int, std::string> names = schemeNames();
    names[operation.scheme] = name;
    const Refusal refusal = saveSchemeNames(names);
    if (refusal.reason != Reason::None) {
        work.outcome.result = Result::Refused;
        work.outcome.refusal = refusal;
        return;
    }
    m_memory.setName(operation.scheme, name);
    work.entry.kind = JournalEntry::Kind::Mode;
    work.entry.note = "scheme " + std::to_string(operation.scheme) + " is called " + quoted(name);
}

void Core::handle(const Reload& /*operation*/, Work& work) {
    const ScheduleHold hold(*this);
    work.outcome.scheme = m_scheme;
    if (m_trial) {
        endTrial("the saved values came back", work.origin);
    }
    dropOverlays();
    m_memory.refresh(*m_controller, m_scheme);
    const SchemeMemory::Values before = m_memory.values(m_scheme);
    const bool done = m_controller->resetToLastParameters();
    m_memory.refresh(*m_controller, m_scheme);
    const SchemeMemory::Values after = m_memory.values(m_scheme);
    for (std::size_t i = 0; i < before->size(); ++i) {
        addChange(work, {m_memory.keys()[i], m_scheme, (*before)[i], (*after)[i]});
    }
    m_nextFor = -1;
    if (!done) {
        work.outcome.result = Result::Partly;
        work.outcome.refusal.reason = Reason::LayerFault;
        for (const u32 key : m_memory.keys()) {
            const Parameter* about = parameter(key);
            if (about != nullptr && m_watch.failure(about->command, m_operation)) {
                const std::optional<int> saved = m_memory.saved(m_scheme, key);
                work.outcome.refusal = refusalOf(*about, saved.value_or(0));
                KeyOutcome refused;
                refused.key = key;
                refused.wanted = saved.value_or(0);
                refused.result = KeyResult::Refused;
                refused.refusal = work.outcome.refusal;
                work.outcome.keys.push_back(refused);
            }
        }
    }
    settleSoon(std::chrono::milliseconds(20));
}

void Core::handle(const Reset& /*operation*/, Work& work) {
    if (m_trial) {
        endTrial("the camera was reset", work.origin);
    }
    m_overlays.clear();
    const std::vector<u32> keys = m_memory.keys();
    std::vector<SchemeMemory::Values> before;
    for (int number = 0; number < m_memory.timed(); ++number) {
        m_memory.refresh(*m_controller, number);
        before.push_back(m_memory.values(number));
    }
    m_controller->resetParameters();
    m_uiTexts.provide();
    m_bySchedule = true;
    loadAll();
    settle(false);
    for (int number = 0; number < m_memory.timed(); ++number) {
        for (std::size_t i = 0; number < static_cast<int>(before.size()) && i < keys.size(); ++i) {
            const int was = (*before[static_cast<std::size_t>(number)])[i];
            if (work.entry.changes.size() < kMostOfAReset) {
                addChange(work, {keys[i], number, was, m_memory.stored(number, keys[i])});
            }
        }
    }
    work.entry.kind = JournalEntry::Kind::Scheme;
    work.entry.origin.cause = Cause::Reset;
    work.entry.schemeBefore = work.outcome.scheme;
    work.entry.schemeAfter = work.outcome.scheme = m_scheme;
    work.entry.note = "back to the factory values";
    // Old files that could not be removed are loaded again as if nothing had happened.
    for (int number = 0; number < m_memory.timed(); ++number) {
        const Scheme& after = m_memory.describe(number);
        const bool old = !hasFactoryValues(number);
        if (old || after.fileMissing || after.unsaved != 0) {
            SchemeOutcome outcome;
            outcome.scheme = number;
            outcome.refusal.reason = Reason::Storage;
            outcome.refusal.detail =
                old ? schemeFile(number) +
                          " could not be removed; what was saved before is still in force"
                    : "scheme " + std::to_string(number) + " is not saved: " + storageProblem();
            work.outcome.schemes.push_back(outcome);
            work.outcome.result = Result::Partly;
            work.outcome.refusal = outcome.refusal;
        }
    }
    if (work.outcome.done()) {
        rememberUntouched(m_identity);
    }
}

/// Whether a scheme is as a reset makes it: the factory values but for its switch, and for what a
/// camera that switches by day and night sets for the night.
bool Core::hasFactoryValues(int number) const {
    for (const u32 key : m_memory.keys()) {
        if (!isWindowKey(key) && !(m_dayNightSchemes && number == 1) &&
            m_memory.stored(number, key) != m_memory.stored(m_memory.timed(), key)) {
            return false;
        }
    }
    return true;
}

void Core::handle(const Import& operation, Work& work) {
    readDevice(true);
    publish();
    const std::vector<Assignment> assignments =
        readText(*m_snapshot, operation.text, work.outcome.lines);
    work.outcome.count = assignments.size();
    if (!work.outcome.lines.empty()) {
        refuse(work, Reason::Text, "nothing is changed");
        return;
    }
    const ScheduleHold hold(*this);
    work.outcome.scheme = m_scheme;
    std::map<int, std::vector<Pair>> wanted;
    for (const Assignment& assignment : assignments) {
        wanted[assignment.scheme].push_back(assignment.pair);
        work.outcome.changed +=
            m_memory.stored(assignment.scheme, assignment.pair.key) != assignment.pair.value ? 1
                                                                                             : 0;
    }
    if (operation.dryRun) {
        return;
    }
    if (!recordWhole(wanted, work)) {
        return;
    }
    for (const auto& scheme : wanted) {
        m_memory.refresh(*m_controller, scheme.first);
        const bool needed = m_memory.unsaved(scheme.first) != 0;
        work.outcome.schemes.push_back(needed ? saveOne(scheme.first)
                                              : SchemeOutcome{scheme.first, true, {}});
        if (!work.outcome.schemes.back().saved) {
            work.outcome.result = Result::Partly;
            work.outcome.refusal = work.outcome.schemes.back().refusal;
        }
    }
}

} // namespace host
