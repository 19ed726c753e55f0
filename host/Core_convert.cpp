#include "host/Core.h"
#include "host/SavedFor.h"
#include "host/SchemeFiles.h"

namespace host {

/// Brings the values of another camera's schemes into this one's, key by key, and saves them. What
/// has no place here is told; the old files stay beside the new ones. Only when all are saved do
/// they count as this camera's.
bool Core::carryOver(const SavedStart& saved, std::string& problem) {
    if (!keepAside(saved, problem)) {
        return false;
    }
    Origin origin;
    origin.cause = Cause::Start;
    Work work{origin};
    const ScheduleHold hold(*this);
    std::size_t carried = 0;
    std::set<std::string> lost;
    std::string kept;
    for (const auto& [number, content] : saved.aside) {
        const std::string file = schemeFile(number) + saved.ending;
        kept += (kept.empty() ? "" : ", ") + file.substr(file.rfind('/') + 1);
        if (!m_memory.isTimed(number)) {
            lost.insert("scheme " + std::to_string(number));
            continue;
        }
        for (const KeyVal& value : recordsOf(content)) {
            const Parameter* const about = parameter(value.key);
            const KeyOutcome outcome =
                about == nullptr
                    ? KeyOutcome{value.key, 0, KeyResult::Refused, -1, {}, {}, {}}
                    : recordOne(number, {value.key, static_cast<int>(value.value)}, work);
            if (outcome.result == KeyResult::Refused) {
                lost.insert(about == nullptr ? std::to_string(value.key) : about->shortName);
            } else {
                ++carried;
            }
        }
        // Whatever its window is: it was saved like that.
        m_memory.refresh(*m_controller, number);
        const Refusal refusal = saveValues(number, m_memory.records(number));
        if (refusal.reason != Reason::None) {
            problem = "scheme " + std::to_string(number) + " is not saved: " + refusal.detail;
            return false;
        }
        m_memory.refreshSaved(number);
    }
    if (!rememberSavedFor(m_identity)) {
        problem = storageProblem();
        return false;
    }
    std::string names;
    for (const std::string& name : lost) {
        names += (names.empty() ? "" : ", ") + name;
    }
    m_problems.push_back(
        "carried over " + std::to_string(carried) + " values" +
        (names.empty() ? std::string() : "; with no place on this camera: " + names) +
        "; the old files are kept as " + kept);
    JournalEntry entry;
    entry.kind = JournalEntry::Kind::Saved;
    entry.origin = origin;
    entry.cameraTime = cameraTime();
    entry.schemeBefore = entry.schemeAfter = m_scheme;
    entry.note = m_problems.back();
    entry.changes = work.entry.changes;
    journal.add(std::move(entry));
    return true;
}

} // namespace host
