#include "host/Journal.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <random>
#include <set>
#include <utility>

namespace host {
namespace {

constexpr long long kJoinWithin = 2000;       ///< milliseconds
constexpr long long kLongestGesture = 120000; ///< between two of its changes
constexpr std::size_t kEntryBytes = sizeof(JournalEntry) + 128;

std::string newBootId() {
    std::random_device source;
    char text[32];
    std::snprintf(text, sizeof text, "%08x%08x", source(), source());
    return text;
}

/// The real time that has passed; not the clock that people set.
long long machineMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

std::size_t bytesOf(const JournalEntry& entry) {
    return kEntryBytes + entry.changes.capacity() * sizeof(Change) + entry.note.size() +
           entry.origin.who.size() + entry.origin.client.size();
}

bool sameKeys(const std::vector<Change>& older, const std::vector<Change>& newer) {
    return std::all_of(newer.begin(), newer.end(), [&older](const Change& change) {
        return std::any_of(older.begin(), older.end(), [&change](const Change& other) {
            return other.key == change.key && other.scheme == change.scheme;
        });
    });
}

/// Whether an entry belongs to one gesture, or one adjustment, with an older one.
bool continues(const JournalEntry& older, const JournalEntry& newer) {
    if (older.kind != newer.kind || !older.joins || older.origin.client != newer.origin.client ||
        older.origin.who != newer.origin.who || older.origin.cause != newer.origin.cause ||
        older.origin.gesture != newer.origin.gesture) {
        return false;
    }
    const long long after = newer.machineTime - older.lastTime;
    return newer.origin.gesture != 0 ||
           (after >= 0 && after <= kJoinWithin && sameKeys(older.changes, newer.changes));
}

void addChanges(std::vector<Change>& to, const std::vector<Change>& changes) {
    for (const Change& change : changes) {
        const auto known = std::find_if(to.begin(), to.end(), [&change](const Change& other) {
            return other.key == change.key && other.scheme == change.scheme;
        });
        if (known == to.end()) {
            to.push_back(change);
        } else {
            known->after = change.after;
        }
    }
}

} // namespace

Journal::Journal() : m_bootId(newBootId()) {}

std::uint64_t Journal::sequence() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_sequence;
}

std::vector<Journal::Entry> Journal::since(std::uint64_t after, bool& complete) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    complete = after >= m_lost && after <= m_sequence;
    const auto first =
        std::find_if(m_entries.rbegin(), m_entries.rend(), [after](const Entry& entry) {
            return entry->sequence <= after;
        }).base();
    return std::vector<Entry>(first, m_entries.end());
}

std::vector<Journal::Entry> Journal::newest(std::size_t most) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto count = static_cast<std::ptrdiff_t>(std::min(most, m_entries.size()));
    return std::vector<Entry>(m_entries.end() - count, m_entries.end());
}

Journal::Entry Journal::find(std::uint64_t id) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = std::find_if(m_entries.rbegin(), m_entries.rend(),
                                    [id](const Entry& entry) { return entry->id == id; });
    return found == m_entries.rend() ? nullptr : *found;
}

Journal::Entry Journal::lastChangeOf(u32 key, int scheme) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    for (auto entry = m_entries.rbegin(); entry != m_entries.rend(); ++entry) {
        for (const Change& change : (*entry)->changes) {
            if (change.key == key && (scheme < 0 || change.scheme == scheme)) {
                return *entry;
            }
        }
    }
    return nullptr;
}

Journal::Entry Journal::newerChangeOf(u32 key, int scheme, const JournalEntry& than) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    std::set<std::uint64_t> takenBack;
    for (auto entry = m_entries.rbegin();
         entry != m_entries.rend() && (*entry)->sequence > than.sequence; ++entry) {
        // A switch brings other values in force and changes none; a reset changes all.
        const bool reset = (*entry)->origin.cause == Cause::Reset;
        const bool changes =
            reset || ((*entry)->kind != JournalEntry::Kind::Scheme &&
                      std::any_of((*entry)->changes.begin(), (*entry)->changes.end(),
                                  [&](const Change& change) {
                                      return change.key == key && change.scheme == scheme;
                                  }));
        if (!changes || takenBack.count((*entry)->id) != 0) {
            continue;
        }
        if ((*entry)->undoes <= than.id) { // of nothing, or of this one, or of an older one
            return *entry;
        }
        takenBack.insert((*entry)->undoes);
    }
    return nullptr;
}

bool Journal::waitFor(std::uint64_t after, std::chrono::milliseconds atMost) const {
    std::unique_lock<std::mutex> guard(m_lock);
    return m_changed.wait_for(guard, atMost, [&] { return m_sequence > after; });
}

int Journal::listen(std::function<void(std::uint64_t)> listener) {
    const std::lock_guard<std::mutex> guard(m_lock);
    auto added = std::make_shared<Listener>();
    added->call = std::move(listener);
    m_listeners[++m_lastListener] = std::move(added);
    return m_lastListener;
}

void Journal::forget(int listener) {
    std::unique_lock<std::mutex> guard(m_lock);
    const auto found = m_listeners.find(listener);
    if (found == m_listeners.end()) {
        return;
    }
    const std::shared_ptr<Listener> going = found->second;
    m_listeners.erase(found);
    m_changed.wait(guard, [&] { return going->running == 0; });
}

/// Adds a change to an entry that it continues. @return false when there is none
bool Journal::join(JournalEntry& entry) {
    if (entry.kind != JournalEntry::Kind::Values || entry.origin.client.empty() || !entry.joins) {
        return false;
    }
    std::set<u32> between; // keys that were changed after the entry that is looked at
    for (auto older = m_entries.rbegin(); older != m_entries.rend(); ++older) {
        const JournalEntry& with = **older;
        const auto overtaken = [&between](const std::vector<Change>& changes) {
            return std::any_of(changes.begin(), changes.end(), [&between](const Change& change) {
                return between.count(change.key) != 0;
            });
        };
        if (overtaken(entry.changes) || entry.machineTime - with.lastTime > kLongestGesture) {
            return false;
        }
        if (continues(with, entry) && !overtaken(with.changes)) {
            auto joined = std::make_shared<JournalEntry>(with);
            addChanges(joined->changes, entry.changes);
            joined->lastTime = entry.machineTime;
            joined->sequence = ++m_sequence;
            m_bytes += bytesOf(*joined) - bytesOf(with);
            entry.id = joined->id;
            m_entries.erase(std::next(older).base());
            m_entries.push_back(std::move(joined));
            return true;
        }
        for (const Change& change : with.changes) {
            between.insert(change.key);
        }
    }
    return false;
}

void Journal::trim() {
    while (m_entries.size() > kMostEntries || (m_bytes > kMostBytes && m_entries.size() > 1)) {
        m_lost = std::max(m_lost, m_entries.front()->sequence);
        m_bytes -= bytesOf(*m_entries.front());
        m_entries.pop_front();
    }
}

std::uint64_t Journal::add(JournalEntry entry) {
    std::vector<std::shared_ptr<Listener>> listeners;
    std::uint64_t id = 0;
    std::uint64_t sequence = 0;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        entry.machineTime = machineMilliseconds();
        entry.lastTime = entry.machineTime;
        if (!join(entry)) {
            entry.id = ++m_lastId;
            entry.sequence = ++m_sequence;
            entry.changes.shrink_to_fit();
            m_bytes += bytesOf(entry);
            m_entries.push_back(std::make_shared<const JournalEntry>(entry));
        }
        trim();
        id = entry.id;
        sequence = m_sequence;
        for (const auto& listener : m_listeners) {
            ++listener.second->running;
            listeners.push_back(listener.second);
        }
        m_changed.notify_all();
    }
    for (const auto& listener : listeners) {
        listener->call(sequence);
        const std::lock_guard<std::mutex> guard(m_lock);
        --listener->running;
        m_changed.notify_all();
    }
    return id;
}

} // namespace host
