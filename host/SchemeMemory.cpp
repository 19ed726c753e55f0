#include "host/SchemeMemory.h"

#include <algorithm>
#include <utility>

#include "ISensorController.h"
#include "host/SchemeFiles.h"

namespace host {

void SchemeMemory::load(ISensorController& controller, std::vector<u32> keys, int timed) {
    m_keys = std::move(keys);
    m_timed = timed;
    m_positions.clear();
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        m_positions.emplace(m_keys[i], i);
    }
    m_entries.assign(static_cast<std::size_t>(timed) + 1, Entry());
    for (int scheme = 0; scheme <= timed; ++scheme) {
        Scheme& described = m_entries[static_cast<std::size_t>(scheme)].scheme;
        described.number = scheme;
        described.timed = scheme < timed;
        refresh(controller, scheme);
        refreshSaved(scheme);
    }
    for (const auto& [scheme, name] : schemeNames()) {
        setName(scheme, name);
    }
}

bool SchemeMemory::refresh(ISensorController& controller, int scheme) {
    if (!exists(scheme)) {
        return false;
    }
    Entry& entry = m_entries[static_cast<std::size_t>(scheme)];
    std::vector<int> values(m_keys.size());
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        u32 value = 0;
        controller.getKeyValFromCache(static_cast<u32>(scheme), m_keys[i], value);
        values[i] = static_cast<int>(value);
    }
    if (entry.values != nullptr && *entry.values == values) {
        return false;
    }
    entry.values = std::make_shared<const std::vector<int>>(std::move(values));
    update(entry);
    return true;
}

bool SchemeMemory::refreshSaved(int scheme) {
    if (!exists(scheme)) {
        return false;
    }
    Entry& entry = m_entries[static_cast<std::size_t>(scheme)];
    std::vector<std::optional<int>> saved(m_keys.size());
    std::vector<KeyVal> records;
    const FileState state = isTimed(scheme) ? savedValues(scheme, records) : FileState::Missing;
    if (state == FileState::Unreadable && entry.saved != nullptr) {
        return false;
    }
    entry.scheme.fileMissing = state == FileState::Missing;
    for (std::size_t i = 0; i < m_keys.size() && i < records.size(); ++i) {
        // Files are read by position: a record of another key at this place is none of this key.
        if (records[i].key == m_keys[i]) {
            saved[i] = static_cast<int>(records[i].value);
        }
    }
    entry.saved = std::make_shared<const std::vector<std::optional<int>>>(std::move(saved));
    update(entry);
    return state == FileState::Read;
}

void SchemeMemory::update(Entry& entry) {
    Scheme& scheme = entry.scheme;
    scheme.values = entry.values;
    scheme.saved = entry.saved;
    scheme.window = windowOf(m_keys, *entry.values);
    scheme.windowFault = scheme.timed ? windowFault(scheme.window) : 0;
    scheme.unsaved = 0;
    for (std::size_t i = 0; scheme.timed && entry.saved != nullptr && i < m_keys.size(); ++i) {
        const bool counts = m_positions.at(m_keys[i]) == i; // of a key twice, the first is in use
        scheme.unsaved += counts && (*entry.saved)[i] != (*entry.values)[i] ? 1 : 0;
    }
}

std::optional<int> SchemeMemory::stored(int scheme, u32 key) const {
    const auto found = m_positions.find(key);
    return exists(scheme) && found != m_positions.end()
               ? std::optional<int>((*at(scheme).values)[found->second])
               : std::nullopt;
}

std::optional<int> SchemeMemory::saved(int scheme, u32 key) const {
    const auto found = m_positions.find(key);
    return exists(scheme) && found != m_positions.end() ? (*at(scheme).saved)[found->second]
                                                        : std::nullopt;
}

int SchemeMemory::unsaved(int scheme) const {
    return exists(scheme) ? at(scheme).scheme.unsaved : 0;
}

std::vector<KeyVal> SchemeMemory::records(int scheme) const {
    std::vector<KeyVal> records(m_keys.size());
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        records[i] = {m_keys[i], static_cast<u32>((*at(scheme).values)[i])};
    }
    return records;
}

const Scheme& SchemeMemory::describe(int scheme) const {
    return at(scheme).scheme;
}

void SchemeMemory::setName(int scheme, const std::string& name) {
    if (isTimed(scheme)) {
        m_entries[static_cast<std::size_t>(scheme)].scheme.name = name;
    }
}

} // namespace host
