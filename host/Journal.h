#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/Operation.h"
#include "host/Snapshot.h"

namespace host {

/// One value that changed.
struct Change {
    u32 key = 0;
    int scheme = -1; ///< that it is recorded in; -1: only applied, or read from the device
    std::optional<int> before;
    std::optional<int> after;
};

/// One operation and what it changed.
struct JournalEntry {
    enum class Kind {
        Values, ///< changes
        Scheme, ///< another scheme is in force, with the values that changed with it
        Mode,   ///< the schedule was switched on or off
        Saved,  ///< schemes were saved
        Trial,  ///< a trial began, was kept, or ended
        Layer,  ///< the device went or came back
    };

    std::uint64_t id = 0;       ///< counts up from 1 in a run
    std::uint64_t sequence = 0; ///< when it was last added to; counts up over all entries
    Kind kind = Kind::Values;
    Origin origin;
    CameraTime cameraTime;     ///< of the first change
    long long machineTime = 0; ///< milliseconds since 1970
    long long lastTime = 0;    ///< of the last change that joined it; as machineTime
    bool joins = true;         ///< may become one entry with its like, see Journal::add
    std::uint64_t undoes = 0;  ///< the entry that it takes back; 0: none
    int schemeBefore = -1;
    int schemeAfter = -1;        ///< in force
    std::string note;            ///< for people: "Trial over", "the camera is unplugged"
    std::vector<Change> changes; ///< a key once for each scheme, with its first and last value
};

/// What happened, newest last: at most 1,000 entries and 1 MiB. History, event streams and undo
/// read it. Every member may be called by any thread; none waits for the camera.
class Journal {
public:
    static constexpr std::size_t kMostEntries = 1000;
    static constexpr std::size_t kMostBytes = 1 << 20;

    Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    using Entry = std::shared_ptr<const JournalEntry>;

    /// A random text, new in each run: numbers of another run mean nothing in this one.
    const std::string& bootId() const { return m_bootId; }

    /// The sequence number of the newest change; 0 before the first.
    std::uint64_t sequence() const;

    /// The entries that were added, or added to, after a sequence number, in that order.
    /// @param complete  false: some that were are gone, or the number is of no change of this run
    std::vector<Entry> since(std::uint64_t after, bool& complete) const;

    /// The newest entries, newest last.
    std::vector<Entry> newest(std::size_t most) const;

    /// An entry by its number, or null.
    Entry find(std::uint64_t id) const;

    /// The newest entry that changed a key, in a scheme or at all (-1); or null.
    Entry lastChangeOf(u32 key, int scheme = -1) const;

    /// The newest entry after another one that changed a key in a scheme, and was not taken back
    /// itself meanwhile; or null.
    Entry newerChangeOf(u32 key, int scheme, const JournalEntry& than) const;

    /// Waits until there is something after a sequence number. @return false: nothing in that time
    bool waitFor(std::uint64_t after, std::chrono::milliseconds atMost) const;

    /// Calls a listener after each change, on the thread that made it and outside the journal's
    /// lock; it must be quick and must not wait. @return a number for forget()
    int listen(std::function<void(std::uint64_t sequence)> listener);
    /// Returns when no call of it is under way any more; not from within one.
    void forget(int listener);

    /// Adds what happened. Values of the same client and cause whose keys were changed by it within
    /// the last 2 seconds, or in the same gesture, join that entry. @return its number
    std::uint64_t add(JournalEntry entry);

private:
    struct Listener {
        std::function<void(std::uint64_t)> call;
        int running = 0;
    };

    bool join(JournalEntry& entry);
    void trim();

    std::string m_bootId;
    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    std::deque<Entry> m_entries; ///< by sequence
    std::size_t m_bytes = 0;
    std::uint64_t m_lastId = 0;
    std::uint64_t m_sequence = 0;
    std::uint64_t m_lost = 0; ///< the highest sequence number that is gone
    std::map<int, std::shared_ptr<Listener>> m_listeners;
    int m_lastListener = 0;
};

} // namespace host
