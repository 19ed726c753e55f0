#include "host/Core.h"

namespace host {

/// Brings the values of another camera's schemes into this one's, key by key, and saves them. What
/// has no place here is told; the old files stay beside the new ones.
void Camera::Core::carryOver(const std::map<int, std::vector<KeyVal>>& schemes) {
    Origin origin;
    origin.cause = Cause::Start;
    Work work{origin};
    const ScheduleHold hold(*this);
    std::size_t carried = 0;
    std::set<std::string> lost;
    for (const auto& [number, values] : schemes) {
        if (!m_memory.isTimed(number)) {
            lost.insert("scheme " + std::to_string(number));
            continue;
        }
        for (const KeyVal& value : values) {
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
        const SchemeOutcome saved = saveOne(number);
        if (!saved.saved) {
            m_problems.push_back("scheme " + std::to_string(number) +
                                 " was carried over, but could not be saved");
        }
    }
    std::string names;
    for (const std::string& name : lost) {
        names += (names.empty() ? "" : ", ") + name;
    }
    m_problems.push_back(
        "carried over " + std::to_string(carried) + " values" +
        (names.empty() ? std::string() : "; with no place on this camera: " + names) +
        "; the old files are kept as sensorN.cfg.before");
    JournalEntry entry;
    entry.kind = JournalEntry::Kind::Saved;
    entry.origin = origin;
    entry.cameraTime = cameraTime();
    entry.schemeBefore = entry.schemeAfter = m_scheme;
    entry.note = m_problems.back();
    entry.changes = work.entry.changes;
    journal.add(std::move(entry));
}

} // namespace host
