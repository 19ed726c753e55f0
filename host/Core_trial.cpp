#include "host/Core.h"

#include <algorithm>

#include "LinuxFramework.h"

namespace host {
namespace {

constexpr double kLongestTrial = 3600;

} // namespace

void Core::handle(const TryValues& operation, Work& work) {
    if (!knownKeys(operation.values, work)) {
        return;
    }
    if (!(operation.seconds > 0 && operation.seconds <= kLongestTrial) ||
        operation.values.empty()) {
        refuse(work, Reason::Range, "a trial takes values, and from 1 to 3600 seconds");
        return;
    }
    const ScheduleHold hold(*this);
    work.outcome.scheme = m_scheme;
    if (operation.scheme && *operation.scheme != m_scheme) {
        refuse(work, Reason::Conflict, "scheme " + std::to_string(m_scheme) + " is in force");
        return;
    }
    if (!canApply(operation.values, Manner::Try, work)) {
        return;
    }
    work.entry.kind = JournalEntry::Kind::Trial;
    work.entry.schemeBefore = work.entry.schemeAfter = m_scheme;
    applyAll(operation.values, Manner::Try, work);
    const bool any = std::any_of(m_overlays.begin(), m_overlays.end(),
                                 [](const auto& overlay) { return overlay.second.onTrial; });
    if (!any) {
        return;
    }
    if (!m_trial) {
        m_trial.emplace();
        m_trial->number = ++m_lastTrial;
        m_trial->origin = work.origin;
        m_trial->scheme = m_scheme;
    }
    m_trial->endsAt =
        linux_framework::deviceMicroseconds() + static_cast<long long>(operation.seconds * 1e6);
    work.entry.note = "trial";
}

void Core::handle(const KeepTrial& /*operation*/, Work& work) {
    if (!m_trial) {
        refuse(work, Reason::Nothing, "nothing is on trial");
        return;
    }
    const ScheduleHold hold(*this);
    work.outcome.scheme = m_scheme;
    if (!m_trial) {
        refuse(work, Reason::Nothing, "the scheme has just changed; the trial is over");
        return;
    }
    if (!m_memory.isTimed(m_scheme)) {
        refuse(work, Reason::NoScheme, "nothing can be recorded in the default scheme");
        return;
    }
    std::vector<Pair> values;
    for (const auto& [key, overlay] : m_overlays) {
        if (overlay.onTrial) {
            values.push_back({key, overlay.value});
        }
    }
    work.entry.note = "the trial is kept";
    applyAll(values, Manner::Record, work);
}

void Core::handle(const DropTrial& /*operation*/, Work& work) {
    if (!m_trial) {
        refuse(work, Reason::Nothing, "nothing is on trial");
        return;
    }
    const ScheduleHold hold(*this);
    if (m_trial) {
        endTrial("the trial was dropped", work.origin);
    }
}

void Core::expireTrial() {
    if (!m_trial || linux_framework::deviceMicroseconds() < m_trial->endsAt) {
        return;
    }
    const ScheduleHold hold(*this);
    if (m_trial) {
        Origin origin = m_trial->origin;
        origin.cause = Cause::Trial;
        endTrial("the trial is over", origin);
    }
}

/// Ends the trial: the scheme's values come back. What cannot be sent now is left to settling.
void Core::endTrial(const std::string& note, const Origin& origin) {
    JournalEntry entry;
    entry.kind = JournalEntry::Kind::Trial;
    entry.origin = origin;
    entry.cameraTime = cameraTime();
    entry.schemeBefore = m_trial->scheme;
    entry.schemeAfter = m_scheme;
    entry.note = note;
    m_trial.reset();
    for (auto overlay = m_overlays.begin(); overlay != m_overlays.end();) {
        if (!overlay->second.onTrial) {
            ++overlay;
            continue;
        }
        const u32 key = overlay->first;
        entry.changes.push_back({key, -1, overlay->second.value, storedNow(key)});
        overlay = m_overlays.erase(overlay);
        m_mustSend.insert(key);
        const Parameter* about = parameter(key);
        if (about != nullptr && bring(*about) == 0) {
            m_mustSend.erase(key);
        }
    }
    journal.add(std::move(entry));
    settleSoon(std::chrono::milliseconds(0));
    m_changed = true;
}

/// A newer change of a key ends the trial of it; the trial ends with its last key.
void Core::endTrialOf(u32 key, Work& work) {
    const auto overlay = m_overlays.find(key);
    if (!m_trial || overlay == m_overlays.end() || !overlay->second.onTrial) {
        return;
    }
    overlay->second.onTrial = false;
    const bool more = std::any_of(m_overlays.begin(), m_overlays.end(),
                                  [](const auto& other) { return other.second.onTrial; });
    if (!more && !work.dryRun && work.entry.note.empty()) {
        work.trialEnd.emplace();
        work.trialEnd->kind = JournalEntry::Kind::Trial;
        work.trialEnd->origin = work.origin;
        work.trialEnd->cameraTime = cameraTime();
        work.trialEnd->note = "the trial gave way to a newer value";
    }
    if (!more) {
        m_trial.reset();
    }
}

/// Brings the scheme's values back wherever others are in force.
void Core::dropOverlays() {
    const auto covered = std::move(m_overlays);
    m_overlays.clear();
    for (const auto& overlay : covered) {
        const Parameter* about = parameter(overlay.first);
        if (about != nullptr && bring(*about) != 0) {
            m_mustSend.insert(overlay.first);
        }
    }
}

} // namespace host
