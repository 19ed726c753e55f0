#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "SensorTypes.h"
#include "host/Snapshot.h"

class ISensorController;

namespace host {

/// The schemes as they stand in the library's memory and in their files, kept so that only those
/// that may have changed are looked at again. Used by the controller thread.
class SchemeMemory {
public:
    using Values = std::shared_ptr<const std::vector<int>>;
    using Saved = std::shared_ptr<const std::vector<std::optional<int>>>;

    /// Reads everything anew. @param keys  of every scheme's records, in their order
    void load(ISensorController& controller, std::vector<u32> keys, int timed);

    int timed() const { return m_timed; }
    bool isTimed(int scheme) const { return scheme >= 0 && scheme < m_timed; }
    bool exists(int scheme) const { return scheme >= 0 && scheme <= m_timed; }
    bool holds(u32 key) const { return m_positions.count(key) != 0; }
    const std::vector<u32>& keys() const { return m_keys; }

    /// Looks at one scheme again. @return true when it has changed
    bool refresh(ISensorController& controller, int scheme);

    /// Looks at a scheme's file again. What cannot be read now is taken to be as it was.
    /// @return false when it could not be read
    bool refreshSaved(int scheme);

    std::optional<int> stored(int scheme, u32 key) const;
    std::optional<int> saved(int scheme, u32 key) const;
    int unsaved(int scheme) const;

    const Values& values(int scheme) const { return at(scheme).values; }

    /// The scheme's records, as its file is to hold them.
    std::vector<KeyVal> records(int scheme) const;

    /// The part of a snapshot that is about a scheme.
    const Scheme& describe(int scheme) const;
    void setName(int scheme, const std::string& name);

private:
    struct Entry {
        Values values;
        Saved saved;
        Scheme scheme;
    };

    const Entry& at(int scheme) const { return m_entries[static_cast<std::size_t>(scheme)]; }
    void update(Entry& entry);

    std::vector<u32> m_keys;
    std::unordered_map<u32, std::size_t> m_positions;
    std::vector<Entry> m_entries;
    int m_timed = 0;
};

} // namespace host
